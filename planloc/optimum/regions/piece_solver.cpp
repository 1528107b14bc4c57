#include "planloc/optimum/regions/piece_solver.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "planloc/optimum/convex/reduced_sum.h"
#include "planloc/optimum/convex/snap.h"

namespace planloc::detail {

namespace {

// Of the value: values in doubles that differ by more are told apart by them.
constexpr double kSurelyApart = 1e-13;
// Of the sites' extent: how near to a site it is evaluated itself.
constexpr double kSiteReach = 1e-6;
// Of the sites' extent: how near the optimum of a part is to where doubles have it, mostly; and how
// many crossings there are tried before the search in fractions.
constexpr double kReach = 1e-8;
constexpr std::size_t kMostTried = 8;
// From how many sites on folding pays, and of the value, how near it goes.
constexpr std::size_t kFewSites = 200;
constexpr double kFoldedGap = 0x1p-50;
constexpr int kMostFolded = 100;

exact_xy along(const boundary::piece& p, const mpq_class& share) {
  return {p.from.x + share * (p.to.x - p.from.x), p.from.y + share * (p.to.y - p.from.y)};
}

bool holds(const boundary::piece& p, const exact_xy& at) {
  const exact_xy u{p.to.x - p.from.x, p.to.y - p.from.y};
  const exact_xy v{at.x - p.from.x, at.y - p.from.y};
  if (sgn(cross(u, v)) != 0) return false;
  const mpq_class d = dot(u, v);
  return sgn(d) >= 0 && d <= dot(u, u);
}

// Whether f rises in the direction u under a choice of pieces: 1, 0 or -1.
int rise_sign(const exact_place& place, const piece_choice& c, const exact_xy& u) {
  const exact_place::rounded_slope s = place.slope_in_doubles(c);
  const xy v = to_nearest(u);
  const double rise = s.slope.x * v.x + s.slope.y * v.y;
  const double doubt = 2 * s.error * (std::fabs(v.x) + std::fabs(v.y));
  if (std::fabs(rise) > doubt) return rise > 0 ? 1 : -1;
  return dot_sign(place.slope(c), u);
}

mpq_class rise(const exact_place& place, const exact_xy& u, const exact_xy& along) {
  const exact_slope s = place.slope(place.choose(u));
  return (s.x * along.x + s.y * along.y) / mpq_class(s.denominator);
}

// The slope of a smooth gauge in the direction u.
xy gradient(const gauge& g, const xy& u) {
  const double size = g(u);
  const double p = g.kind() == gauge::shape::euclidean ? 2 : g.p();
  const auto part = [&](double c) {
    return std::copysign(std::pow(std::fabs(c) / size, p - 1), c);
  };
  return {part(u.x), part(u.y)};
}

}  // namespace

piece_solver::piece_solver(const problem& p, const distance_table& table, cut_pool& cuts)
    : problem_(p),
      table_(table),
      cuts_(cuts),
      evaluate_(p, table),
      edges_(table),
      extent_(table.extent()),
      edge_(table.size()) {
  if (extent_ == 0) extent_ = 1;
}

// ----- In doubles -----

std::optional<std::size_t> piece_solver::site_near(const side_part& s, const xy& at) const {
  const std::size_t slot = table_.nearest(at);
  const double distance =
      std::max(std::fabs(table_.x[slot] - at.x), std::fabs(table_.y[slot] - at.y));
  if (distance > kSiteReach * extent_) return {};
  const site& t = problem_.sites()[table_.site[slot]];
  if (!holds(s.ends, to_exact({t.x, t.y}))) return {};
  return slot;
}

// At a site under a smooth gauge f has a slope of its own in every direction; those along the side
// are the ones that count.
void piece_solver::add_kinks(const affine_piece& piece, const xy& at, const xy& u,
                             found_place& found) {
  for (const xy& v : {u, xy{-u.x, -u.y}}) {
    affine_piece sharp = piece;
    for (affine_piece::kink& k : sharp.kinks) k.slope = gradient(problem_.gauge_of(k.site), v);
    found.cuts.push_back(cuts_.add(std::move(sharp), at));
  }
}

void piece_solver::expect(std::span<const std::uint32_t> edges) {
  for (std::uint32_t slot = 0; slot < edges.size(); ++slot) edge_[slot] = edges[table_.site[slot]];
}

// Mostly the edges that were in force at the last place, or their neighbours.
std::size_t piece_solver::add_sum_at(const xy& at) {
  ++evaluations_;
  const double lambda = problem_.runs().front().weight;
  affine_piece piece;
  piece.taken_at = at;
  piece.edge.resize(table_.size());
  const affine_sum sum =
      sum_in_chunks(table_, [&](const gauge_block& b, std::uint32_t slot, affine_sum& s) {
        const xy u{at.x - table_.x[slot], at.y - table_.y[slot]};
        edge_[slot] = table_.active_edge(b, u, edge_[slot]);
        piece.edge[table_.site[slot]] = edge_[slot];
        const xy& n = table_.edges[b.first_edge + edge_[slot]].normal;
        const double w = lambda * table_.weight[slot];
        s.value += w * (n.x * u.x + n.y * u.y);
        s.slope.x += w * n.x;
        s.slope.y += w * n.y;
      });
  return cuts_.add(std::move(piece), {at, sum.value, sum.slope});
}

found_place piece_solver::evaluate(side_part& s, double share) {
  ++s.evaluations;
  const xy u{s.b.x - s.a.x, s.b.y - s.a.y};
  xy at{s.a.x + share * u.x, s.a.y + share * u.y};
  if (share == 1) at = s.b;
  found_place found{share == 0   ? s.ends.from
                    : share == 1 ? s.ends.to
                                 : along(s.ends, share),
                    0,
                    {},
                    {}};
  if (!problem_.polyhedral() && !s.site) {
    s.site = site_near(s, at);
    if (s.site) {
      const site& t = problem_.sites()[table_.site[*s.site]];
      found.at = to_exact({t.x, t.y});
      at = {table_.x[*s.site], table_.y[*s.site]};
    }
  }
  if (problem_.polyhedral() && problem_.runs().size() == 1) {
    found.cuts.push_back(add_sum_at(at));
  } else {
    affine_piece piece = evaluate_.piece_at(at);
    if (!piece.kinks.empty() && (u.x != 0 || u.y != 0)) add_kinks(piece, at, u, found);
    found.cuts.push_back(cuts_.add(std::move(piece), at));
  }
  found.value = cuts_.value(found.cuts.back());
  s.value = std::min(s.value, found.value);
  return found;
}

bool piece_solver::can_fold() const {
  return problem_.polyhedral() && problem_.runs().size() == 1 && table_.size() > kFewSites;
}

double piece_solver::find_least(const side_part& s, const cut_pool::minimum& m) {
  if (m.falling == m.rising) return m.share;
  // An affine function on the part.
  struct line {
    double begin, end;

    double share_of(double value) const {
      return std::clamp((value - begin) / (end - begin), 0.0, 1.0);
    }
  };
  const xy u{s.b.x - s.a.x, s.b.y - s.a.y};
  const auto place = [&](double share) { return xy{s.a.x + share * u.x, s.a.y + share * u.y}; };
  const auto seen = [&](std::size_t k) {
    return line{cuts_.value_at(k, s.a), cuts_.value_at(k, s.b)};
  };
  line falling = seen(m.falling);
  line rising = seen(m.rising);
  reduced_sum sum(problem_, table_, evaluate_, kFewSites);
  double least = s.value;
  double share = m.share;
  double bound = m.value;
  for (int round = 0; round < kMostFolded; ++round) {
    const xy low = place(falling.share_of(least));
    const xy high = place(rising.share_of(least));
    sum.narrow({{std::min(low.x, high.x), std::min(low.y, high.y)},
                {std::max(low.x, high.x), std::max(low.y, high.y)}});
    const evaluation e = sum(place(share));
    const double rise = e.slope.x * u.x + e.slope.y * u.y;
    if (rise == 0 || !(e.value - bound > kFoldedGap * e.value)) break;
    least = std::min(least, e.value);
    (rise < 0 ? falling : rising) = {e.value - share * rise, e.value + (1 - share) * rise};
    const double apart = falling.begin - rising.begin;
    share = std::clamp(apart / (apart + (rising.end - falling.end)), 0.0, 1.0);
    bound = falling.begin + share * (falling.end - falling.begin);
  }
  return share;
}

// ----- Without loss -----

piece_solver::test piece_solver::try_place(const side_part& s, const exact_xy& at) {
  ++evaluations_;
  const exact_place place(problem_, table_, edges_, at, edge_);
  const xy here = to_nearest(exact_xy{at.x - table_.base.x, at.y - table_.base.y});
  exact_xy ahead{s.ends.to.x - s.ends.from.x, s.ends.to.y - s.ends.from.y};
  test result{false, false, {at, place.value(), {}, {}}};
  const auto falls = [&](const exact_xy& u) {
    const piece_choice c = place.choose(u);
    result.found.cuts.push_back(cuts_.add(place.piece(c), here));
    return rise_sign(place, c, u) < 0;
  };
  if (s.ends.from == s.ends.to) {
    result.found.cuts.push_back(cuts_.add(place.piece(place.choose({1, 0})), here));
    return result;
  }
  if (at != s.ends.to) result.falls_ahead = falls(ahead);
  if (at != s.ends.from && !result.falls_ahead) result.falls_back = falls({-ahead.x, -ahead.y});
  return result;
}

found_place piece_solver::solve(const side_part& s, double share) {
  const auto try_now = [&](const exact_xy& at) -> std::optional<found_place> {
    test t = try_place(s, at);
    if (t.falls_ahead || t.falls_back) return {};
    return std::move(t.found);
  };
  if (share == 0 || s.ends.from == s.ends.to) {
    if (auto found = try_now(s.ends.from)) return *found;
  } else if (share == 1) {
    if (auto found = try_now(s.ends.to)) return *found;
  }
  const exact_xy u{s.ends.to.x - s.ends.from.x, s.ends.to.y - s.ends.from.y};
  const xy near{s.a.x + share * (s.b.x - s.a.x), s.a.y + share * (s.b.y - s.a.y)};
  const break_lines lines(problem_, table_, edges_, near, kReach * extent_);
  std::vector<exact_xy> candidates = lines.crossings(s.ends.from, u, kReach * extent_);
  std::erase_if(candidates, [&](const exact_xy& at) { return !holds(s.ends, at); });
  if (candidates.size() > kMostTried) candidates.resize(kMostTried);
  for (const exact_xy& at : candidates) {
    if (auto found = try_now(at)) return *found;
  }
  return solve_in_fractions(s);
}

// From both ends: the pieces in force there, then those in force where they meet. There are
// finitely many.
found_place piece_solver::solve_in_fractions(const side_part& s) {
  const exact_xy ahead{s.ends.to.x - s.ends.from.x, s.ends.to.y - s.ends.from.y};
  const exact_xy back{-ahead.x, -ahead.y};
  struct end {
    mpq_class share, value, rise;  // the rise along the whole part
  };
  const auto at_end = [&](mpq_class share, const exact_xy& u) {
    const exact_place place(problem_, table_, edges_, along(s.ends, share));
    return end{std::move(share), place.exact_value(), rise(place, u, ahead)};
  };
  test t = try_place(s, s.ends.from);
  if (!t.falls_ahead) return std::move(t.found);
  t = try_place(s, s.ends.to);
  if (!t.falls_back) return std::move(t.found);
  end low = at_end(0, ahead);
  end high = at_end(1, back);
  for (;;) {
    const mpq_class share =
        ((high.value - high.rise * high.share) - (low.value - low.rise * low.share)) /
        (low.rise - high.rise);
    t = try_place(s, along(s.ends, share));
    if (!t.falls_ahead && !t.falls_back) return std::move(t.found);
    if (t.falls_ahead) {
      low = at_end(share, ahead);
    } else {
      high = at_end(share, back);
    }
  }
}

mpq_class piece_solver::exact_value(const exact_xy& at) {
  return exact_place(problem_, table_, edges_, at).exact_value();
}

bool piece_solver::better(found_place& a, found_place& b) {
  if (!problem_.polyhedral() ||
      std::fabs(a.value - b.value) > kSurelyApart * std::max(a.value, b.value)) {
    return a.value < b.value;
  }
  if (a.at == b.at) return false;
  if (!a.exact) a.exact = exact_value(a.at);
  if (!b.exact) b.exact = exact_value(b.at);
  return *a.exact < *b.exact;
}

bool piece_solver::same_value(found_place& a, const exact_xy& at, double value) {
  if (std::fabs(a.value - value) > kSurelyApart * std::max(a.value, value)) return false;
  if (!a.exact) a.exact = exact_value(a.at);
  return *a.exact == exact_value(at);
}

}  // namespace planloc::detail
