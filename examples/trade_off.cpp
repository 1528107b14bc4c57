// One yard for two purposes: near the people who use it, and near the freight that it handles. All
// places that are not worse for both than another one, and the picture of docs/optimum.md.
//
//   $ trade_off docs/trade-off.svg
//   0 .. 0.181818:  (0, 8) with 10 and 54.5
//   ...
#include <planloc/certified.h>
#include <planloc/planloc.h>

#include <algorithm>
#include <iostream>
#include <vector>

namespace {

using planloc::efficient_chain;
using planloc::efficient_corner;
using planloc::efficient_piece;
using planloc::point;
using planloc::text_place;
using planloc::window;

struct named_site {
  const char* name;
  planloc::bicriteria_site site;  // weights: people, freight
  text_place place;
};

const std::vector<named_site> kSites = {{"School (3, 0)", {0, 8, 3, 0}, text_place::right},
                                        {"Harbour (1, 3)", {2, 2, 1, 3}, text_place::below},
                                        {"Quarry (0, 4)", {10, 2, 0, 4}, text_place::below},
                                        {"Depot (0, 1)", {9, 7, 0, 1}, text_place::above},
                                        {"Market (1, 1)", {14, 8, 1, 1}, text_place::above},
                                        {"Works (0, 1)", {14, 5, 0, 1}, text_place::below}};

// Roads in six directions.
const planloc::gauge kRoads =
    planloc::gauge::polyhedral({{2, 0}, {1, 2}, {-1, 2}, {-2, 0}, {-1, -2}, {1, -2}});

planloc::bicriteria_problem problem_of_sites() {
  std::vector<planloc::bicriteria_site> sites;
  for (const named_site& s : kSites) sites.push_back(s.site);
  return {sites, {kRoads}};
}

void tell(const efficient_chain& c) {
  for (const efficient_piece& piece : c.pieces) {
    std::cout << piece.t_low << " .. " << piece.t_high << ':';
    for (const efficient_corner& k : piece.corners) {
      std::cout << "  (" << k.at.x << ", " << k.at.y << ") with " << k.value1 << " and "
                << k.value2;
    }
    std::cout << '\n';
  }
}

void draw_map(window& W, const efficient_chain& c) {
  for (const named_site& s : kSites) {
    for (const planloc::xy& v : kRoads.vertices()) {
      W.draw_segment({point(s.site.x, s.site.y), point(s.site.x + 1.5 * v.x, s.site.y + 1.5 * v.y)},
                     planloc::grey1);
    }
  }
  for (const efficient_piece& piece : c.pieces) {
    if (piece.corners.size() == 1) continue;
    planloc::list<point> corners;
    for (const efficient_corner& k : piece.corners) corners.append(point(k.at.x, k.at.y));
    W.draw_filled_polygon(corners, planloc::blue2);
    W.set_line_width(4);
    W.draw_polygon(corners, planloc::blue);
    W.set_line_width(1);
  }
  for (const named_site& s : kSites) {
    W.draw_disc(s.site.x, s.site.y, 5 / W.scale(), planloc::black);
    W.draw_text(s.site.x, s.site.y, s.name, planloc::black, s.place);
  }
}

// The curve in a frame of its own to the right of the map.
class curve_frame {
 public:
  explicit curve_frame(const std::vector<planloc::trade_off>& curve)
      : first_(curve.front()), last_(curve.back()) {}
  point at(double value1, double value2) const {
    return point(20 + 9 * (value1 - first_.value1) / (last_.value1 - first_.value1),
                 1 + 8 * (value2 - last_.value2) / (first_.value2 - last_.value2));
  }

 private:
  planloc::trade_off first_;
  planloc::trade_off last_;
};

void draw_curve(window& W, const efficient_chain& c) {
  const curve_frame frame(c.curve);
  W.draw_segment({point(19, 0), point(30.5, 0)}, planloc::black);
  W.draw_segment({point(19, 0), point(19, 10.5)}, planloc::black);
  W.draw_text(24.5, 0, "f_1, to the people", planloc::black, text_place::below);
  W.draw_text(19, 10.5, "f_2, to the freight", planloc::black, text_place::above);
  for (std::size_t k = 0; k + 1 < c.curve.size(); ++k) {
    W.set_line_width(4);
    W.draw_segment({frame.at(c.curve[k].value1, c.curve[k].value2),
                    frame.at(c.curve[k + 1].value1, c.curve[k + 1].value2)},
                   planloc::blue);
    W.set_line_width(1);
  }
}

// The places between the pieces, on the map and on the curve.
void draw_marks(window& W, const efficient_chain& c) {
  const curve_frame frame(c.curve);
  for (std::size_t k = 0; k < c.pieces.size(); k += 2) {
    const efficient_corner& corner = c.pieces[k].corners[0];
    const planloc::color ink = k == 0                     ? planloc::green
                               : k + 1 == c.pieces.size() ? planloc::red
                                                          : planloc::blue;
    const point on_curve = frame.at(corner.value1, corner.value2);
    W.draw_disc(corner.at.x, corner.at.y, 6 / W.scale(), ink);
    W.draw_disc(on_curve.xcoord(), on_curve.ycoord(), 6 / W.scale(), ink);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const planloc::bicriteria_problem p = problem_of_sites();
  const efficient_chain c = planloc::efficient_set(p);
  tell(c);
  const planloc::efficient_verification v = planloc::verify(p, c);
  std::cout << (v.accepted ? "proved" : v.reason) << '\n';
  if (argc < 2) return 0;
  window W(960, 420);
  W.set_text_size(16);
  W.init(-3.5, 31.5, -2);
  W.display();
  draw_map(W, c);
  draw_curve(W, c);
  draw_marks(W, c);
  return W.save(argv[1]) ? 0 : 1;
}
