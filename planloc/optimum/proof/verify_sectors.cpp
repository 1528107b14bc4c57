#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

namespace {

mpq_class cross(const fraction_pair& a, const fraction_pair& b) { return a.x * b.y - a.y * b.x; }
mpq_class sum_norm(const fraction_pair& u) { return abs(u.x) + abs(u.y); }
mpq_class largest(const fraction_pair& u) {
  return std::max(mpq_class(abs(u.x)), mpq_class(abs(u.y)));
}
fraction_pair opposite(const fraction_pair& u) { return {-u.x, -u.y}; }

struct by_angle {
  // From (1, 0) on counterclockwise.
  bool operator()(const fraction_pair& a, const fraction_pair& b) const {
    if (lower(a) != lower(b)) return lower(b);
    return sgn(cross(a, b)) > 0;
  }
  static bool lower(const fraction_pair& u) {
    return sgn(u.y) < 0 || (sgn(u.y) == 0 && sgn(u.x) < 0);
  }
};

// The places beyond which a step back along a direction is never worse; `check_sectors` says why.
class sector_check {
 public:
  sector_check(const problem& p, const branch_certificate& c)
      : centred_(at_one_place(p)), gauges_(centred_, {0, 0}) {
    const verified_sites sites(p, c.base);
    for (std::uint32_t i = 0; i < p.sites().size(); ++i) {
      const fraction_pair from = sites.exact_offset(i, {0, 0});
      kind& k =
          kinds_.try_emplace({p.sites()[i].gauge, p.sites()[i].weight}, kind{i, {}}).first->second;
      k.apart = std::max({k.apart, gauges_.distance(i, from), gauges_.distance(i, opposite(from))});
      far_ = std::max(far_, largest(from));
    }
    for (auto one = kinds_.begin(); one != kinds_.end(); ++one) {
      for (std::size_t e = 0; e < gauges_.edges(one->second.site); ++e)
        add(ray(one->second.site, e));
      for (auto other = kinds_.begin(); other != one; ++other) {
        if (other->first.first != one->first.first)  // the same grows in proportion
          add_equal_growth(one->second.site, other->second.site);
      }
    }
  }

  void check(const skewed_axes& axes, const mpq_class& half) const {
    const auto size = [&axes](const fraction_pair& u) { return largest(coordinates(axes, u)); };
    for (auto u = directions_.begin(); u != directions_.end(); ++u) {
      const auto next = std::next(u);
      const fraction_pair& v = next == directions_.end() ? *directions_.begin() : *next;
      if (settled(*u, v) * size(*u) + settled(v, *u) * size(v) > half)
        refuse("the square is too small");
    }
  }

 private:
  struct kind {          // of growth
    std::uint32_t site;  // one of them
    mpq_class apart;     // the most by which a distance from x and the growth towards x differ
  };

  fraction_pair ray(std::uint32_t site, std::size_t e) const {
    const std::span<const xy> v = centred_.gauge_of(site).vertices();
    const xy& at = v[e % v.size()];
    return {mpq_class(at.x), mpq_class(at.y)};
  }

  void add(const fraction_pair& u) {
    if (!directions_.insert(u).second) return;
    if (sgn(ordered_sum(gauges_, u)) < 0) refuse("f falls without end along a line");
  }

  void add_equal_growth(std::uint32_t i, std::uint32_t k) {
    for (std::size_t e = 0; e < gauges_.edges(i); ++e) {
      for (std::size_t f = 0; f < gauges_.edges(k); ++f) {
        const fraction_pair m = gauges_.exact_normal(i, e);
        const fraction_pair n = gauges_.exact_normal(k, f);
        const double w = centred_.sites()[i].weight;
        const double z = centred_.sites()[k].weight;
        const fraction_pair u{n.y * z - m.y * w, m.x * w - n.x * z};
        if (sgn(u.x) == 0 && sgn(u.y) == 0) continue;
        for (const fraction_pair& d : {u, opposite(u)}) {
          if (between(ray(i, e), d, ray(i, e + 1)) && between(ray(k, f), d, ray(k, f + 1))) add(d);
        }
      }
    }
  }

  // Whether u is in the cone of a and b, less than half a turn to the left of a.
  static bool between(const fraction_pair& a, const fraction_pair& u, const fraction_pair& b) {
    return sgn(cross(a, u)) >= 0 && sgn(cross(u, b)) >= 0;
  }

  // From how many u on, beside any number of v, all is as it is at u.
  mpq_class settled(const fraction_pair& u, const fraction_pair& v) const {
    mpq_class most;
    for (const auto& [name, k] : kinds_) {
      std::size_t e = 0;
      while (!between(ray(k.site, e), u, ray(k.site, e + 1))) ++e;
      // The rays beside u, strictly.
      std::size_t last = e + 1;
      std::size_t first = e;
      if (sgn(cross(ray(k.site, first), u)) == 0) first += gauges_.edges(k.site) - 1;
      if (sgn(cross(u, ray(k.site, last))) == 0) ++last;
      fraction_pair same_side = ray(k.site, last);
      fraction_pair other_side = ray(k.site, first);
      const int side = sgn(cross(u, v));
      if (side < 0) std::swap(same_side, other_side);
      const mpq_class beyond = std::max(mpq_class(0), mpq_class(side * cross(v, other_side)));
      const mpq_class wide = sum_norm(u) * beyond / abs(cross(u, v));
      most =
          std::max({most, mpq_class(far_ * sum_norm(same_side) / abs(cross(u, same_side))),
                    mpq_class(far_ * (sum_norm(other_side) + wide) / abs(cross(u, other_side)))});
    }
    return std::max(most, ordered(u));
  }

  // From how many u on faster growth along u means to be farther.
  mpq_class ordered(const fraction_pair& u) const {
    std::vector<std::pair<mpq_class, const mpq_class*>> grown;
    for (const auto& [name, k] : kinds_) grown.emplace_back(gauges_.distance(k.site, u), &k.apart);
    mpq_class most;
    for (const auto& [slow, apart] : grown) {
      for (const auto& [fast, other_apart] : grown) {
        if (slow < fast) most = std::max(most, mpq_class((*apart + *other_apart) / (fast - slow)));
      }
    }
    return most;
  }

  problem centred_;        // all sites at the origin
  verified_sites gauges_;  // of it
  std::map<std::pair<std::uint32_t, double>, kind> kinds_;
  std::set<fraction_pair, by_angle> directions_;
  mpq_class far_;
};

}  // namespace

void check_sectors(const problem& p, const branch_certificate& c) {
  sector_check(p, c).check(c.axes, reach(c));
}

}  // namespace planloc::detail
