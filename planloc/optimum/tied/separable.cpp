#include "planloc/optimum/tied/separable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "planloc/optimum/tied/cut_network.h"
#include "planloc/optimum/tied/grid.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kUp = 0;
constexpr std::size_t kDown = 1;

// gauge(u) = sum over the two coordinates of rise[c][kUp] * max(0, u_c) + rise[c][kDown] * max(0,
// -u_c), with the edge for each pair of signs.
struct separable_gauge {
  std::array<std::array<double, 2>, 2> rise{};
  std::array<std::array<std::uint32_t, 2>, 2> edge{};
};

bool has_exact_inverse(double d) {
  int exponent = 0;
  return std::frexp(d, &exponent) == 0.5;
}

std::optional<separable_gauge> separate(const gauge& g, frame f) {
  const std::span<const xy> v = g.vertices();
  if (v.size() != 4) return std::nullopt;
  std::array<std::array<std::uint32_t, 2>, 2> vertex{};
  separable_gauge result;
  for (std::uint32_t k = 0; k < 4; ++k) {
    const xy u = f == frame::axes ? v[k] : xy{v[k].x + v[k].y, v[k].x - v[k].y};
    if ((u.x == 0) == (u.y == 0)) return std::nullopt;
    const std::size_t c = u.x == 0 ? 1 : 0;
    const double length = c == 0 ? u.x : u.y;
    if (!has_exact_inverse(std::fabs(length))) return std::nullopt;
    const std::size_t side = length > 0 ? kUp : kDown;
    result.rise[c][side] = 1 / std::fabs(length);
    vertex[c][side] = k;
  }
  for (const std::size_t a : {kUp, kDown}) {
    for (const std::size_t b : {kUp, kDown}) {
      const std::uint32_t first = vertex[0][a];
      const std::uint32_t second = vertex[1][b];
      result.edge[a][b] = (first + 1) % 4 == second ? first : second;
    }
  }
  return result;
}

// A coordinate in the frame without loss: high + low.
struct coordinate {
  double high = 0;
  double low = 0;

  friend auto operator<=>(const coordinate&, const coordinate&) = default;

  mpq_class exact() const { return mpq_class(high) + low; }
};

double difference(const coordinate& a, const coordinate& b) {
  return (a.high - b.high) + (a.low - b.low);
}

// a + b (Knuth 1969).
coordinate two_sum(double a, double b) {
  const double sum = a + b;
  const double b_part = sum - a;
  return {sum, (a - (sum - b_part)) + (b - b_part)};
}

coordinate coordinate_of(const tied_site& s, frame f, std::size_t c) {
  if (f == frame::axes) return {c == 0 ? s.x : s.y, 0};
  return two_sum(s.x, c == 0 ? s.y : -s.y);
}

// One coordinate of an optimum. Slopes are in units of the weights' grid, weights included.
template <class Number>
struct line_answer {
  std::vector<std::size_t> level;  // of each facility
  std::vector<Number> raise;       // of each facility: of its sites' slope, from that to the left
  std::vector<Number> tie_slope;   // of each tie, for its first facility
};

// One coordinate of the problem of a part. Levels are the different coordinates of sites, from the
// least one.
template <class Number>
class line_problem {
 public:
  line_problem(const tied_problem& p, const tied_part& part,
               const std::vector<separable_gauge>& gauges, std::size_t c,
               const std::vector<std::size_t>& level, std::size_t levels, int unit)
      : problem_(p),
        part_(part),
        gauges_(gauges),
        coordinate_(c),
        unit_(unit),
        levels_(levels),
        facilities_(part.facilities.size()) {
    local_.resize(p.facilities());
    for (std::size_t j = 0; j < facilities_; ++j) local_[part.facilities[j]] = j;
    sum_sites(level);
    sum_ties();
  }

