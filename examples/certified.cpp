// The best place for a new facility with a proof: the snippets of docs/optimum.md.
//
//   $ certified
//   2.77216 0.742615  value 2.8699  at least 2.8699
//   ...
#include <planloc/certified.h>

#include <iomanip>
#include <iostream>
#include <vector>

using namespace planloc;

namespace {

const std::vector<site> kCapitals = {{-2.4675, 36.84},   {-6.2833, 36.5333}, {-4.7789, 37.8847},
                                     {-3.5975, 37.1758}, {-6.9631, 37.2639}, {-3.7667, 37.7667},
                                     {-4.42, 36.7194},   {-5.9964, 37.3831}};

void tell(const char* name, const problem& p, const solution& s) {
  const verification v = verify(p, s);
  std::cout << std::left << std::setw(12) << name << '(' << s.point.x << ", " << s.point.y
            << ")  value " << s.value << "  proved gap " << v.gap
            << (v.accepted ? "" : "  refused: " + v.reason) << '\n';
}

void first_answer() {
  const problem p({{.x = 0, .y = 0}, {.x = 4, .y = 0, .weight = 2}, {.x = 1, .y = 3}},
                  {gauge::euclidean()}, order_weights::centre());
  const solution s = minimise(p);
  const verification v = verify(p, s);
  std::cout << s.point.x << ' ' << s.point.y << "  value " << s.value << "  at least "
            << v.lower_bound << '\n';
}

void two_gauges() {
  const gauge lowland = gauge::l1();
  const gauge uphill = gauge::polyhedral({{1, 0}, {0, 2}, {-1, 0}, {0, -1}});
  std::vector<site> sites = kCapitals;
  sites[0].gauge = sites[3].gauge = sites[5].gauge = 1;
  const problem p(sites, {lowland, uphill}, order_weights::k_centrum(3));
  const solution s = minimise(p);
  tell("3-centrum", p, s);
  for (const xy& corner : s.optima.corners) {
    std::cout << "  corner of the optima: " << corner.x << ' ' << corner.y << '\n';
  }
}

void with_limits() {
  minimise_options options;
  options.relative_gap = 1e-3;
  options.seconds = 10;
  options.progress = [](const search_progress& now) {
    std::cout << "  " << now.lower_bound << " .. " << now.value << '\n';
  };
  const problem p(kCapitals, {gauge::lp(1.5)}, order_weights::cent_dian(0.5));
  tell("cent-dian", p, minimise(p, options));
}

void within_a_county() {
  regions where;
  where.allowed = region{{{{-7, 36}, {-2, 36}, {-2, 38.5}, {-7, 38.5}}}};  // a county
  where.forbidden = {{{{-5.5, 37}, {-4.2, 36.8}, {-4, 37.6}, {-5, 37.8}},
                      {{-5, 37.3}, {-4.8, 37.3}, {-4.8, 37.4}}}};  // a lake and its island
  const problem p(kCapitals, {gauge::euclidean()}, order_weights::median(), where);
  tell("median on the shore", p, minimise(p));
}

}  // namespace

int main() {
  first_answer();
  const problem p(kCapitals, {gauge::euclidean()}, order_weights::median());
  tell("median", p, minimise(p));
  two_gauges();
  with_limits();
  within_a_county();
  try {
    problem({{.weight = -2}}, {gauge::l1()}, order_weights::median());
  } catch (const bad_problem& e) {
    std::cout << e.what() << '\n';
  }
}
