// The best place for a depot where the best place of the plane is in a lake: the answer with its
// proof, and the picture of docs/optimum.md.
//
//   $ lake_shore docs/lake-shore.svg
//
// The towns are those of Eilon, Watson-Gandy and Christofides, "Distribution Management" (1971).
#include <planloc/certified.h>
#include <planloc/planloc.h>

#include <cmath>
#include <iostream>
#include <numbers>
#include <vector>

namespace {

using planloc::point;
using planloc::text_place;
using planloc::xy;

const std::vector<planloc::site> kTowns = {
    {1.33, 8.89}, {1.89, 0.77}, {9.27, 1.49}, {9.46, 9.36}, {9.20, 8.69}, {7.43, 1.61},
    {8.99, 2.45}, {8.93, 7.00}, {8.60, 0.53}, {4.01, 0.31}, {3.34, 4.01}, {6.75, 5.57},
    {1.24, 6.69}, {3.13, 1.92}, {8.86, 8.74}, {2.22, 4.35}, {0.88, 7.02}, {8.53, 7.04},
    {4.53, 7.87}, {2.83, 9.88}, {0.75, 4.98}, {7.55, 5.79}, {8.45, 0.69}, {3.33, 5.78},
    {7.31, 1.61}, {7.23, 7.05}, {1.68, 6.45}, {3.54, 7.06}, {2.20, 1.12}, {3.57, 1.99},
    {5.00, 9.00}, {5.89, 8.06}, {1.13, 5.25}, {1.90, 8.35}, {1.74, 1.37}, {9.39, 6.44}};

const planloc::ring kShore = {{4.1, 2.6}, {5.6, 2.3}, {6.3, 3.2}, {5.9, 4.4},
                              {6.2, 5.4}, {5.7, 6.4}, {4.6, 6.7}, {3.9, 6.1},
                              {4.1, 5.2}, {4.6, 4.5}, {4.2, 3.8}};
const planloc::ring kIsland = {{4.9, 3.0}, {5.4, 3.1}, {5.2, 3.6}, {4.8, 3.5}};

planloc::list<point> points(const std::vector<xy>& corners) {
  planloc::list<point> result;
  for (const xy& c : corners) result.append(point(c.x, c.y));
  return result;
}

// Where f has a value, seen from a place where it has less.
std::vector<xy> level_curve(const planloc::problem& p, xy from, double value) {
  constexpr int kCorners = 240;
  std::vector<xy> curve;
  for (int k = 0; k < kCorners; ++k) {
    const double angle = 2 * std::numbers::pi * k / kCorners;
    const auto at = [&](double r) {
      return xy{from.x + r * std::cos(angle), from.y + r * std::sin(angle)};
    };
    double near = 0;
    double far = 10;
    while (far - near > 1e-9) {
      const double middle = (near + far) / 2;
      (p.value(at(middle)) < value ? near : far) = middle;
    }
    curve.push_back(at(near));
  }
  return curve;
}

}  // namespace

int main(int argc, char** argv) {
  planloc::regions where;
  where.forbidden = {{kShore, kIsland}};
  const planloc::problem p(kTowns, {planloc::gauge::euclidean()}, planloc::order_weights::median(),
                           where);
  const planloc::solution s = planloc::minimise(p);
  const planloc::solution free = planloc::minimise(p.without_regions());
  std::cout << "on the shore " << s.value << ", no permitted place below "
            << planloc::verify(p, s).lower_bound << "; in the lake " << free.value << '\n';
  if (argc < 2) return 0;
  planloc::window W(560, 560);
  W.set_text_size(16);
  W.init(-0.2, 10.2, -0.2);
  W.display();
  W.draw_filled_polygon(points(kShore), planloc::cyan);
  W.draw_filled_polygon(points(kIsland), planloc::white);
  W.set_line_width(2);
  W.draw_polygon(points(level_curve(p, free.point, s.value)), planloc::grey3);
  for (const planloc::site& t : kTowns) W.draw_disc(t.x, t.y, 4 / W.scale(), planloc::black);
  W.draw_disc(free.point.x, free.point.y, 7 / W.scale(), planloc::red);
  W.draw_disc(free.point.x, free.point.y, 5 / W.scale(), planloc::white);
  W.draw_disc(s.point.x, s.point.y, 7 / W.scale(), planloc::red);
  W.draw_text(s.point.x, s.point.y, " here  ", planloc::black,
              s.point.x < free.point.x ? text_place::left : text_place::right);
  return W.save(argv[1]) ? 0 : 1;
}