  line_answer<Number> solve() {
    answer_.level.assign(facilities_, 0);
    answer_.raise.assign(facilities_, Number(0));
    held_.assign(facilities_ * facilities_, Number(0));
    others_.assign(facilities_, Number(0));
    std::vector<std::size_t> all(facilities_);
    std::iota(all.begin(), all.end(), 0U);
    place(0, levels_ - 1, all);
    share_ties();
    return std::move(answer_);
  }
  std::size_t cuts() const { return cuts_; }

 private:
  Number units(double weight, double rise) const { return in_units<Number>(weight * rise, unit_); }

  // The slope of the sites of a facility between level l - 1 and level l.
  const Number& below(std::size_t j, std::size_t l) const { return slope_[j * (levels_ + 1) + l]; }

  void sum_sites(const std::vector<std::size_t>& level) {
    slope_.assign(facilities_ * (levels_ + 1), Number(0));
    for (std::size_t j = 0; j < facilities_; ++j) {
      Number* const slope = &slope_[j * (levels_ + 1)];
      const std::span<const double> weights =
          problem_.weights().subspan(part_.facilities[j] * level.size(), level.size());
      Number down(0);
      for (std::size_t i = 0; i < level.size(); ++i) {
        const std::array<double, 2>& rise = gauges_[problem_.sites()[i].gauge].rise[coordinate_];
        const Number w_down = units(weights[i], rise[kDown]);
        down += w_down;
        slope[level[i] + 1] += w_down;
        slope[level[i] + 1] += units(weights[i], rise[kUp]);
      }
      slope[0] = -down;
      for (std::size_t l = 0; l < levels_; ++l) slope[l + 1] += slope[l];
    }
  }

  void sum_ties() {
    tie_.assign(facilities_ * facilities_, Number(0));
    for (const std::uint32_t t : part_.ties) {
      const tie& b = problem_.ties()[t];
      const std::array<double, 2>& rise = gauges_[b.gauge].rise[coordinate_];
      const std::size_t j = local_[b.first];
      const std::size_t k = local_[b.second];
      tie_[j * facilities_ + k] += units(b.weight, rise[kUp]);
      tie_[k * facilities_ + j] += units(b.weight, rise[kDown]);
    }
  }

  // Finds the levels of some facilities that are known to lie from `low` to `high`. The slopes of
  // their ties to all others are in `others_`.
  void place(std::size_t low, std::size_t high, const std::vector<std::size_t>& some) {
    if (some.empty()) return;
    if (low == high) return hold(low, some);
    const std::size_t middle = (low + high) / 2;
    const std::vector<bool> is_above = cut(middle, some);
    std::vector<std::size_t> above;
    std::vector<std::size_t> below_it;
    for (std::size_t k = 0; k < some.size(); ++k)
      (is_above[k] ? above : below_it).push_back(some[k]);
    for (const std::size_t j : above) {
      for (const std::size_t k : below_it) {
        others_[j] += tie_[j * facilities_ + k];
        others_[k] -= tie_[j * facilities_ + k];
      }
    }
    place(low, middle, below_it);
    place(middle + 1, high, above);
  }

  cut_network<Number> network_of(const std::vector<std::size_t>& some) const {
    cut_network<Number> net(some.size());
    for (std::size_t a = 0; a < some.size(); ++a) {
      for (std::size_t b = 0; b < some.size(); ++b)
        net.arc[a * some.size() + b] = tie_[some[a] * facilities_ + some[b]];
    }
    return net;
  }

  // Which facilities gain from going above a level, if all of them decide at once.
  std::vector<bool> cut(std::size_t middle, const std::vector<std::size_t>& some) {
    ++cuts_;
    std::vector<Number> slope;
    bool rises = true;
    bool falls = true;
    for (const std::size_t j : some) {
      slope.push_back(others_[j]);
      slope.back() += below(j, middle + 1);
      rises = rises && !(slope.back() < 0);
      falls = falls && !(slope.back() > 0);
    }
    if (rises || falls) return std::vector<bool>(some.size(), !rises);
    cut_network<Number> net = network_of(some);
    for (std::size_t k = 0; k < some.size(); ++k) {
      if (slope[k] < 0) net.source[k] = -slope[k];
      if (slope[k] > 0) net.sink[k] = slope[k];
    }
    net.send();
    std::vector<bool> above;
    for (std::size_t k = 0; k < some.size(); ++k) above.push_back(net.above(k));
    return above;
  }

