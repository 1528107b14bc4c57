#include "planloc/engine/clp_files.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

#include "planloc/engine/cplex_constants.h"

namespace planloc::detail {
namespace {

// ----- Names -----

// Words of the LP format.
bool is_keyword(std::string name) {
  static const std::set<std::string> kWords = {
      "bin",     "binaries", "binary",   "bounds",   "end",      "free",    "gen",
      "general", "generals", "inf",      "infinity", "int",      "integer", "integers",
      "max",     "min",      "maximize", "minimize", "semi",     "semis",   "sos",
      "sos1",    "sos2",     "st",       "s.t",      "s.t.",     "st.",     "such",
      "subject", "maximum",  "minimum",  "lazy",     "maximise", "minimise"};
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return kWords.count(name) > 0;
}

// Both formats take it: no word of theirs, no blank, no operator, no beginning that reads as a
// number.
bool is_fit(const std::string& name) {
  constexpr std::size_t kLongest = 255;
  if (name.empty() || name.size() > kLongest || is_keyword(name)) return false;
  const auto fits = [](unsigned char c) {
    return std::isalnum(c) || std::string_view("_.#$%&()/,;?@'`{}~!").find(static_cast<char>(c)) !=
                                  std::string_view::npos;
  };
  const auto first = static_cast<unsigned char>(name[0]);
  return std::all_of(name.begin(), name.end(), fits) && !std::isdigit(first) && first != '.' &&
         first != 'e' && first != 'E';
}

// As they are where they are fit and no other had it before; otherwise the letter and a number, and
// underscores where that is a name already.
std::vector<std::string> names_of(const std::vector<std::string>& given, std::size_t count,
                                  char letter) {
  std::vector<std::string> names(count);
  std::set<std::string> taken = {"obj"};  // the objective's row
  for (std::size_t k = 0; k < given.size(); ++k) {
    if (is_fit(given[k]) && taken.insert(given[k]).second) names[k] = given[k];
  }
  for (std::size_t k = 0; k < count; ++k) {
    if (!names[k].empty()) continue;
    names[k] = letter + std::to_string(k + 1);
    while (!taken.insert(names[k]).second) names[k] += '_';
  }
  return names;
}

struct Names {
  explicit Names(const clp_problem& problem)
      : columns(names_of(problem.column_names, problem.columns.size(), 'x')),
        rows(names_of(problem.row_names, problem.rows.size(), 'c')) {}
  const std::string& column(int j) const { return columns[static_cast<std::size_t>(j)]; }
  std::vector<std::string> columns;
  std::vector<std::string> rows;
};

bool is_infinite_below(double bound) { return bound <= -CPX_INFBOUND; }
bool is_infinite_above(double bound) { return bound >= CPX_INFBOUND; }

int close_file(std::ofstream& out) {
  out.close();
  return out ? 0 : CPXERR_FAIL_OPEN_WRITE;
}

std::ofstream open_file(const char* filename) {
  std::ofstream out(filename);
  out << std::setprecision(std::numeric_limits<double>::max_digits10);
  return out;
}

// ----- MPS -----

void write_mps_columns(const clp_problem& problem, const Names& names, std::ostream& out) {
  std::vector<std::vector<std::pair<std::size_t, double>>> columns(problem.columns.size());
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    for (const clp_matrix_entry& e : problem.matrix[i]) {
      if (e.value != 0.0) columns[static_cast<std::size_t>(e.column)].push_back({i, e.value});
    }
  }
  bool integer = false;
  int markers = 0;
  const auto mark = [&](bool on) {
    if (on == integer) return;
    integer = on;
    out << " MARKER" << ++markers << " 'MARKER' " << (on ? "'INTORG'" : "'INTEND'") << '\n';
  };
  for (std::size_t j = 0; j < columns.size(); ++j) {
    const clp_column& column = problem.columns[j];
    mark(problem.type == CPXPROB_MIP && column.type != 'C');
    // A column without entries is to be there too.
    if (column.objective != 0.0 || columns[j].empty()) {
      out << ' ' << names.columns[j] << " obj " << problem.sense * column.objective << '\n';
    }
    for (const auto& [i, value] : columns[j]) {
      out << ' ' << names.columns[j] << ' ' << names.rows[i] << ' ' << value << '\n';
    }
  }
  mark(false);
}

void write_mps_bounds(const clp_problem& problem, const Names& names, std::ostream& out) {
  const auto bound = [&](const char* kind, std::size_t j) -> std::ostream& {
    return out << ' ' << kind << " bnd " << names.columns[j];
  };
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    const clp_column& column = problem.columns[j];
    const bool open_below = is_infinite_below(column.lower);
    const bool open_above = is_infinite_above(column.upper);
    if (open_below && open_above) {
      bound("FR", j) << '\n';
    } else if (column.lower == column.upper) {
      bound("FX", j) << ' ' << column.lower << '\n';
    } else {
      if (open_below) bound("MI", j) << '\n';
      // Without a lower bound of its own, a column with a negative upper one is read in two ways.
      if (!open_below && (column.lower != 0.0 || column.upper < 0.0)) {
        bound("LO", j) << ' ' << column.lower << '\n';
      }
      if (!open_above) bound("UP", j) << ' ' << column.upper << '\n';
      // An integer column without an upper bound is read as one from 0 to 1.
      if (open_above && problem.type == CPXPROB_MIP && column.type != 'C') bound("PL", j) << '\n';
    }
  }
}

