#include "planloc/optimum/efficient/chain_walk.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "planloc/foundation/numeric/round_quotient.h"
#include "planloc/optimum/exact/exact_sum.h"

namespace planloc::detail {

namespace {

// Relative; what is less certain is computed in fractions.
constexpr double kValueError = 0x1p-54;

[[noreturn]] void lost() { throw std::logic_error("efficient set: the walk has left the chain"); }

}  // namespace

chain_walk::chain_walk(ray_arrangement& arrangement, const exact_xy& start)
    : arrangement_(&arrangement),
      loads_(arrangement),
      at_(start, arrangement.base()),
      tie_(arrangement.problem().sites().size(), kNoTie),
      edge_(tie_.size()) {
  locate();
  look_around();
  settle();
}

// ----- Where the walk is -----

void chain_walk::locate() {
  for (std::uint32_t i = 0; i < tie_.size(); ++i) {
    locate(i);
    if (tie_[i] == kNoTie) {
      loads_.add(i, edge_[i]);
    } else {
      tied_.push_back(i);
    }
  }
}

void chain_walk::locate(std::uint32_t site) {
  const std::uint32_t g = arrangement_->gauge_of(site);
  const std::uint32_t begin = arrangement_->first_ray(g);
  const std::uint32_t end = arrangement_->first_ray(g + 1);
  const bicriteria_site& s = arrangement_->problem().sites()[site];
  const xy u{(at_.pair().x - double_double{s.x, 0}).hi, (at_.pair().y - double_double{s.y, 0}).hi};
  // Twice what the roundings of u, of the products and of their difference come to.
  const double doubt = 0x1p-49 * (std::fabs(u.x) + std::fabs(u.y)) + 4 * at_.error();
  std::optional<exact_xy> exact;
  const auto side_of = [&](std::uint32_t ray) {
    const xy& v = arrangement_->direction(ray);
    const double rounded = v.x * u.y - v.y * u.x;
    if (std::fabs(rounded) > doubt * (std::fabs(v.x) + std::fabs(v.y)) + 0x1p-900)
      return rounded > 0 ? 1 : -1;
    if (!exact) exact = exact_xy{at_.exact().x - s.x, at_.exact().y - s.y};
    return sgn(cross(to_exact(v), *exact));
  };
  int before = side_of(end - 1);
  for (std::uint32_t r = begin; r < end; ++r) {
    const std::uint32_t previous = r == begin ? end - 1 : r - 1;
    const int here = side_of(r);
    if (exact && sgn(exact->x) == 0 && sgn(exact->y) == 0) {
      tie_[site] = kAtSite;
      return;
    }
    if (before > 0 && here < 0) {
      edge_[site] = previous;
      return;
    }
    if (here == 0 && sgn(dot(to_exact(arrangement_->direction(r)), *exact)) > 0) {
      tie_[site] = static_cast<std::int32_t>(r - begin);
      return;
    }
    before = here;
  }
  lost();
}

// From inside of a face to a corner.
void chain_walk::settle() {
  for (;;) {
    for (const direction& d : directions_) {
      if (arrangement_->side(directions_[0].heading, d.heading) == 0) continue;
      at_ = arrangement_->crossing({directions_[0].line, d.line});
      return;
    }
    go(directions_.empty() ? 0 : directions_[0].heading);
  }
}

std::uint32_t chain_walk::edge_of(std::uint32_t site, std::uint32_t heading) const {
  const std::uint32_t g = arrangement_->gauge_of(site);
  if (tie_[site] == kAtSite) return arrangement_->edge_towards(g, heading);
  const std::uint32_t ray = arrangement_->first_ray(g) + static_cast<std::uint32_t>(tie_[site]);
  return arrangement_->side(arrangement_->heading(ray), heading) >= 0
             ? ray
             : arrangement_->ray_before(ray);
}

void chain_walk::look_around() {
  directions_.clear();
  const auto add = [this](std::uint32_t heading, std::uint32_t site, std::uint32_t vertex) {
    directions_.push_back({heading, {site, vertex}, {}, {}});
  };
  for (const std::uint32_t i : tied_) {
    const std::uint32_t g = arrangement_->gauge_of(i);
    const std::uint32_t begin = arrangement_->first_ray(g);
    if (tie_[i] == kAtSite) {
      for (std::uint32_t r = begin; r < arrangement_->first_ray(g + 1); ++r)
        add(arrangement_->heading(r), i, r - begin);
    } else {
      const auto vertex = static_cast<std::uint32_t>(tie_[i]);
      const std::uint32_t heading = arrangement_->heading(begin + vertex);
      add(heading, i, vertex);
      add(arrangement_->opposite(heading), i, vertex);
    }
  }
  std::sort(directions_.begin(), directions_.end(),
            [](const direction& a, const direction& b) { return a.heading < b.heading; });
  directions_.erase(
      std::unique(directions_.begin(), directions_.end(),
                  [](const direction& a, const direction& b) { return a.heading == b.heading; }),
      directions_.end());
  for (direction& d : directions_) {
    const xy& v = arrangement_->vector(d.heading);
    for (std::size_t k = 0; k < 2; ++k) d.rise[k] = loads_.rise(k, v);
    for (const std::uint32_t i : tied_) {
      const std::uint32_t edge = edge_of(i, d.heading);
      for (std::size_t k = 0; k < 2; ++k)
        d.rise[k].value = d.rise[k].value + loads_.rise_of(k, i, edge, v);
    }
    for (bounded& h : d.rise) h.error *= 1 + static_cast<double>(tied_.size());
  }
}

double chain_walk::value(std::size_t criterion) {
  bounded f = loads_.value(criterion, at_);
  for (const std::uint32_t i : tied_) {
    if (tie_[i] == kAtSite) continue;
    f.value = f.value + loads_.value_of(criterion, i, edge_of(i, 0), at_);
  }
  f.error *= 1 + static_cast<double>(tied_.size());
  if (f.error <= kValueError * std::fabs(f.value.hi)) return f.value.hi;
  const bicriteria_problem& p = arrangement_->problem();
  product_sum sum;
  for (std::uint32_t i = 0; i < tie_.size(); ++i) {
    const double w = p.weight(criterion, i);
    if (w == 0 || tie_[i] == kAtSite) continue;
    const bicriteria_site& s = p.sites()[i];
    const exact_xy& n = loads_.normal(tie_[i] == kNoTie ? edge_[i] : edge_of(i, 0));
    sum.add(mpq_class(w), dot(n, {at_.exact().x - s.x, at_.exact().y - s.y}));
  }
  const product_sum::quotient q = sum.value();
  return round_quotient(q.numerator, q.denominator);
}

efficient_corner chain_walk::corner() { return {at_.nearest(), value(0), value(1), at_.lines()}; }

// ----- What rises -----

const mpq_class& chain_walk::exact(direction& d, std::size_t criterion) {
  std::optional<mpq_class>& h = d.exact[criterion];
  if (!h) {
    const exact_xy v = to_exact(arrangement_->vector(d.heading));
    h = loads_.exact_rise(criterion, v);
    for (const std::uint32_t i : tied_)
      *h += loads_.exact_rise_of(criterion, i, edge_of(i, d.heading), v);
  }
  return *h;
}

int chain_walk::sign(direction& d, std::size_t criterion) {
  if (const auto s = d.rise[criterion].sign()) return *s;
  return sgn(exact(d, criterion));
}

int chain_walk::turn(direction& a, direction& b) {
  const bounded& a0 = a.rise[0];
  const bounded& a1 = a.rise[1];
  const bounded& b0 = b.rise[0];
  const bounded& b1 = b.rise[1];
  const double_double p = a0.value * b1.value;
  const double_double q = b0.value * a1.value;
  const auto size = [](const bounded& h) { return std::fabs(h.value.hi) + h.error; };
  const bounded t{p - q, 2 * (size(a0) * b1.error + size(b1) * a0.error + size(b0) * a1.error +
                              size(a1) * b0.error) +
                             4 * kDoubleDoubleError * (std::fabs(p.hi) + std::fabs(q.hi))};
  if (const auto s = t.sign()) return *s;
  return sgn(mpq_class(exact(a, 0) * exact(b, 1) - exact(b, 0) * exact(a, 1)));
}

// Of two directions in which criterion k falls and the other one rises the one with the smaller
// ratio of rise to fall is tight first.
chain_walk::outlook chain_walk::look_to(std::size_t criterion) {
  direction* best = nullptr;
  for (direction& d : directions_) {
    const int s = sign(d, criterion);
    if (s > 0) continue;
    const int other = sign(d, 1 - criterion);
    if (other < 0 || (other == 0 && s < 0)) lost();
    if (s == 0) continue;
    if (best == nullptr || (criterion == 1 ? turn(d, *best) : -turn(d, *best)) > 0) best = &d;
  }
  outlook result;
  if (best == nullptr) return result;
  result.steepest = best;
  for (direction& d : directions_) {
    if (&d == best || turn(d, *best) == 0) result.tight.push_back(d.heading);
  }
  return result;
}

std::vector<std::uint32_t> chain_walk::level_headings() {
  std::vector<std::uint32_t> level;
  for (direction& d : directions_) {
    if (sign(d, 0) == 0 && sign(d, 1) == 0) level.push_back(d.heading);
  }
  return level;
}

// The t with (1 - t) h_1 + t h_2 == 0.
double chain_walk::parameter(direction& d) {
  const double_double t = d.rise[0].value / (d.rise[0].value - d.rise[1].value);
  const double share = d.rise[0].error / std::fabs(d.rise[0].value.hi) +
                       d.rise[1].error / std::fabs(d.rise[1].value.hi);
  if (share <= kValueError) return t.hi;
  const mpq_class q = exact(d, 0) / (exact(d, 0) - exact(d, 1));
  return round_quotient(q.get_num(), q.get_den());
}

// ----- Steps -----

chain_walk::direction& chain_walk::at_heading(std::uint32_t heading) {
  const auto d =
      std::lower_bound(directions_.begin(), directions_.end(), heading,
                       [](const direction& a, std::uint32_t h) { return a.heading < h; });
  if (d == directions_.end() || d->heading != heading) lost();
  return *d;
}

void chain_walk::go(std::uint32_t heading) {
  arrangement_->meet(at_, heading, tie_, met_);
  if (met_.empty()) lost();
  if (directions_.empty()) {
    at_ = arrangement_->meeting(at_, heading, met_[0]);
  } else {
    at_ = arrangement_->crossing({at_heading(heading).line, met_[0]});
  }
  leave(heading);
  arrive();
  look_around();
}

void chain_walk::leave(std::uint32_t heading) {
  std::erase_if(tied_, [&](std::uint32_t i) {
    const std::uint32_t edge = edge_of(i, heading);
    const std::uint32_t first = arrangement_->first_ray(arrangement_->gauge_of(i));
    const std::uint32_t ray =
        tie_[i] == kAtSite ? edge : first + static_cast<std::uint32_t>(tie_[i]);
    const std::uint32_t along = arrangement_->heading(ray);
    // A site's rays lead away from it; a ray that passes through the corner leads both ways.
    if (along == heading || (tie_[i] != kAtSite && along == arrangement_->opposite(heading))) {
      tie_[i] = static_cast<std::int32_t>(ray - first);
      return false;
    }
    tie_[i] = kNoTie;
    edge_[i] = edge;
    loads_.add(i, edge);
    return true;
  });
}

void chain_walk::arrive() {
  for (const ray_line& l : met_) {
    if (tie_[l.site] == kNoTie) {
      loads_.remove(l.site, edge_[l.site]);
      tie_[l.site] = static_cast<std::int32_t>(l.vertex);
      tied_.push_back(l.site);
    } else {
      tie_[l.site] = kAtSite;  // two of its rays meet nowhere else
    }
  }
}

// A polygon to the left of its sides has nothing between a side and the next one.
std::uint32_t chain_walk::next_side(std::uint32_t came_along) {
  const std::uint32_t back = arrangement_->opposite(came_along);
  const auto d =
      std::lower_bound(directions_.begin(), directions_.end(), back,
                       [](const direction& a, std::uint32_t h) { return a.heading < h; });
  return d == directions_.begin() ? directions_.back().heading : std::prev(d)->heading;
}

std::vector<efficient_corner> chain_walk::walk_round(std::uint32_t right, std::uint32_t left) {
  std::vector<efficient_corner> corners;
  for (std::uint32_t heading = right;;) {
    corners.push_back(corner());
    go(heading);
    if (arrangement_->opposite(heading) == left) return corners;
    heading = next_side(heading);
  }
}

std::optional<chain_face> chain_walk::advance(std::size_t criterion) {
  outlook o = look_to(criterion);
  if (o.steepest == nullptr) return std::nullopt;
  chain_face face{{}, parameter(*o.steepest)};
  if (o.tight.size() == 1) {
    face.corners.push_back(corner());
    go(o.tight[0]);
    face.corners.push_back(corner());
    return face;
  }
  if (o.tight.size() > 2) lost();
  if (arrangement_->side(o.tight[0], o.tight[1]) < 0) std::swap(o.tight[0], o.tight[1]);
  face.corners = walk_round(o.tight[0], o.tight[1]);
  std::size_t steps = 0;
  bool fallen = false;
  for (std::uint32_t heading = o.tight[0];; heading = next_side(heading)) {
    const bool falls = sign(at_heading(heading), criterion) < 0;
    if (fallen && !falls) break;
    fallen = fallen || falls;
    go(heading);
    ++steps;
  }
  if (criterion == 0) {
    std::rotate(face.corners.begin(),
                face.corners.begin() + static_cast<std::ptrdiff_t>(steps % face.corners.size()),
                face.corners.end());
  }
  return face;
}

std::vector<efficient_corner> chain_walk::level_corners() {
  std::vector<std::uint32_t> level = level_headings();
  if (level.empty()) return {corner()};
  if (level.size() == 1) {
    const efficient_corner here = corner();
    arrangement_->meet(at_, level[0], tie_, met_);
    if (met_.empty()) lost();
    const rung_place other = arrangement_->crossing({at_heading(level[0]).line, met_[0]});
    return {here, {other.nearest(), here.value1, here.value2, other.lines()}};
  }
  if (level.size() > 2) lost();
  if (arrangement_->side(level[0], level[1]) < 0) std::swap(level[0], level[1]);
  return walk_round(level[0], level[1]);
}

bool chain_walk::at_optimum_of_sum() {
  return std::all_of(directions_.begin(), directions_.end(), [this](direction& d) {
    const double_double sum = d.rise[0].value + d.rise[1].value;
    const bounded rise{sum, 2 * (d.rise[0].error + d.rise[1].error)};
    if (const auto s = rise.sign()) return *s > 0;
    return exact(d, 0) + exact(d, 1) >= 0;
  });
}

bool chain_walk::between_two_faces() {
  const outlook first = look_to(0);
  const outlook second = look_to(1);
  return first.steepest != nullptr && second.steepest != nullptr &&
         turn(*first.steepest, *second.steepest) == 0;
}

}  // namespace planloc::detail