  // Some facilities share a level: a flow along their ties balances them. Each has the slope to
  // the left of the level, which its sites on the level can raise.
  void hold(std::size_t level, const std::vector<std::size_t>& some) {
    cut_network<Number> net = network_of(some);
    const std::vector<Number> full = net.arc;
    std::vector<Number> slope;
    for (std::size_t k = 0; k < some.size(); ++k) {
      slope.push_back(others_[some[k]]);
      slope[k] += below(some[k], level);
      if (slope[k] < 0) net.source[k] = -slope[k];
      if (slope[k] > 0) net.sink[k] = slope[k];
    }
    net.send();  // first what has to arrive, then what may
    for (std::size_t k = 0; k < some.size(); ++k) {
      net.sink[k] += below(some[k], level + 1);
      net.sink[k] -= below(some[k], level);
    }
    net.send();
    for (std::size_t a = 0; a < some.size(); ++a) {
      const std::size_t j = some[a];
      answer_.level[j] = level;
      Number rest = others_[j];
      for (std::size_t b = 0; b < some.size(); ++b) {
        // What flows from a to b raises the slope of a.
        const Number flow = full[a * some.size() + b] - net.arc[a * some.size() + b];
        held_[j * facilities_ + some[b]] = flow;
        rest += flow;
      }
      answer_.raise[j] = -rest;
      answer_.raise[j] -= below(j, level);
    }
  }

  // Each tie takes from its pair's flow what it can carry.
  void share_ties() {
    const auto ends = [&](const tie& b) {
      return std::pair(local_[b.first] * facilities_ + local_[b.second],
                       local_[b.second] * facilities_ + local_[b.first]);
    };
    for (const std::uint32_t t : part_.ties) {
      const tie& b = problem_.ties()[t];
      const auto [forth, back] = ends(b);
      const std::array<double, 2>& rise = gauges_[b.gauge].rise[coordinate_];
      held_[forth] += units(b.weight, rise[kDown]);
      held_[back] += units(b.weight, rise[kUp]);
    }
    for (const std::uint32_t t : part_.ties) {
      const tie& b = problem_.ties()[t];
      const std::array<double, 2>& rise = gauges_[b.gauge].rise[coordinate_];
      const Number up = units(b.weight, rise[kUp]);
      const Number down = units(b.weight, rise[kDown]);
      const std::size_t first = answer_.level[local_[b.first]];
      const std::size_t second = answer_.level[local_[b.second]];
      const auto [forth, back] = ends(b);
      Number slope = first > second ? up : Number(-down);
      if (first == second) {
        const bool in_order = forth < back;
        Number& left = held_[in_order ? forth : back];
        const Number taken = std::min(left, Number(up + down));
        left -= taken;
        slope = in_order ? Number(taken - down) : Number(up - taken);
      }
      answer_.tie_slope.push_back(slope);
    }
  }

  const tied_problem& problem_;
  const tied_part& part_;
  const std::vector<separable_gauge>& gauges_;
  std::size_t coordinate_;
  int unit_;
  std::size_t levels_, facilities_;
  std::vector<std::size_t> local_;
  std::vector<Number> slope_;  // of each facility: left of each level, and right of the last one
  std::vector<Number> tie_;    // of pairs: what it costs to have the first above the second
  std::vector<Number> others_, held_;
  line_answer<Number> answer_;
  std::size_t cuts_ = 0;
};

// Sites by a coordinate, and the level of each.
struct sorted_sites {
  std::vector<std::size_t> level;
  std::vector<coordinate> at;  // of each level

