// Families of random problems, with the ties that make them hard.
#ifndef PLANLOC_TESTS_OPTIMUM_INSTANCES_H_
#define PLANLOC_TESTS_OPTIMUM_INSTANCES_H_

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "planloc/optimum/problem.h"

namespace planloc {

enum class layout { scattered, lattice, line, one_place, far_away, uneven };
constexpr layout kLayouts[] = {layout::scattered, layout::lattice,  layout::line,
                               layout::one_place, layout::far_away, layout::uneven};

class instance_source {
 public:
  explicit instance_source(unsigned seed) : random_(seed) {}

  int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
  double uniform(double low, double high) {
    return low + (high - low) * (static_cast<double>(random_()) / 4294967296.0);
  }

  // Not symmetric, with the origin off the middle.
  gauge ball(int vertices) {
    const double turn = uniform(0, 6);
    const xy middle{uniform(-0.2, 0.2), uniform(-0.2, 0.2)};
    std::vector<xy> v;
    for (int j = 0; j < vertices; ++j) {
      const double angle = turn + 2 * std::numbers::pi * (j + uniform(-0.1, 0.1)) / vertices;
      v.push_back({middle.x + std::cos(angle), middle.y + std::sin(angle)});
    }
    return gauge::polyhedral(v);
  }

  // Of this width beside a length of 1, its long side turned by an angle.
  gauge thin_ball(int vertices, double width, double turn) {
    const gauge round = ball(vertices);
    std::vector<xy> v;
    for (const xy& at : round.vertices()) {
      v.push_back({at.x * std::cos(turn) - width * at.y * std::sin(turn),
                   at.x * std::sin(turn) + width * at.y * std::cos(turn)});
    }
    return gauge::polyhedral(v);
  }

  gauge integral_ball() {
    switch (below(4)) {
      case 0:
        return gauge::l1();
      case 1:
        return gauge::linf();
      case 2:
        return gauge::polyhedral({{2, 1}, {-1, 2}, {-2, -1}, {1, -2}});
      default:
        return gauge::polyhedral({{2, 0}, {0, 1}, {-1, -1}});
    }
  }

  std::vector<site> sites(layout l, int n, int gauges) {
    std::vector<site> result;
    const xy direction{static_cast<double>(below(5) - 2), static_cast<double>(below(5) - 2)};
    for (int i = 0; i < n; ++i) {
      site s;
      s.gauge = static_cast<std::uint32_t>(below(gauges));
      const bool wide = l == layout::far_away || (l == layout::uneven && below(3) == 0);
      s.weight = wide ? std::pow(10, uniform(-5, 5)) : 1 + below(3);
      const double t = below(5);
      switch (l) {
        case layout::scattered:
          s.x = uniform(0, 100);
          s.y = uniform(0, 100);
          break;
        case layout::lattice:
        case layout::uneven:
          s.x = below(4);
          s.y = below(4);
          break;
        case layout::line:
          s.x = 3 + t * direction.x;
          s.y = 1 + t * direction.y;
          break;
        case layout::one_place:
          s.x = 0.1;
          s.y = -0.7;
          break;
        case layout::far_away:
          s.x = 1e7 + uniform(0, 10);
          s.y = -1e7 + uniform(0, 10);
          break;
      }
      result.push_back(s);
    }
    return result;
  }

  std::vector<gauge> gauges(layout l, int count, int vertices) {
    std::vector<gauge> result;
    for (int k = 0; k < count; ++k) {
      result.push_back(l == layout::scattered || l == layout::far_away ? ball(vertices)
                                                                       : integral_ball());
    }
    return result;
  }

  order_weights convex_order(int n) {
    switch (below(6)) {
      case 0:
        return order_weights::median();
      case 1:
        return order_weights::centre();
      case 2:
        return order_weights::k_centrum(static_cast<std::size_t>(1 + below(n)));
      case 3:
        return order_weights::cent_dian(uniform(0, 1));
      default: {
        std::vector<double> lambda;
        const bool whole = below(2) == 0;
        for (int k = 0; k < n; ++k) lambda.push_back(whole ? below(3) : uniform(0, 1));
        std::sort(lambda.begin(), lambda.end());
        lambda.back() += 0.25;
        return order_weights(lambda);
      }
    }
  }

  // Order weights of every kind, also ties and signs.
  order_weights any_order(int n) {
    switch (below(8)) {
      case 0:
        return order_weights::range();
      case 1:
        return order_weights::anti_centrum(static_cast<std::size_t>(1 + below(n)));
      case 2:
        return order_weights::order_statistic(static_cast<std::size_t>(1 + below(n)));
      case 3:
        if (n > 2) return order_weights::trimmed_mean(1, 1);
        return order_weights::quantile(0.5);
      default: {
        std::vector<double> lambda;
        const int kind = below(3);
        for (int k = 0; k < n; ++k) {
          lambda.push_back(kind == 0 ? below(3) - 1 : kind == 1 ? below(2) : uniform(-0.5, 1));
        }
        return order_weights(lambda);
      }
    }
  }

 private:
  std::mt19937 random_;
};

}  // namespace planloc

#endif  // PLANLOC_TESTS_OPTIMUM_INSTANCES_H_