void write_mps_sets(const clp_problem& problem, const Names& names, std::ostream& out) {
  if (problem.type != CPXPROB_MIP || problem.sets.empty()) return;
  out << "SOS\n";
  int number = 0;
  for (const clp_sos& set : problem.sets) {
    out << " S" << set.type << " set" << ++number << '\n';
    for (std::size_t k = 0; k < set.columns.size(); ++k) {
      out << "    " << names.column(set.columns[k]) << ' ' << set.weights[k] << '\n';
    }
  }
}

// ----- LP -----

// Long sums are broken.
void write_sum(const Names& names, const std::vector<clp_matrix_entry>& terms, std::ostream& out) {
  constexpr std::size_t kTermsPerLine = 6;
  std::size_t written = 0;
  for (const clp_matrix_entry& term : terms) {
    if (term.value == 0.0) continue;
    if (written > 0 && written % kTermsPerLine == 0) out << "\n  ";
    out << (term.value < 0.0 ? " - "
            : written > 0    ? " + "
                             : " ")
        << std::fabs(term.value) << ' ' << names.column(term.column);
    ++written;
  }
  // An empty sum is the first column, not at all.
  if (written == 0 && !names.columns.empty()) out << " 0 " << names.columns[0];
}

void write_lp_bounds(const clp_problem& problem, const Names& names, std::ostream& out) {
  out << "Bounds\n";
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    const clp_column& column = problem.columns[j];
    const bool open_below = is_infinite_below(column.lower);
    const bool open_above = is_infinite_above(column.upper);
    out << ' ';
    if (open_below && open_above) {
      out << names.columns[j] << " free\n";
    } else if (column.lower == column.upper) {
      out << names.columns[j] << " = " << column.lower << '\n';
    } else {
      if (open_below) {
        out << "-inf";
      } else {
        out << column.lower;
      }
      out << " <= " << names.columns[j];
      if (!open_above) out << " <= " << column.upper;
      out << '\n';
    }
  }
}

void write_lp_integers(const clp_problem& problem, const Names& names, std::ostream& out) {
  if (problem.type != CPXPROB_MIP) return;
  bool any = false;
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    if (problem.columns[j].type == 'C') continue;
    if (!any) out << "Generals\n";
    any = true;
    out << ' ' << names.columns[j] << '\n';
  }
  if (problem.sets.empty()) return;
  out << "SOS\n";
  int number = 0;
  for (const clp_sos& set : problem.sets) {
    out << " set" << ++number << ": S" << set.type << "::";
    for (std::size_t k = 0; k < set.columns.size(); ++k) {
      out << ' ' << names.column(set.columns[k]) << ':' << set.weights[k];
    }
    out << '\n';
  }
}

}  // namespace

int write_mps_file(const clp_problem& problem, const char* filename) {
  std::ofstream out = open_file(filename);
  if (!out) return CPXERR_FAIL_OPEN_WRITE;
  const Names names(problem);
  out << "NAME ilc\nROWS\n N obj\n";
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    out << ' ' << problem.rows[i].sense << ' ' << names.rows[i] << '\n';
  }
  out << "COLUMNS\n";
  write_mps_columns(problem, names, out);
  out << "RHS\n";
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    if (problem.rows[i].rhs == 0.0) continue;
    out << " rhs " << names.rows[i] << ' ' << problem.rows[i].rhs << '\n';
  }
  out << "BOUNDS\n";
  write_mps_bounds(problem, names, out);
  write_mps_sets(problem, names, out);
  out << "ENDATA\n";
  return close_file(out);
}