  sorted_sites(const tied_problem& p, frame f, std::size_t c) : level(p.sites().size()) {
    std::vector<std::pair<coordinate, std::size_t>> sorted;
    for (std::size_t i = 0; i < level.size(); ++i)
      sorted.emplace_back(coordinate_of(p.sites()[i], f, c), i);
    std::sort(sorted.begin(), sorted.end());
    for (const auto& [key, i] : sorted) {
      if (at.empty() || key != at.back()) at.push_back(key);
      level[i] = at.size() - 1;
    }
  }
};

// A share of a slope as a fraction.
template <class Number>
mpq_class quotient(const Number& n, const Number& d) {
  mpq_class q(to_mpz(n), to_mpz(d));
  q.canonicalize();
  return q;
}

template <class Number>
class separable_solver {
 public:
  separable_solver(const tied_problem& p, frame f, const tied_part& part,
                   const std::vector<separable_gauge>& gauges, int unit)
      : problem_(p),
        frame_(f),
        part_(part),
        gauges_(gauges),
        unit_(unit),
        sites_{sorted_sites(p, f, 0), sorted_sites(p, f, 1)} {}

  double solve(tied_solution& s) {
    for (std::size_t c = 0; c < 2; ++c) {
      line_problem<Number> line(problem_, part_, gauges_, c, sites_[c].level, sites_[c].at.size(),
                                unit_);
      line_[c] = line.solve();
      s.counters.rounds += line.cuts();
    }
    for (std::size_t j = 0; j < part_.facilities.size(); ++j) write_facility(j, s);
    for (std::size_t k = 0; k < part_.ties.size(); ++k) {
      const tie& b = problem_.ties()[part_.ties[k]];
      const Number w = in_units<Number>(b.weight, unit_);
      s.proof.ties[part_.ties[k]] =
          in_plane(quotient(line_[0].tie_slope[k], w), quotient(line_[1].tie_slope[k], w));
    }
    return value();
  }

 private:
  // From slopes in the frame.
  tied_certificate::slope in_plane(const mpq_class& a, const mpq_class& b) const {
    return frame_ == frame::axes ? slope_of(a, b) : slope_of(a + b, a - b);
  }

  void write_facility(std::size_t j, tied_solution& s) {
    const std::uint32_t facility = part_.facilities[j];
    const mpq_class a = sites_[0].at[line_[0].level[j]].exact();
    const mpq_class b = sites_[1].at[line_[1].level[j]].exact();
    if (frame_ == frame::axes) {
      set_place(s, facility, a, b);
    } else {
      set_place(s, facility, (a + b) / 2, (a - b) / 2);
    }
    const std::size_t n = problem_.sites().size();
    for (std::size_t i = 0; i < n; ++i) {
      const double w = problem_.weight(facility, i);
      if (w == 0) continue;
      const separable_gauge& g = gauges_[problem_.sites()[i].gauge];
      std::array<std::size_t, 2> side{};
      std::array<Number, 2> taken;
      bool bent = false;
      for (std::size_t c = 0; c < 2; ++c) {
        const std::size_t level = sites_[c].level[i];
        side[c] = level < line_[c].level[j] ? kUp : kDown;
        taken[c] = Number(0);
        if (level != line_[c].level[j]) continue;
        Number& left = line_[c].raise[j];
        const Number whole = in_units<Number>(w * g.rise[c][kUp], unit_) +
                             in_units<Number>(w * g.rise[c][kDown], unit_);
        taken[c] = std::min(left, whole);
        left -= taken[c];
        if (taken[c] == whole) side[c] = kUp;
        bent = bent || (taken[c] > 0 && taken[c] < whole);
      }
      s.proof.edge[facility * n + i] = g.edge[side[0]][side[1]];
      if (!bent) continue;
      std::array<mpq_class, 2> slope;
      for (std::size_t c = 0; c < 2; ++c) {
        slope[c] = side[c] == kUp ? g.rise[c][kUp] : -g.rise[c][kDown];
        if (side[c] == kDown) slope[c] += quotient(taken[c], in_units<Number>(w, unit_));
      }
      s.proof.bends.push_back(
          {facility, static_cast<std::uint32_t>(i), in_plane(slope[0], slope[1])});
    }
  }

