#include "planloc/optimum/allocation/pair_closer.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "planloc/optimum/allocation/near_sites.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kMostOpen = 6;
constexpr std::size_t kMiddle = 4;
constexpr std::size_t kPlace = 5;

using at_corners = std::array<double, 4>;

double least_of(const at_corners& v) { return *std::min_element(v.begin(), v.end()); }

// The mixture whose least value is largest, of those that make two corners equal.
at_corners mixed(const at_corners& a, const at_corners& b) {
  at_corners best = least_of(b) > least_of(a) ? b : a;
  for (std::size_t k = 0; k < 4; ++k) {
    for (std::size_t l = 0; l < k; ++l) {
      const double apart = (a[k] - a[l]) - (b[k] - b[l]);
      if (apart == 0) continue;
      const double share = std::clamp((a[k] - a[l]) / apart, 0.0, 1.0);
      at_corners m;
      for (std::size_t c = 0; c < 4; ++c) m[c] = (1 - share) * a[c] + share * b[c];
      if (least_of(m) > least_of(best)) best = m;
    }
  }
  return best;
}

// What three tangents with no common direction of descent make that is level.
std::optional<at_corners> level_mixture(const at_corners& a, const at_corners& b,
                                        const at_corners& c) {
  const auto slope = [](const at_corners& v) { return xy{v[1] - v[0], v[2] - v[0]}; };
  const auto area = [](const xy& u, const xy& v) { return u.x * v.y - u.y * v.x; };
  const double of_a = area(slope(b), slope(c));
  const double of_b = area(slope(c), slope(a));
  const double of_c = area(slope(a), slope(b));
  const double all = of_a + of_b + of_c;
  if (!(std::min({of_a * all, of_b * all, of_c * all}) > 0)) return std::nullopt;
  at_corners m;
  for (std::size_t k = 0; k < 4; ++k)
    m[k] = of_a / all * a[k] + of_b / all * b[k] + of_c / all * c[k];
  return m;
}

// The mixture of all tangents whose least value is largest: of affine functions on a plane it needs
// three at most, which make it level, or two, which make two corners equal.
template <std::size_t N>
double best_mixture(const std::array<at_corners, N>& tangents) {
  double best = least_of(tangents[0]);
  for (std::size_t k = 1; k < N; ++k) {
    for (std::size_t l = 0; l < k; ++l) {
      best = std::max(best, least_of(mixed(tangents[k], tangents[l])));
      for (std::size_t m = 0; m < l; ++m) {
        if (const auto level = level_mixture(tangents[k], tangents[l], tangents[m]))
          best = std::max(best, least_of(*level));
      }
    }
  }
  return best;
}

}  // namespace

pair_closer::pair_closer(const allocation_ground& ground, std::span<const double> nearest_existing)
    : ground_(ground),
      nearest_existing_(nearest_existing),
      extent_(ground.table.extent()),
      find_place_(ground.table) {}

std::optional<pair_closer::closed> pair_closer::operator()(const xy_box& x, const xy_box& y,
                                                           double rounding) {
  view(sides_[0], x);
  view(sides_[1], y);
  if (!sort_sites()) return std::nullopt;
  for (const std::size_t which : {0, 1}) {
    add_place(which);
    bound_all(which);
  }
  double magnitude = 0;
  for (const side& s : sides_) {
    double reach = extent_;
    for (const xy& p : s.points) reach = std::max({reach, std::fabs(p.x), std::fabs(p.y)});
    magnitude += 4 * s.steepness * reach;
  }
  return closed{least_choice(0, {0, 0}, of_existing_) - rounding * (magnitude + of_existing_),
                {sides_[0].points[kPlace], sides_[1].points[kPlace]}};
}