int write_lp_file(const clp_problem& problem, const char* filename) {
  std::ofstream out = open_file(filename);
  if (!out) return CPXERR_FAIL_OPEN_WRITE;
  const Names names(problem);
  out << (problem.sense > 0 ? "Minimize\n" : "Maximize\n") << " obj:";
  std::vector<clp_matrix_entry> terms;
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    terms.push_back({static_cast<int>(j), problem.columns[j].objective});
  }
  write_sum(names, terms, out);
  out << "\nSubject To\n";
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    const clp_row& row = problem.rows[i];
    const clp_matrix::row_range range = problem.matrix[i];
    terms.assign(range.begin(), range.end());
    out << ' ' << names.rows[i] << ':';
    write_sum(names, terms, out);
    out << (row.sense == 'L' ? " <= " : row.sense == 'G' ? " >= " : " = ") << row.rhs << '\n';
  }
  write_lp_bounds(problem, names, out);
  write_lp_integers(problem, names, out);
  out << "End\n";
  return close_file(out);
}

// ----- Basis files -----

int write_basis_file(const clp_problem& problem, const char* filename) {
  std::ofstream out = open_file(filename);
  if (!out) return CPXERR_FAIL_OPEN_WRITE;
  const Names names(problem);
  out << "NAME ilc\n";
  // Each basic column stands with a row whose slack is not basic.
  std::size_t row = 0;
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    if (problem.column_basis[j] == clp_basis_status::kAtUpper) {
      out << " UL " << names.columns[j] << '\n';
    }
    if (problem.column_basis[j] != clp_basis_status::kBasic) continue;
    while (row < problem.rows.size() && problem.row_basis[row] == clp_basis_status::kBasic) ++row;
    if (row == problem.rows.size()) break;
    const char* const kind = problem.rows[row].sense == 'L' ? " XU " : " XL ";
    out << kind << names.columns[j] << ' ' << names.rows[row++] << '\n';
  }
  out << "ENDATA\n";
  return close_file(out);
}

namespace {

std::map<std::string, std::size_t> places(const std::vector<std::string>& names) {
  std::map<std::string, std::size_t> result;
  for (std::size_t k = 0; k < names.size(); ++k) result[names[k]] = k;
  return result;
}

// The statuses of a basis file, from those of a basis of all slacks.
class BasisReader {
 public:
  explicit BasisReader(const clp_problem& problem)
      : columns_(problem.columns.size(), clp_basis_status::kAtLower),
        rows_(problem.rows.size(), clp_basis_status::kBasic),
        names_(problem),
        column_(places(names_.columns)),
        row_(places(names_.rows)) {
    for (std::size_t j = 0; j < columns_.size(); ++j) {
      const clp_column& column = problem.columns[j];
      if (is_infinite_below(column.lower) && is_infinite_above(column.upper)) {
        columns_[j] = clp_basis_status::kFree;
      }
    }
  }

  // Whether the line says something of the program's columns and rows.
  bool read(const std::string& kind, const std::string& name, const std::string& row_name) {
    const auto column = column_.find(name);
    if (column == column_.end()) return false;
    clp_basis_status& status = columns_[column->second];
    if (kind == "UL" || kind == "LL") {
      status = kind == "UL" ? clp_basis_status::kAtUpper : clp_basis_status::kAtLower;
      return true;
    }
    const auto row = row_.find(row_name);
    if ((kind != "XU" && kind != "XL") || row == row_.end()) return false;
    status = clp_basis_status::kBasic;
    rows_[row->second] = kind == "XU" ? clp_basis_status::kAtUpper : clp_basis_status::kAtLower;
    return true;
  }

  void give(clp_problem& problem) {
    problem.column_basis = std::move(columns_);
    problem.row_basis = std::move(rows_);
    problem.has_basis = true;
  }

 private:
  std::vector<clp_basis_status> columns_;
  std::vector<clp_basis_status> rows_;
  Names names_;
  std::map<std::string, std::size_t> column_;
  std::map<std::string, std::size_t> row_;
};

}  // namespace

int read_basis_file(const char* filename, clp_problem& problem) {
  std::ifstream in(filename);
  if (!in) return CPXERR_FAIL_OPEN_READ;
  BasisReader reader(problem);
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::string kind, name, row_name;
    words >> kind >> name >> row_name;
    if (kind.empty() || kind[0] == '*' || kind == "NAME") continue;
    if (kind == "ENDATA") {
      reader.give(problem);
      return 0;
    }
    if (!reader.read(kind, name, row_name)) return CPXERR_BAD_BASIS_FILE;
  }
  return CPXERR_BAD_BASIS_FILE;
}

}  // namespace planloc::detail