  double value() const {
    long double sum = 0;
    const auto add = [&](std::size_t c, double w, std::uint32_t gauge, const coordinate& to,
                         const coordinate& from) {
      const double d = difference(to, from);
      sum +=
          static_cast<long double>(w * gauges_[gauge].rise[c][d > 0 ? kUp : kDown]) * std::fabs(d);
    };
    for (std::size_t c = 0; c < 2; ++c) {
      const auto at = [&](std::uint32_t facility) {
        const auto j = std::find(part_.facilities.begin(), part_.facilities.end(), facility);
        return sites_[c].at[line_[c].level[static_cast<std::size_t>(j - part_.facilities.begin())]];
      };
      for (const std::uint32_t facility : part_.facilities) {
        const coordinate here = at(facility);
        for (std::size_t i = 0; i < problem_.sites().size(); ++i) {
          add(c, problem_.weight(facility, i), problem_.sites()[i].gauge, here,
              sites_[c].at[sites_[c].level[i]]);
        }
      }
      for (const std::uint32_t t : part_.ties) {
        const tie& b = problem_.ties()[t];
        add(c, b.weight, b.gauge, at(b.first), at(b.second));
      }
    }
    return static_cast<double>(sum);
  }

  const tied_problem& problem_;
  frame frame_;
  const tied_part& part_;
  const std::vector<separable_gauge>& gauges_;
  int unit_;
  std::array<sorted_sites, 2> sites_;
  std::array<line_answer<Number>, 2> line_;
};

std::vector<bool> gauges_that_count(const tied_problem& p) {
  std::vector<bool> counts(p.gauges().size());
  for (std::size_t j = 0; j < p.facilities(); ++j) {
    for (std::size_t i = 0; i < p.sites().size(); ++i)
      if (p.weight(j, i) > 0) counts[p.sites()[i].gauge] = true;
  }
  for (const tie& b : p.ties())
    if (b.weight > 0) counts[b.gauge] = true;
  return counts;
}

bool separable_in(const tied_problem& p, frame f, const std::vector<bool>& counts) {
  for (std::size_t g = 0; g < counts.size(); ++g)
    if (counts[g] && !separate(p.gauges()[g], f)) return false;
  return true;
}

}  // namespace

std::optional<frame> separable_frame(const tied_problem& p) {
  const std::vector<bool> counts = gauges_that_count(p);
  for (const frame f : {frame::axes, frame::diagonals})
    if (separable_in(p, f, counts)) return f;
  return std::nullopt;
}

double solve_separable(const tied_problem& p, frame f, const tied_part& part, tied_solution& s) {
  std::vector<separable_gauge> gauges;
  for (const gauge& g : p.gauges()) gauges.push_back(separate(g, f).value_or(separable_gauge{}));
  grid units;
  const auto add = [&](double weight, std::uint32_t gauge) {
    units.add(weight);
    for (const auto& rise : gauges[gauge].rise)
      for (const double r : rise) units.add(weight * r);
  };
  for (const std::uint32_t j : part.facilities) {
    for (std::size_t i = 0; i < p.sites().size(); ++i) add(p.weight(j, i), p.sites()[i].gauge);
  }
  for (const std::uint32_t t : part.ties) add(p.ties()[t].weight, p.ties()[t].gauge);
  return units.fits_wide() ? separable_solver<wide>(p, f, part, gauges, units.unit()).solve(s)
                           : separable_solver<mpz_class>(p, f, part, gauges, units.unit()).solve(s);
}

}  // namespace planloc::detail
