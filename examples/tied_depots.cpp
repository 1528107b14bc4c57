// Two depots that exchange goods: where they belong, where each would stand alone, and the picture
// of docs/optimum.md.
//
//   $ tied_depots docs/tied-depots.svg
#include <planloc/certified.h>
#include <planloc/planloc.h>

#include <iostream>
#include <vector>

namespace {

using planloc::point;
using planloc::text_place;
using planloc::xy;

// What a town gets from the two depots, in lorries a day.
struct town {
  double x, y, dry, cold;
};

const std::vector<town> kTowns = {
    {0.8, 1.2, 3, 0}, {1.6, 4.4, 5, 1}, {2.3, 2.6, 2, 0}, {3.1, 6.0, 2, 2}, {3.6, 0.7, 4, 1},
    {4.4, 2.2, 1, 1}, {5.2, 5.2, 1, 2}, {6.1, 1.8, 1, 3}, {6.8, 6.3, 0, 3}, {7.4, 3.9, 0, 4},
    {8.2, 0.9, 0, 2}, {8.9, 5.4, 1, 5}, {9.3, 2.6, 0, 3}};

planloc::tied_problem problem(double shuttles) {
  std::vector<planloc::tied_site> sites;
  std::vector<double> weights(2 * kTowns.size());
  for (std::size_t i = 0; i < kTowns.size(); ++i) {
    sites.push_back({kTowns[i].x, kTowns[i].y});
    weights[i] = kTowns[i].dry;
    weights[kTowns.size() + i] = kTowns[i].cold;
  }
  return {2, sites, {planloc::gauge::euclidean()}, weights, {{.weight = shuttles}}};
}

void draw_roads(planloc::window& W, const std::vector<xy>& depots) {
  for (const town& t : kTowns) {
    const double lorries[] = {t.dry, t.cold};
    for (std::size_t j = 0; j < 2; ++j) {
      if (lorries[j] == 0) continue;
      W.set_line_width(static_cast<int>(lorries[j]));
      W.draw_segment({point(t.x, t.y), point(depots[j].x, depots[j].y)},
                     j == 0 ? planloc::orange : planloc::blue);
    }
  }
}

void draw(planloc::window& W, const std::vector<xy>& depots, const std::vector<xy>& alone) {
  draw_roads(W, depots);
  W.set_line_width(6);
  W.draw_segment({point(depots[0].x, depots[0].y), point(depots[1].x, depots[1].y)},
                 planloc::black);
  for (const town& t : kTowns) W.draw_disc(t.x, t.y, 4 / W.scale(), planloc::black);
  for (std::size_t j = 0; j < 2; ++j) {
    const planloc::color ink = j == 0 ? planloc::orange : planloc::blue;
    W.draw_disc(depots[j].x, depots[j].y, 9 / W.scale(), ink);
    W.draw_disc(alone[j].x, alone[j].y, 9 / W.scale(), ink);
    W.draw_disc(alone[j].x, alone[j].y, 6 / W.scale(), planloc::white);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const planloc::tied_problem p = problem(6);
  const planloc::tied_solution s = planloc::minimise(p);
  const planloc::verification v = planloc::verify(p, s);
  const planloc::tied_solution alone = planloc::minimise(problem(0));
  std::cout << "dry goods at (" << s.points[0].x << ", " << s.points[0].y << "), cold goods at ("
            << s.points[1].x << ", " << s.points[1].y << ")\nlorry kilometres " << v.value
            << ", nowhere less by more than " << v.gap << "; at the places for each alone "
            << p.value(alone.points) << '\n';
  if (argc < 2) return 0;
  planloc::window W(640, 480);
  W.init(0, 10, 0);
  W.display();
  draw(W, s.points, alone.points);
  return W.save(argv[1]) ? 0 : 1;
}
