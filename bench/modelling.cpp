// The modelling layer: a program of n rows and 3 n nonzeros through expressions, up to where CLP
// could solve it, beside the same program handed to CLP in the ways that it offers.
#include <ClpSimplex.hpp>
#include <CoinModel.hpp>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "bench/contest.h"
#include "planloc/engine/clp_environment.h"
#include "planloc/engine/clp_model.h"
#include "planloc/engine/engine.h"

namespace planloc::bench {
namespace {

constexpr std::size_t kTerms = 3;

// minimise cost x, x >= 0; each row three columns, their sum with weights at least a number.
struct data {
  data(std::size_t rows, unsigned seed) : columns(static_cast<int>(rows / 2)) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> u(0.5, 2.0);
    for (int j = 0; j < columns; ++j) cost.push_back(u(random));
    for (std::size_t i = 0; i < rows; ++i) {
      const int first = static_cast<int>(random() % static_cast<unsigned>(columns));
      for (const int step : {0, columns / 7 + 1, columns / 3 + 2}) {
        column.push_back((first + step) % columns);
        weight.push_back(u(random));
      }
      rhs.push_back(10.0 * u(random));
    }
  }
  int rows() const { return static_cast<int>(rhs.size()); }

  int columns;
  std::vector<double> cost, weight, rhs;
  std::vector<int> column;
};

contestant expressions(std::size_t rows, unsigned seed) {
  const data d(rows, seed);
  IlcInitFloat();
  return {.call = [d] {
    IlcManager m(IlcEdit);
    IlcFloatVarArray x(m, d.columns, 0.0, IlcInfinity);
    IlcLinOpt lp(m, 0);
    IlcFloatExp sum = d.cost[0] * x[0];
    for (int j = 1; j < d.columns; ++j) sum += d.cost[static_cast<std::size_t>(j)] * x[j];
    lp.setObjMin(sum);
    for (std::size_t i = 0; i < d.rhs.size(); ++i) {
      const auto term = [&](std::size_t k) { return d.weight[k] * x[d.column[k]]; };
      const std::size_t first = kTerms * i;
      lp.add(term(first) + term(first + 1) + term(first + 2) >= d.rhs[i]);
    }
    lp.getNumberOfRows();  // sends the rows
    ClpSimplex clp;
    clp.setLogLevel(0);
    detail::load_clp_model(lp.getCPXLPptr()->problem, 1.0, clp);
    lp.end();
    m.end();
    return static_cast<double>(clp.numberRows());
  }};
}

double loaded(const data& d, const CoinPackedMatrix& matrix) {
  ClpSimplex clp;
  clp.setLogLevel(0);
  clp.loadProblem(matrix, nullptr, nullptr, d.cost.data(), d.rhs.data(), nullptr);
  return static_cast<double>(clp.numberRows());
}

// What a user writes who does without a modelling layer: terms appended to arrays as they come, and
// loaded once.
contestant by_hand(std::size_t rows, unsigned seed) {
  const data d(rows, seed);
  return {.call = [d] {
    std::vector<double> cost, weight, rhs;
    std::vector<int> column;
    std::vector<CoinBigIndex> starts{0};
    for (const double c : d.cost) cost.push_back(c);
    for (std::size_t i = 0; i < d.rhs.size(); ++i) {
      for (std::size_t k = kTerms * i; k < kTerms * (i + 1); ++k) {
        column.push_back(d.column[k]);
        weight.push_back(d.weight[k]);
      }
      starts.push_back(static_cast<CoinBigIndex>(column.size()));
      rhs.push_back(d.rhs[i]);
    }
    const CoinPackedMatrix matrix(false, d.columns, d.rows(), starts.back(), weight.data(),
                                  column.data(), starts.data(), nullptr);
    return loaded(d, matrix);
  }};
}

// Rows into a matrix that has room for them.
contestant row_by_row(std::size_t rows, unsigned seed) {
  const data d(rows, seed);
  return {.call = [d] {
    CoinPackedMatrix matrix(false, 0, 0);
    matrix.setDimensions(0, d.columns);
    matrix.reserve(d.rows(), static_cast<CoinBigIndex>(d.weight.size()));
    for (std::size_t k = 0; k < d.weight.size(); k += kTerms)
      matrix.appendRow(kTerms, &d.column[k], &d.weight[k]);
    return loaded(d, matrix);
  }};
}

// A row at a time into the solver, which then moves all that it holds.
contestant added(std::size_t rows, unsigned seed) {
  const data d(rows, seed);
  return {.call = [d] {
    ClpSimplex clp;
    clp.setLogLevel(0);
    CoinPackedMatrix empty(false, 0, 0);
    empty.setDimensions(0, d.columns);
    clp.loadProblem(empty, nullptr, nullptr, d.cost.data(), nullptr, nullptr);
    for (std::size_t i = 0; i < d.rhs.size(); ++i) {
      const std::size_t k = kTerms * i;
      clp.addRow(kTerms, &d.column[k], &d.weight[k], d.rhs[i], COIN_DBL_MAX);
    }
    return static_cast<double>(clp.numberRows());
  }};
}

// CLP's own modelling tool, which finds entries again by row and column.
contestant modelled(std::size_t rows, unsigned seed) {
  const data d(rows, seed);
  return {.call = [d] {
    CoinModel model;
    for (int j = 0; j < d.columns; ++j) model.setObjective(j, d.cost[static_cast<std::size_t>(j)]);
    int row = 0;
    for (std::size_t i = 0; i < d.rhs.size(); ++i, ++row) {
      for (std::size_t k = kTerms * i; k < kTerms * (i + 1); ++k)
        model.setElement(row, d.column[k], d.weight[k]);
      model.setRowLower(row, d.rhs[i]);
    }
    ClpSimplex clp;
    clp.setLogLevel(0);
    clp.loadProblem(model);
    return static_cast<double>(clp.numberRows());
  }};
}

contestant at_once(std::size_t rows, unsigned seed) {
  const data d(rows, seed);
  return {.call = [d] {
    std::vector<CoinBigIndex> starts;
    for (int i = 0; i <= d.rows(); ++i) starts.push_back(static_cast<int>(kTerms) * i);
    const CoinPackedMatrix matrix(false, d.columns, d.rows(), starts.back(), d.weight.data(),
                                  d.column.data(), starts.data(), nullptr);
    return loaded(d, matrix);
  }};
}

}  // namespace

void add_modelling(contests& all) {
  all["modelling"].contestants = {
      {"expressions", expressions}, {"arrays by hand", by_hand},      {"CLP addRow", added},
      {"CoinModel", modelled},      {"CoinPackedMatrix", row_by_row}, {"CLP at once", at_once}};
}

}  // namespace planloc::bench
