// Puts a problem into the process-wide objects of the driver, for the length of one test.
#ifndef PLANLOC_TESTS_DRIVER_PROBLEM_FIXTURE_H_
#define PLANLOC_TESTS_DRIVER_PROBLEM_FIXTURE_H_

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "planloc/driver/problem.h"
#include "planloc/engine/engine.h"

namespace planloc {

class ProblemTest : public ::testing::Test {
 protected:
  ProblemTest() {
    IlcInitFloat();
    manager_ = new IlcManager(1);
    clear();
  }
  ~ProblemTest() override {
    clear();
    manager_->end();
    delete manager_;
  }

  static void clear() {
    fac = facilities();
    gauges.clear();
    gauge_of.clear();
  }

  static void add_facility(double x, double y, double w, int gauge = 0) {
    fac.append(location(2.0, 1.0, x, y, w));
    gauge_of.append(gauge);
  }

  static void add_gauge(std::initializer_list<point> vertices) {
    gauges.append(polygauge(list<point>(vertices)));
  }
  static void add_diamond() { add_gauge({{1, 0}, {0, 1}, {-1, 0}, {0, -1}}); }

  // Convex, around the origin, not symmetric: points on an ellipse about (cx, cy).
  static void add_random_gauge(std::mt19937& random, int vertices) {
    std::uniform_real_distribution<double> u(0.0, 1.0);
    const double a = 0.5 + u(random);
    const double b = 0.5 + u(random);
    const double cx = 0.3 * (u(random) - 0.5);
    const double cy = 0.3 * (u(random) - 0.5);
    list<point> ball;
    for (int i = 0; i < vertices; ++i) {
      const double angle = 2.0 * M_PI * (i + 0.4 * u(random)) / vertices;
      ball.append(point(cx + a * std::cos(angle), cy + b * std::sin(angle)));
    }
    gauges.append(polygauge(ball));
  }

  // The table of a parameter file: the order weights, then for each edge (u, v) of each ball the
  // solution of <y, u> = <y, v> = weight, by Cramer's rule.
  double** make_coef(std::vector<double> order_weights) {
    rows_.clear();
    rows_.push_back(std::move(order_weights));
    for_each_facility([&](const location& a, const polygauge& g) {
      for (int i = 1; i <= g.size(); ++i) {
        const point u = g.vertex(i);
        const point v = g.vertex(i % g.size() + 1);
        const double det = u.xcoord() * v.ycoord() - u.ycoord() * v.xcoord();
        rows_.push_back({a.weight(0) * (v.ycoord() - u.ycoord()) / det,
                         a.weight(0) * (u.xcoord() - v.xcoord()) / det});
      }
    });
    coef_.clear();
    for (std::vector<double>& row : rows_) coef_.push_back(row.data());
    return coef_.data();
  }

  // The distance of facility f from (x, y) by the rows that make_coef made.
  double row_distance(int f, double x, double y) const {
    std::size_t k = 1;
    double distance = 0.0;
    int number = 0;
    for_each_facility([&](const location& a, const polygauge& g) {
      for (int i = 0; i < g.size(); ++i, ++k) {
        if (number != f) continue;
        distance = std::max(distance, rows_[k][0] * (x - a[0]) + rows_[k][1] * (y - a[1]));
      }
      ++number;
    });
    return distance;
  }

  IlcIntArray permutation(const std::vector<int>& entries) {
    IlcIntArray sigma(*manager_, static_cast<int>(entries.size()), 0);
    for (std::size_t i = 0; i < entries.size(); ++i) sigma[static_cast<int>(i)] = entries[i];
    return sigma;
  }
  static std::vector<int> entries(IlcIntArray& sigma) {
    std::vector<int> result;
    for (int i = 0; i < sigma.getSize(); ++i) result.push_back(sigma[i]);
    return result;
  }

  IlcManager* manager_;

 private:
  std::vector<std::vector<double>> rows_;
  std::vector<double*> coef_;
};

}  // namespace planloc

#endif  // PLANLOC_TESTS_DRIVER_PROBLEM_FIXTURE_H_
