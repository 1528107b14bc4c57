// The rectilinear sum of several new facilities by way of an outside solver: its programs as text
// files, and the solution that the solver prints.
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/planar_sites.h"

namespace planloc {
namespace {

constexpr int kCostPrecision = 8;
constexpr int kEntryPrecision = 1;
constexpr int kColumnField = 7;
constexpr int kRowField = 12;
constexpr std::size_t kExponentDigits = 3;

// 3.1E+000: mantissa with `precision` decimal places, at least three digits of exponent.
std::string formatted(double v, int precision) {
  std::array<char, 40> buffer;
  const std::to_chars_result end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), v,
                                                 std::chars_format::scientific, precision);
  std::string text(buffer.data(), end.ptr);
  const std::size_t e = text.find('e');
  if (e == std::string::npos) {  // inf, nan
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
  }
  text[e] = 'E';
  const std::size_t digits = text.size() - (e + 2);
  if (digits < kExponentDigits) text.insert(e + 2, kExponentDigits - digits, '0');
  return text;
}

// Blanks behind a number v in a field of the width: the decimal logarithm counts the digits.
std::string blanks_behind(double v, int width) {
  const double count = width - std::trunc(std::log10(v) + 1.0);
  return std::string(count > 0.0 ? static_cast<std::size_t>(count) : 0, ' ');
}

std::string column_name(int number) {
  return "    COL" + std::to_string(number) + blanks_behind(number, kColumnField);
}

// The number of a row and the blanks up to v, whose sign takes the place of one of them.
std::string row_number(int number, double v) {
  return std::to_string(number) + blanks_behind(number, v < 0.0 ? kRowField - 1 : kRowField);
}

struct matrix_entry {
  int row;
  double value;
};

// The entries that are not 0.0, column by column, read row by row as they lie in memory.
std::vector<std::vector<matrix_entry>> columns_of(const matrix& A) {
  std::vector<std::vector<matrix_entry>> columns(A.cols());
  for (int i = 0; i < A.rows(); ++i) {
    for (int j = 0; j < A.cols(); ++j) {
      if (A(i, j) != 0.0) columns[j].push_back({i, A(i, j)});
    }
  }
  return columns;
}

// ----- The printed solution -----

constexpr std::size_t kLongestLine = 110;

struct field {
  std::size_t start;
  std::size_t length;
};
constexpr field kValueMark = {11, 3};
constexpr field kValue = {16, 45};
constexpr field kColumnMark = {10, 3};
constexpr field kColumnActivity = {30, 15};

// What of the field the line reaches.
std::string cut(const std::string& line, field f) {
  return f.start < line.size() ? line.substr(f.start, f.length) : std::string();
}

double number_in(const std::string& line, field f) { return std::atof(cut(line, f).c_str()); }

struct printed_solution {
  double value = 0.0;
  std::vector<double> columns;  // the first ones, as many as asked for
};

// What a file does not tell, or all if it cannot be read, is 0.0.
printed_solution read_solution(const char* file, int count) {
  printed_solution solution;
  solution.columns.assign(count, 0.0);
  std::ifstream in(file);
  std::array<char, kLongestLine + 1> buffer;
  std::size_t column = 0;
  // A longer line fails the stream, and so ends the file: intended, kept as callers know it.
  while (in.getline(buffer.data(), buffer.size())) {
    const std::string line(buffer.data());
    if (cut(line, kValueMark) == "VAL") solution.value = number_in(line, kValue);
    if (cut(line, kColumnMark) == "COL") {
      if (column < solution.columns.size()) {
        solution.columns[column] = number_in(line, kColumnActivity);
      }
      ++column;
    }
  }
  return solution;
}

}  // namespace

// ----- Export -----

void facilities::write_mps(const vector& c, const matrix& A, const vector& b,
                           const list<char>& types, const char* file) {
  std::ofstream out(file);
  out << "NAME PROBLEM             FREE\nROWS\n N  OBJ\n";
  int i = 0;
  for (const char type : types) {
    ++i;
    if (std::string_view("EGLN").find(type) == std::string_view::npos) continue;
    out << ' ' << type << "  ROW" << std::to_string(i) << '\n';
  }
  out << "COLUMNS\n";
  const std::vector<std::vector<matrix_entry>> columns = columns_of(A);
  for (int j = 0; j < A.cols(); ++j) {
    const std::string name = column_name(j + 1);
    if (c[j] != 0.0) {
      out << name << (c[j] < 0.0 ? "OBJ" : "OBJ ") << blanks_behind(c[j], kRowField)
          << formatted(c[j], kCostPrecision) << '\n';
    }
    for (const matrix_entry& e : columns[j]) {
      out << name << "ROW" << row_number(e.row + 1, e.value) << formatted(e.value, kEntryPrecision)
          << '\n';
    }
  }
  out << "RHS\n";
  for (i = 0; i < A.rows(); ++i) {
    out << "    RHS1      ROW" << row_number(i + 1, b[i]) << formatted(b[i], kEntryPrecision)
        << '\n';
  }
  out << "ENDATA\n";
}

void facilities::N_l1_sum_export(int N, const matrix& V, const char* file_x,
                                 const char* file_y) const {
  const int M = size();
  const int rows = N * M + N * (N - 1) / 2 + 2;
  const int cols = 2 * N * M + N + N * (N - 1);
  matrix A(rows, cols);
  vector c(cols);
  vector bx(rows);
  vector by(rows);
  list<char> types;
  for (int j = 0; j < N; ++j) {
    int i = 0;
    for (const planloc::location& a : *this) {
      const int r = j * M + i;
      const int u = N + 2 * j * M + 2 * i;
      A(r, j) = 1.0;
      A(r, u) = 1.0;
      A(r, u + 1) = -1.0;
      bx[r] = a[0];
      by[r] = a[1];
      c[u] = c[u + 1] = a.weight(j);
      types.append('E');
      ++i;
    }
  }
  int r = N * M;
  int u = N + 2 * N * M;
  for (int j = 0; j < N; ++j) {
    for (int k = j + 1; k < N; ++k) {
      A(r, k) = 1.0;
      A(r, j) = -1.0;
      A(r, u) = 1.0;
      A(r, u + 1) = -1.0;
      c[u] = c[u + 1] = V(j, k);
      types.append('E');
      ++r;
      u += 2;
    }
  }
  for (int j = N; j < cols; ++j) A(rows - 2, j) = 1.0;
  types.append('G');
  for (int j = 0; j < N; ++j) A(rows - 1, j) = 1.0;
  types.append('N');
  write_mps(c, A, bx, types, file_x);
  write_mps(c, A, by, types, file_y);
}

// ----- Import -----

double facilities::N_l1_sum_import(const char* file_x, const char* file_y, int N) {
  N = std::max(N, 0);
  opt.clear();
  const printed_solution x = read_solution(file_x, N);
  const printed_solution y = read_solution(file_y, N);
  for (int j = 0; j < N; ++j) {
    opt.append(detail::labelled({x.columns[j], y.columns[j]}, static_cast<double>(j)));
  }
  return x.value + y.value;
}

}  // namespace planloc
