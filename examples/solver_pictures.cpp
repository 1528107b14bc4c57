// Draws the pictures of docs/solvers.md.
//
//   $ solver_pictures docs
#include <planloc/planloc.h>

#include <iostream>
#include <string>
#include <vector>

namespace {

using planloc::facilities;
using planloc::gauged_sites;
using planloc::location;
using planloc::point;
using planloc::text_place;
using planloc::window;

// The unit ball of a distance with six fundamental directions.
const planloc::polygauge kHexagon({point(2, 0), point(1, 2), point(-1, 2), point(-2, 0),
                                   point(-1, -2), point(1, -2)});

struct named_site {
  const char* name;
  double x, y;
  double weight0, weight1;
  text_place place;
};

gauged_sites problem_of(const std::vector<named_site>& sites, int weights) {
  gauged_sites problem;
  problem.gauges.append(kHexagon);
  for (const named_site& s : sites) {
    location a(2, weights);
    a[0] = s.x;
    a[1] = s.y;
    a.weight(0) = s.weight0;
    if (weights > 1) a.weight(1) = s.weight1;
    problem.sites.append(a);
    problem.gauge_of.append(0);
  }
  return problem;
}

// Line by line along the fundamental directions of all sites, as far as the frame goes.
void draw_directions(window& W, const gauged_sites& problem) {
  problem.for_each([&](const location& a, const planloc::polygauge& g) {
    for (const planloc::segment& s : g.directions_at(a)) {
      W.draw_ray(planloc::ray(s.source(), s.target()), planloc::grey1);
    }
  });
}

void draw_sites(window& W, const std::vector<named_site>& sites) {
  for (const named_site& s : sites) {
    W.draw_disc(s.x, s.y, 5 / W.scale(), planloc::black);
    W.draw_text(s.x, s.y, s.name, planloc::black, s.place);
  }
}

void draw_mark(window& W, const point& p, planloc::color c, const char* text, text_place place) {
  W.draw_disc(p.xcoord(), p.ycoord(), 6 / W.scale(), c);
  W.draw_text(p, text, c, place);
}

planloc::list<point> points_of(const planloc::list<location>& results) {
  planloc::list<point> points;
  for (const location& l : results) points.append(l.to_point());
  return points;
}

void draw_piece(window& W, const planloc::list<point>& corners) {
  W.draw_filled_polygon(corners, planloc::blue2);
  W.set_line_width(4);
  W.draw_polygon(corners, planloc::blue);
  W.set_line_width(1);
}

// ----- The largest distance -----

// The middle of the polygon's edge at the bottom.
point lowest_middle(const planloc::polygon& p) {
  point lowest(0, p.vertices().head().ycoord());
  for (const planloc::segment& s : p.segments()) {
    if (s.ycoord1() <= lowest.ycoord() && s.ycoord2() <= lowest.ycoord()) {
      lowest = point((s.xcoord1() + s.xcoord2()) / 2, s.ycoord1());
    }
  }
  return lowest;
}

// The places that all sites reach within z, for z down to the least one for which there is such a
// place; dashed, the scaled unit balls that meet there.
void draw_level_sets(window& W) {
  const std::vector<named_site> sites = {{"Market (2)", 8, 0, 2, 0, text_place::right},
                                         {"School (2)", 5, 8, 2, 0, text_place::above},
                                         {"Harbour (2)", 10, 7, 2, 0, text_place::right},
                                         {"Mill (1)", 0, 7, 1, 0, text_place::left}};
  gauged_sites problem = problem_of(sites, 1);
  const double least = problem.sites.gauge_max(problem.gauges, problem.gauge_of, true);

  W.init(-3, 16.5, -1.5);
  W.display();
  W.set_line_style(planloc::dashed);
  problem.for_each([&](const location& a, const planloc::polygauge& g) {
    W.draw_polygon(g.scale(least / a.weight(0)).vertices_at(a), planloc::grey2);
  });
  W.set_line_style(planloc::solid);
  const struct {
    double factor;
    planloc::color fill;
    planloc::color ink;
    const char* name;
  } levels[] = {{1.75, planloc::grey1, planloc::black, "1.75 z"},
                {1.5, planloc::blue2, planloc::black, "1.5 z"},
                {1.25, planloc::blue, planloc::white, "1.25 z"}};
  for (const auto& level : levels) {
    planloc::polygon set;
    problem.sites.gauge_level_set(set, level.factor * least, problem.gauge_of, problem.gauges);
    W.draw_filled_polygon(set, level.fill);
    W.draw_text(lowest_middle(set), level.name, level.ink, text_place::above);
  }
  draw_sites(W, sites);
  const point optimum = problem.sites.opt.head().to_point();
  W.draw_disc(optimum.xcoord(), optimum.ycoord(), 6 / W.scale(), planloc::red);
  W.draw_text(optimum, "z", planloc::white);
}

// ----- A sum with ties -----

void draw_tied_sum(window& W) {
  const std::vector<named_site> sites = {{"Mill", 1, 2, 1, 0, text_place::below},
                                         {"School", 8, 8.5, 1, 0, text_place::right},
                                         {"Market", 9, -0.5, 1, 0, text_place::right},
                                         {"Harbour", 15, 6, 1, 0, text_place::above}};
  gauged_sites problem = problem_of(sites, 1);
  problem.sites.gauge_sum(problem.gauges, problem.gauge_of, true);

  W.init(-1.5, 18, -1.5);
  W.display();
  draw_directions(W, problem);
  draw_piece(W, points_of(problem.sites.opt));
  draw_sites(W, sites);
}

// ----- The efficient places of two sums -----

void draw_efficient_set(window& W) {
  const std::vector<named_site> sites = {{"Mill (3, 1)", 2, 2, 3, 1, text_place::right},
                                         {"School (1, 2)", 6, 4, 1, 2, text_place::below},
                                         {"Market (1, 4)", 12, 2, 1, 4, text_place::right},
                                         {"Station (2, 5)", 14, 7, 2, 5, text_place::right},
                                         {"Harbour (4, 1)", 1, 7, 4, 1, text_place::right}};
  gauged_sites problem = problem_of(sites, 2);
  problem.sites.gauge_bicriteria(problem.gauges, problem.gauge_of, true);

  W.init(-1.5, 18, -1.5);
  W.display();
  draw_directions(W, problem);
  planloc::list<point> piece;
  double label = 1.0;
  for (const location& l : problem.sites.opt) {
    if (l.weight(0) != label) {
      draw_piece(W, piece);
      piece.clear();
      label = l.weight(0);
    }
    piece.append(l.to_point());
  }
  draw_piece(W, piece);
  draw_sites(W, sites);
  draw_mark(W, problem.sites.opt.head().to_point(), planloc::green, "best for sum 1",
            text_place::left);
  draw_mark(W, problem.sites.opt.tail().to_point(), planloc::red, "best for sum 2",
            text_place::right);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: solver_pictures FOLDER\n";
    return 1;
  }
  struct {
    const char* file;
    void (*draw)(window&);
  } pictures[] = {{"level-sets", draw_level_sets},
                  {"tied-sum", draw_tied_sum},
                  {"efficient-set", draw_efficient_set}};
  for (const auto& p : pictures) {
    window W(760, 440);
    W.set_text_size(16);
    p.draw(W);
    if (!W.save(planloc::string("%s/%s.svg", argv[1], p.file))) return 1;
  }
  return 0;
}