void pair_closer::view(side& s, const xy_box& where) const {
  const distance_table& t = ground_.table;
  s.points = {where.low,
              {where.high.x, where.low.y},
              {where.low.x, where.high.y},
              where.high,
              {where.low.x + (where.high.x - where.low.x) / 2,
               where.low.y + (where.high.y - where.low.y) / 2},
              where.low};
  s.pieces.resize(kPoints * t.size());
  s.steepness = 0;
  for (std::size_t k = 0; k < t.size(); ++k) {
    double steepest = 0;
    for (std::size_t p = 0; p <= kMiddle; ++p) {
      const distance_table::linear_piece piece = piece_of(t, k, s.points[p]);
      s.pieces[kPoints * k + p] = piece;
      steepest = std::max(steepest, std::fabs(piece.slope.x) + std::fabs(piece.slope.y));
    }
    s.steepness += steepest;
  }
}

// Distances are convex: at most what they are at a corner, and at least their tangent.
unsigned pair_closer::servers_of(std::uint32_t slot) const {
  std::array<double, 2> most{};
  std::array<double, 2> least{};
  for (std::size_t j = 0; j < 2; ++j) {
    const side& s = sides_[j];
    const distance_table::linear_piece* const pieces = s.pieces.data() + kPoints * slot;
    for (std::size_t p = 0; p < kMiddle; ++p) most[j] = std::max(most[j], pieces[p].distance);
    const distance_table::linear_piece& middle = pieces[kMiddle];
    const double fall = std::fabs(middle.slope.x) * (s.points[3].x - s.points[kMiddle].x) +
                        std::fabs(middle.slope.y) * (s.points[3].y - s.points[kMiddle].y);
    least[j] = std::max(0.0, middle.distance - fall) * (1 - 0x1p-40);
    most[j] *= 1 + 0x1p-40;
  }
  unsigned servers = kFirst | kSecond;
  if (most[0] <= least[1]) {
    servers = kFirst;
  } else if (most[1] <= least[0]) {
    servers = kSecond;
  }
  if (nearest_existing_.empty()) return servers;
  const double existing = nearest_existing_[slot];
  if (existing * (1 + 0x1p-40) <= std::min(least[0], least[1])) return kExisting;
  return std::min(most[0], most[1]) <= existing * (1 - 0x1p-40) ? servers : servers | kExisting;
}

bool pair_closer::sort_sites() {
  open_.clear();
  of_existing_ = 0;
  for (side& s : sides_) {
    s.served.clear();
    s.sum = {};
  }
  for (std::uint32_t slot = 0; slot < ground_.table.size(); ++slot) {
    const unsigned servers = servers_of(slot);
    if (servers == kExisting) {
      of_existing_ += nearest_existing_[slot];
    } else if (servers == kFirst || servers == kSecond) {
      sides_[servers == kFirst ? 0 : 1].served.push_back(slot);
    } else {
      if (open_.size() == kMostOpen) return false;
      open_.push_back({slot, servers});
    }
  }
  return true;
}

void pair_closer::add_place(std::size_t which) {
  side& s = sides_[which];
  std::vector<std::uint32_t> slots = s.served;
  for (const open_site& o : open_) {
    const auto middle = [&](std::size_t j) {
      return sides_[j].pieces[kPoints * o.slot + kMiddle].distance;
    };
    if ((o.servers & (kFirst << which)) != 0 && middle(which) <= middle(1 - which))
      slots.push_back(o.slot);
  }
  s.points[kPlace] = slots.empty() ? s.points[kMiddle] : place_of(slots, s.points[kMiddle]);
  const auto add = [&](std::uint32_t slot, planes& sum) {
    s.pieces[kPoints * slot + kPlace] = piece_of(ground_.table, slot, s.points[kPlace]);
    for (std::size_t p = 0; p < kPoints; ++p) sum[p].add(s.pieces[kPoints * slot + p]);
  };
  for (const std::uint32_t slot : s.served) add(slot, s.sum);
  for (open_site& o : open_) add(o.slot, o.tangents[which]);
}

// Off the lines on which tangents change, lest a check sees others.
xy pair_closer::place_of(std::span<const std::uint32_t> slots, const xy& middle) {
  constexpr double kOff = 1e-6;
  const placed best = find_place_(slots, middle);
  xy at = best.at;
  const xy on_line = nearest_on_line(slots, middle);
  if (sum_of_distances(ground_.table, slots, on_line).value <= best.value * (1 + 1e-12))
    at = on_line;
  if (const std::optional<xy> way = way_off_site(slots, at)) {
    const double step = kOff * std::max(std::fabs(middle.x - at.x), std::fabs(middle.y - at.y));
    return {at.x + step * way->x, at.y + step * way->y};
  }
  return {at.x + kOff * (middle.x - at.x), at.y + kOff * (middle.y - at.y)};
}

