// Eight depots for fifty towns, one of them there already: the answer with its proof, and the
// picture of docs/optimum.md.
//
//   $ eight_depots examples/eilon50.xy docs/eight-depots.svg
//   8 depots: distance 53.2382, no places below 53.2331
//
// The towns are those of Eilon, Watson-Gandy and Christofides, "Distribution Management" (1971).
#include <planloc/certified.h>
#include <planloc/planloc.h>

#include <fstream>
#include <iostream>
#include <vector>

namespace {

using planloc::text_place;
using planloc::xy;

const planloc::color kInks[] = {planloc::blue,   planloc::red,   planloc::green, planloc::orange,
                                planloc::violet, planloc::brown, planloc::cyan,  planloc::black};

// A line a town: x y.
std::vector<planloc::site> read_towns(const char* file) {
  std::vector<planloc::site> towns;
  std::ifstream in(file);
  for (planloc::site s; in >> s.x >> s.y;) towns.push_back(s);
  return towns;
}

void draw(planloc::window& W, const planloc::allocation_problem& p, const planloc::allocation& a) {
  std::vector<xy> depots = a.points;
  depots.insert(depots.end(), p.existing().begin(), p.existing().end());
  const auto towns = p.sites();
  W.set_line_width(2);
  for (std::size_t i = 0; i < towns.size(); ++i) {
    const xy& depot = depots[a.assignment[i]];
    W.draw_segment({planloc::point(towns[i].x, towns[i].y), planloc::point(depot.x, depot.y)},
                   kInks[a.assignment[i]]);
  }
  for (const planloc::site& s : towns) W.draw_disc(s.x, s.y, 4 / W.scale(), planloc::black);
  for (std::size_t k = 0; k < depots.size(); ++k) {
    W.draw_disc(depots[k].x, depots[k].y, 8 / W.scale(), kInks[k]);
  }
  W.draw_text(depots.back().x, depots.back().y, " here already", planloc::black, text_place::right);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<planloc::site> towns = read_towns(argc < 2 ? "examples/eilon50.xy" : argv[1]);
  if (towns.empty()) {
    std::cerr << "usage: eight_depots towns.xy [picture.svg]\n";
    return 1;
  }
  const planloc::allocation_problem p(towns, {planloc::gauge::euclidean()}, 7, {{4.2, 2.4}});
  const planloc::allocation a = planloc::allocate(p, {.lower_bound = true});
  const planloc::allocation_check c = planloc::verify(p, a);
  std::cout << "8 depots: distance " << a.value << ", no places below " << *c.lower_bound << '\n';
  if (argc < 3) return 0;
  planloc::window W(560, 560);
  W.set_text_size(16);
  W.init(-0.2, 10.2, -0.2);
  W.display();
  draw(W, p, a);
  return W.save(argv[2]) ? 0 : 1;
}
