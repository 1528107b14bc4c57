// The same programs in GLPK, to compare with.
#ifndef PLANLOC_TESTS_ENGINE_GLPK_PROGRAM_H_
#define PLANLOC_TESTS_ENGINE_GLPK_PROGRAM_H_

#include <glpk.h>

#include <cmath>
#include <vector>

#include "clp_program.h"

namespace planloc {

struct GlpkAnswer {
  int status = 0;  // as an IlcCplexStatus
  double value = 0;
  std::vector<double> x, dual, reduced_cost;
  bool unique = true;  // neither degenerate nor with another optimum
};

inline int glpk_kind(double lower, double upper) {
  if (lower == upper) return GLP_FX;
  const bool below = lower > -CPX_INFBOUND, above = upper < CPX_INFBOUND;
  return below ? (above ? GLP_DB : GLP_LO) : above ? GLP_UP : GLP_FR;
}

// Solves and deletes the program.
inline GlpkAnswer glpk_answer(glp_prob* lp) {
  glp_term_out(GLP_OFF);
  glp_smcp how;
  glp_init_smcp(&how);
  glp_simplex(lp, &how);
  GlpkAnswer answer;
  const int status = glp_get_status(lp);
  answer.status = status == GLP_OPT      ? CPX_STAT_OPTIMAL
                  : status == GLP_NOFEAS ? CPX_STAT_INFEASIBLE
                  : status == GLP_UNBND  ? CPX_STAT_UNBOUNDED
                                         : CPX_STAT_NONE;
  answer.value = glp_get_obj_val(lp);
  const auto note = [&](int kind, bool basic, double value, double lower, double upper, double d) {
    const bool at_bound = std::fabs(value - lower) < 1e-7 || std::fabs(value - upper) < 1e-7;
    if (basic ? at_bound : kind != GLP_FX && std::fabs(d) < 1e-7) answer.unique = false;
  };
  for (int j = 1; j <= glp_get_num_cols(lp); ++j) {
    answer.x.push_back(glp_get_col_prim(lp, j));
    answer.reduced_cost.push_back(glp_get_col_dual(lp, j));
    note(glp_get_col_type(lp, j), glp_get_col_stat(lp, j) == GLP_BS, answer.x.back(),
         glp_get_col_lb(lp, j), glp_get_col_ub(lp, j), answer.reduced_cost.back());
  }
  for (int i = 1; i <= glp_get_num_rows(lp); ++i) {
    answer.dual.push_back(glp_get_row_dual(lp, i));
    note(glp_get_row_type(lp, i), glp_get_row_stat(lp, i) == GLP_BS, glp_get_row_prim(lp, i),
         glp_get_row_lb(lp, i), glp_get_row_ub(lp, i), answer.dual.back());
  }
  glp_delete_prob(lp);
  return answer;
}

inline glp_prob* glpk_program(const std::vector<Column>& columns, const std::vector<Row>& rows,
                              int sense) {
  glp_prob* const lp = glp_create_prob();
  glp_set_obj_dir(lp, sense > 0 ? GLP_MIN : GLP_MAX);
  if (!columns.empty()) glp_add_cols(lp, static_cast<int>(columns.size()));
  if (!rows.empty()) glp_add_rows(lp, static_cast<int>(rows.size()));
  std::vector<int> indices(1);
  int j = 0;
  for (const Column& c : columns) {
    glp_set_obj_coef(lp, ++j, c.cost);
    glp_set_col_bnds(lp, j, glpk_kind(c.lower, c.upper), c.lower, c.upper);
    indices.push_back(j);
  }
  int i = 0;
  for (const Row& row : rows) {
    std::vector<double> values(1);
    values.insert(values.end(), row.coefficients.begin(), row.coefficients.end());
    glp_set_mat_row(lp, ++i, j, indices.data(), values.data());
    glp_set_row_bnds(lp, i,
                     row.sense == 'L'   ? GLP_UP
                     : row.sense == 'G' ? GLP_LO
                                        : GLP_FX,
                     row.rhs, row.rhs);
  }
  return lp;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_ENGINE_GLPK_PROGRAM_H_
