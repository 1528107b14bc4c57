// Writes the parameter file (-p) of a run from its location file, its gauge file and the order
// weights: the rows (a, b) of facility f are weight times the vertices of the polar of its gauge,
// one for each edge of the unit ball, so that the largest a * x + b * y is the weighted distance.
//
//   make_parameters capitals.loc roads.gauge 1 1 1 1 1 1 1 1 > median.par
#include <planloc/planloc.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string_view>

namespace {

constexpr const char* kUsage = "usage: make_parameters locations gauges order-weight...\n";
constexpr const char* kHelp =
    "usage: make_parameters locations gauges order-weight...\n"
    "\n"
    "Writes the parameter file (-p) of a cellwalk run to the standard output.\n"
    "\n"
    "  locations      the location file of the run (-l)\n"
    "  gauges         its gauge file (-g)\n"
    "  order-weight   one number for each location: 1 1 ... 1 is the median, 0 ... 0 1 the centre\n"
    "\n"
    "  --help         this page\n"
    "  --version      the version\n";

bool is_number(const char* text) {
  char* end;
  std::strtod(text, &end);
  return end != text && *end == '\0';
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view first = argc > 1 ? argv[1] : "";
  if (first == "--help" || first == "--version") {
    std::cout << (first == "--help" ? kHelp : "make_parameters " PLANLOC_VERSION "\n");
    return 0;
  }
  if (argc < 3) {
    std::cerr << kUsage;
    return 1;
  }
  std::ifstream location_file(argv[1]);
  std::ifstream gauge_file(argv[2]);
  planloc::gauged_sites problem;
  problem.read(location_file, gauge_file);
  const int n = problem.sites.size();
  bool numbers = argc - 3 == n;
  for (int i = 3; i < argc; ++i) numbers = numbers && is_number(argv[i]);
  if (!numbers) {
    std::cerr << "make_parameters: expected " << n << " order weights, one for each "
              << "facility\n";
    return 1;
  }

  for (int i = 3; i < argc; ++i) std::cout << argv[i] << (i + 1 < argc ? ' ' : '\n');
  std::cout.precision(15);
  problem.for_each([](const planloc::location& site, const planloc::polygauge& gauge) {
    for (const planloc::gauge_row& row : planloc::gauge_rows(site, gauge)) {
      std::cout << row.a << ' ' << row.b << '\n';
    }
  });
  return 0;
}
