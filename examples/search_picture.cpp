// Draws a picture of docs/optimum.md: a branch and bound for a trimmed mean. On the left the
// triangles of its certificate over the map, on the right the value and the bound as cells go by.
//
//   $ search_picture docs/search.svg
//   142 cells: value 18.85, no place below 18.85
#include <planloc/certified.h>
#include <planloc/planloc.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace {

using planloc::branch_certificate;
using planloc::color;
using planloc::point;
using planloc::segment;
using planloc::site;
using planloc::text_place;
using planloc::window;
using planloc::xy;
using reason = branch_certificate::reason;
using corners = std::array<xy, 3>;

constexpr double kSide = 10;  // of the map

const std::vector<site> kTowns = {{1.3, 8.9}, {1.9, 0.8}, {9.3, 1.5}, {9.5, 9.4}, {7.4, 1.6},
                                  {9.0, 2.5}, {8.9, 7.0}, {4.0, 0.3}, {3.3, 4.0}, {6.8, 5.6},
                                  {1.2, 6.7}, {3.1, 1.9}, {2.2, 4.4}, {4.5, 7.9}, {0.8, 5.0},
                                  {7.6, 5.8}, {7.2, 7.1}, {3.5, 7.1}, {5.9, 8.1}, {1.7, 1.4}};
const planloc::gauge kRoads =
    planloc::gauge::polyhedral({{2, 0}, {1, 2}, {-1, 2}, {-2, 0}, {-1, -2}, {1, -2}});

void draw_box(window& W, xy low, xy high, color c) {
  planloc::list<point> box;
  for (const xy& k : {low, {high.x, low.y}, high, {low.x, high.y}}) box.append(point(k.x, k.y));
  W.draw_filled_polygon(box, c);
}

// Strips whose grey tells how far the value is above the least one.
void draw_levels(window& W, const planloc::problem& p, double least) {
  constexpr int kSteps = 125;
  constexpr double kStep = kSide / kSteps;
  constexpr double kWidth = 0.15;  // of a level, in parts of the least value
  const std::array<color, 4> greys = {planloc::white, planloc::grey1, planloc::grey2,
                                      planloc::grey3};
  for (int row = 0; row < kSteps; ++row) {
    const double y = row * kStep;
    const auto level = [&](int column) {
      const double above = p.value({(column + 0.5) * kStep, y + kStep / 2}) / least - 1;
      return std::min<std::size_t>(greys.size() - 1, static_cast<std::size_t>(above / kWidth));
    };
    for (int from = 0, to = 0; from < kSteps; from = to) {
      while (to < kSteps && level(to) == level(from)) ++to;
      draw_box(W, {from * kStep, y}, {to * kStep, y + kStep}, greys[level(from)]);
    }
  }
}

// Calls leaf(triangle, reason) in the order of the certificate.
template <class Leaf>
void visit_leaves(const branch_certificate& c, const corners& t, std::size_t& next, Leaf leaf) {
  const reason why = c.cells[next++];
  if (why != reason::halved) return leaf(t, why);
  const xy middle{(t[1].x + t[2].x) / 2, (t[1].y + t[2].y) / 2};
  visit_leaves(c, {middle, t[0], t[1]}, next, leaf);
  visit_leaves(c, {middle, t[2], t[0]}, next, leaf);
}

void draw_triangles(window& W, const branch_certificate& c) {
  const auto corner = [&c](int along, int across) {
    const double a = c.half * (branch_certificate::kShiftX + along);
    const double b = c.half * (branch_certificate::kShiftY + across);
    return xy{c.base.x + a * c.axes.along.x + b * c.axes.across.x,
              c.base.y + a * c.axes.along.y + b * c.axes.across.y};
  };
  std::size_t next = 0;
  for (const corners& root : {corners{corner(-1, -1), corner(1, -1), corner(-1, 1)},
                              corners{corner(1, 1), corner(-1, 1), corner(1, -1)}}) {
    visit_leaves(c, root, next, [&](const corners& t, reason why) {
      planloc::list<point> triangle;
      for (const xy& at : t) triangle.append(point(at.x, at.y));
      if (why == reason::exact) W.draw_filled_polygon(triangle, planloc::blue2);
      W.draw_polygon(triangle, planloc::blue);
    });
  }
}

struct moment {
  double cells, value, bound;
};

// What searches know that may look at 1, 2, ... cells.
std::vector<moment> course_of_search(const planloc::problem& p) {
  std::vector<moment> course;
  planloc::solution s;
  planloc::minimise_options options;
  for (options.cells = 1; s.status == planloc::solution_status::stopped; ++options.cells) {
    s = planloc::minimise(p, options);
    course.push_back({static_cast<double>(s.counters.cells), s.value, s.lower_bound});
  }
  return course;
}

void draw_course(window& W, const std::vector<moment>& course, xy low, xy high) {
  const double last = course.back().cells;
  const double least = course.back().value;
  const auto place = [&](double cells, double height) {  // height 1: the optimum
    const double up = std::clamp(height, 0.0, 1.5) / 1.5;
    return point(low.x + (high.x - low.x) * cells / last, low.y + (high.y - low.y) * up);
  };
  W.draw_segment({place(0, 0), place(last, 0)}, planloc::black);
  W.draw_segment({place(0, 0), place(0, 1.5)}, planloc::black);
  const auto draw = [&](double moment::*what, color c) {
    for (std::size_t k = 0; k + 1 < course.size(); ++k) {
      const point from = place(course[k].cells, course[k].*what / least);
      const point corner = place(course[k + 1].cells, course[k].*what / least);
      W.draw_segment({from, corner}, c);
      W.draw_segment({corner, place(course[k + 1].cells, course[k + 1].*what / least)}, c);
    }
  };
  W.set_line_width(3);
  draw(&moment::value, planloc::red);
  draw(&moment::bound, planloc::blue);
  W.draw_text(place(last, 1.06), "best value", planloc::red, text_place::left);
  W.draw_text(place(last, 0.8), "lower bound", planloc::blue, text_place::left);
  W.draw_text(place(last / 2, 0), "cells", planloc::black, text_place::below);
  W.draw_text(place(0, 0), "0", planloc::black, text_place::below);
  W.draw_text(place(last, 0), std::to_string(static_cast<int>(last)).c_str(), planloc::black,
              text_place::below);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: search_picture FILE.svg\n";
    return 1;
  }
  const planloc::problem p(kTowns, {kRoads}, planloc::order_weights::trimmed_mean(4, 6));
  const planloc::solution s = planloc::minimise(p);
  std::cout << s.counters.cells << " cells: value " << s.value << ", no place below "
            << planloc::verify(p, s).lower_bound << '\n';
  window W(1000, 500);
  W.init(0, 2 * kSide, 0);
  W.display();
  W.set_text_size(16);
  draw_levels(W, p, s.value);
  draw_triangles(W, std::get<branch_certificate>(s.proof));
  draw_box(W, {kSide, 0}, {2 * kSide, kSide}, planloc::white);
  for (const site& a : kTowns) W.draw_disc(a.x, a.y, 4 / W.scale(), planloc::black);
  W.draw_disc(s.point.x, s.point.y, 7 / W.scale(), planloc::red);
  draw_course(W, course_of_search(p), {kSide + 1, 1.5}, {2 * kSide - 1, kSide - 1});
  return W.save(argv[1]) ? 0 : 1;
}
