// One new facility for the eight provincial capitals of Andalusia, all with weight 1, under every
// classical distance.
//
//   $ single_facility
//   l2_sum         -4.6105 37.2486  value 10.9722
//   ...
#include <planloc/planloc.h>

#include <iomanip>
#include <iostream>

namespace {

planloc::facilities capitals() {
  const double places[][2] = {{-2.4675, 36.84},
                              {-6.28333333333333, 36.5333333333333},
                              {-4.77888888888889, 37.8847222222222},
                              {-3.5975, 37.1758333333333},
                              {-6.96305555555556, 37.2638888888889},
                              {-3.76666666666667, 37.7666666666667},
                              {-4.42, 36.7194444444444},
                              {-5.99638888888889, 37.3830555555556}};
  planloc::facilities sites;
  for (const auto& place : places) {
    sites.append(planloc::location(2.0, 1.0, place[0], place[1], 1.0));
  }
  return sites;
}

void tell(const char* solver, double value, const planloc::facilities& sites) {
  std::cout << std::left << std::setw(15) << solver;
  for (const planloc::location& l : sites.opt) std::cout << l[0] << ' ' << l[1] << "  ";
  std::cout << "value " << value << '\n';
}

}  // namespace

int main() {
  planloc::facilities sites = capitals();
  tell("l2_sum", sites.l2_sum(1e-9), sites);
  tell("l2squared_sum", sites.l2squared_sum(0, true), sites);
  tell("l1_sum", sites.l1_sum(0, true), sites);
  tell("linf_sum", sites.linf_sum(0, true), sites);
  tell("lp_sum, p = 3", sites.lp_sum(3, 0.0001, 0.01, 500, 0, true), sites);
  tell("l2_max", sites.l2_max(true), sites);
  tell("l1_max", sites.l1_max(true), sites);
  tell("linf_max", sites.linf_max(true), sites);
  tell("l1_max_equal", sites.l1_max_equal(true), sites);
  tell("linf_max_equal", sites.linf_max_equal(true), sites);
  return 0;
}
