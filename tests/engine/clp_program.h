// A linear program built straight in ClpLibrary.
#ifndef PLANLOC_TESTS_ENGINE_CLP_PROGRAM_H_
#define PLANLOC_TESTS_ENGINE_CLP_PROGRAM_H_

#include <utility>
#include <vector>

#include "planloc/engine/clp_library.h"

namespace planloc {

struct Column {
  double cost, lower, upper;
};

struct Row {
  std::vector<double> coefficients;  // one per column, zeros included
  char sense;
  double rhs;
};

// minimise cost x; with sense -1 the costs are negated and maximised, so the optimum is the same.
class Program {
 public:
  Program(const std::vector<Column>& columns, const std::vector<Row>& rows, int sense) {
    int status = 0;
    env = library.CPXopenCPLEXdevelop(&status);
    lp = library.CPXcreateprob(env, &status, "test");
    for (const Column& c : columns) {
      const double cost = sense * c.cost;
      library.CPXnewcols(env, lp, 1, &cost, &c.lower, &c.upper, nullptr, nullptr);
    }
    library.CPXchgobjsen(env, lp, sense);
    for (const Row& row : rows) {
      std::vector<std::pair<int, double>> entries;
      for (std::size_t j = 0; j < row.coefficients.size(); ++j) {
        entries.push_back({static_cast<int>(j), row.coefficients[j]});
      }
      add_sparse_row(entries, row.sense, row.rhs);
    }
  }
  ~Program() {
    library.CPXfreeprob(env, &lp);
    library.CPXcloseCPLEX(&env);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void add_sparse_row(const std::vector<std::pair<int, double>>& entries, char sense, double rhs) {
    std::vector<int> indices;
    std::vector<double> values;
    for (const auto& [j, value] : entries) {
      indices.push_back(j);
      values.push_back(value);
    }
    const int start = 0;
    library.CPXaddrows(env, lp, 0, 1, static_cast<int>(entries.size()), &rhs, &sense, &start,
                       indices.data(), values.data(), nullptr, nullptr);
  }

  void set(int number, int value) { library.CPXsetintparam(env, number, value); }

  int solve(bool dual) {
    dual ? library.CPXdualopt(env, lp) : library.CPXprimopt(env, lp);
    return status();
  }
  int iterations() { return library.CPXgetitcnt(env, lp); }
  double value() {
    double value = 0;
    library.CPXgetobjval(env, lp, &value);
    return value;
  }
  int status() { return library.CPXgetstat(env, lp); }
  std::vector<double> x() { return read(&ClpLibrary::CPXgetx, library.CPXgetnumcols(env, lp)); }
  std::vector<double> reduced_costs() {
    return read(&ClpLibrary::CPXgetdj, library.CPXgetnumcols(env, lp));
  }
  std::vector<double> duals() {
    return read(&ClpLibrary::CPXgetpi, library.CPXgetnumrows(env, lp));
  }
  std::vector<double> slacks() {
    return read(&ClpLibrary::CPXgetslack, library.CPXgetnumrows(env, lp));
  }

  ClpLibrary library;
  CPXENVptr env;
  CPXLPptr lp;

 private:
  using Read = int (ClpLibrary::*)(CPXENVptr, CPXLPptr, double*, int, int);
  std::vector<double> read(Read entries, int size) {
    std::vector<double> values(static_cast<std::size_t>(size));
    if ((library.*entries)(env, lp, values.data(), 0, size - 1) != 0) values.clear();
    return values;
  }
};

}  // namespace planloc

#endif  // PLANLOC_TESTS_ENGINE_CLP_PROGRAM_H_