// At a site with a smooth gauge: where its tangent falls as the sum of the others rises.
std::optional<xy> pair_closer::way_off_site(std::span<const std::uint32_t> slots,
                                            const xy& at) const {
  const distance_table& t = ground_.table;
  const gauge_block* own = nullptr;
  xy rest{0, 0};
  for (const std::uint32_t slot : slots) {
    if (ground_.place_of(slot) == at) {
      own = &t.blocks[t.block_of[slot]];
      continue;
    }
    const xy slope = piece_of(t, slot, at).slope;
    rest = {rest.x + slope.x, rest.y + slope.y};
  }
  if (own == nullptr || own->kind == gauge::shape::polyhedral || rest == xy{0, 0}) return {};
  const double most = std::max(std::fabs(rest.x), std::fabs(rest.y));
  const double power = own->kind == gauge::shape::lp ? 1 / (own->p - 1) : 1;
  const auto along = [&](double slope) {
    return -std::copysign(std::pow(std::fabs(slope) / most, power), slope);
  };
  return xy{along(rest.x), along(rest.y)};
}

// Of the way between the two outermost sites: where all sites are on a line, more places may be
// best than one.
xy pair_closer::nearest_on_line(std::span<const std::uint32_t> slots, const xy& from) const {
  const xy a = ground_.place_of(slots[0]);
  const auto along = [&](std::uint32_t slot) {
    const xy b = ground_.place_of(slot);
    return xy{b.x - a.x, b.y - a.y};
  };
  xy u{0, 0};
  for (const std::uint32_t slot : slots)
    if (const xy v = along(slot); dot(v, v) > dot(u, u)) u = v;
  double low = 0;
  double high = 0;
  for (const std::uint32_t slot : slots) {
    low = std::min(low, dot(along(slot), u));
    high = std::max(high, dot(along(slot), u));
  }
  const double t = std::clamp(dot({from.x - a.x, from.y - a.y}, u), low, high) /
                   std::max(dot(u, u), std::numeric_limits<double>::min());
  return {a.x + t * u.x, a.y + t * u.y};
}

void pair_closer::bound_all(std::size_t which) {
  side& s = sides_[which];
  s.bounds.clear();
  for (std::size_t set = 0; set < std::size_t{1} << open_.size(); ++set) {
    planes sum = s.sum;
    for (std::size_t k = 0; k < open_.size(); ++k) {
      if ((set >> k & 1) == 0) continue;
      for (std::size_t p = 0; p < kPoints; ++p) sum[p].add(open_[k].tangents[which][p]);
    }
    std::array<at_corners, kPoints> tangents;
    for (std::size_t p = 0; p < kPoints; ++p) {
      for (std::size_t c = 0; c < 4; ++c) {
        tangents[p][c] = sum[p].value + sum[p].slope.x * (s.points[c].x - s.points[p].x) +
                         sum[p].slope.y * (s.points[c].y - s.points[p].y);
      }
    }
    s.bounds.push_back(best_mixture(tangents));
  }
}

double pair_closer::least_choice(std::size_t open, std::array<std::size_t, 2> sets,
                                 double existing) const {
  if (open == open_.size()) return sides_[0].bounds[sets[0]] + sides_[1].bounds[sets[1]] + existing;
  double least = std::numeric_limits<double>::infinity();
  for (const std::size_t j : {0, 1}) {
    if ((open_[open].servers & (kFirst << j)) == 0) continue;
    std::array<std::size_t, 2> with = sets;
    with[j] |= std::size_t{1} << open;
    least = std::min(least, least_choice(open + 1, with, existing));
  }
  if ((open_[open].servers & kExisting) != 0) {
    least = std::min(least,
                     least_choice(open + 1, sets, existing + nearest_existing_[open_[open].slot]));
  }
  return least;
}

}  // namespace planloc::detail
