// Eight depots for fifty towns, one of them there already: the answer with its proof, and the
// picture of docs/optimum.md.
//
//   $ eight_depots docs/eight-depots.svg
//   8 depots: distance 53.2382, no places below 53.2376
//
// The towns are those of Eilon, Watson-Gandy and Christofides, "Distribution Management" (1971).
#include <planloc/certified.h>
#include <planloc/planloc.h>

#include <iostream>
#include <vector>

namespace {

using planloc::text_place;
using planloc::xy;

const std::vector<planloc::site> kTowns = {
    {1.33, 8.89}, {1.89, 0.77}, {9.27, 1.49}, {9.46, 9.36}, {9.20, 8.69}, {7.43, 1.61},
    {6.08, 1.34}, {5.57, 4.60}, {6.70, 2.77}, {8.99, 2.45}, {8.93, 7.00}, {8.60, 0.53},
    {4.01, 0.31}, {3.34, 4.01}, {6.75, 5.57}, {7.36, 4.03}, {1.24, 6.69}, {3.13, 1.92},
    {8.86, 8.74}, {4.18, 3.74}, {2.22, 4.35}, {0.88, 7.02}, {8.53, 7.04}, {6.49, 6.22},
    {4.53, 7.87}, {4.46, 7.91}, {2.83, 9.88}, {3.39, 5.65}, {0.75, 4.98}, {7.55, 5.79},
    {8.45, 0.69}, {3.33, 5.78}, {6.27, 3.66}, {7.31, 1.61}, {6.37, 7.02}, {7.23, 7.05},
    {1.68, 6.45}, {3.54, 7.06}, {7.67, 4.17}, {2.20, 1.12}, {3.57, 1.99}, {7.34, 1.38},
    {6.58, 4.49}, {5.00, 9.00}, {6.63, 5.23}, {5.89, 8.06}, {1.13, 5.25}, {1.90, 8.35},
    {1.74, 1.37}, {9.39, 6.44}};

const planloc::color kInks[] = {planloc::blue,   planloc::red,   planloc::green, planloc::orange,
                                planloc::violet, planloc::brown, planloc::cyan,  planloc::black};

void draw(planloc::window& W, const planloc::allocation_problem& p, const planloc::allocation& a) {
  std::vector<xy> depots = a.points;
  depots.insert(depots.end(), p.existing().begin(), p.existing().end());
  W.set_line_width(2);
  for (std::size_t i = 0; i < kTowns.size(); ++i) {
    const xy& depot = depots[a.assignment[i]];
    W.draw_segment({planloc::point(kTowns[i].x, kTowns[i].y), planloc::point(depot.x, depot.y)},
                   kInks[a.assignment[i]]);
  }
  for (const planloc::site& s : kTowns) W.draw_disc(s.x, s.y, 4 / W.scale(), planloc::black);
  for (std::size_t k = 0; k < depots.size(); ++k) {
    W.draw_disc(depots[k].x, depots[k].y, 8 / W.scale(), kInks[k]);
  }
  W.draw_text(depots.back().x, depots.back().y, " here already", planloc::black, text_place::right);
}

}  // namespace

int main(int argc, char** argv) {
  const planloc::allocation_problem p(kTowns, {planloc::gauge::euclidean()}, 7, {{4.2, 2.4}});
  const planloc::allocation a = planloc::allocate(p, {.lower_bound = true});
  const planloc::allocation_check c = planloc::verify(p, a);
  std::cout << "8 depots: distance " << a.value << ", no places below " << *c.lower_bound << '\n';
  if (argc < 2) return 0;
  planloc::window W(560, 560);
  W.set_text_size(16);
  W.init(-0.2, 10.2, -0.2);
  W.display();
  draw(W, p, a);
  return W.save(argv[1]) ? 0 : 1;
}
