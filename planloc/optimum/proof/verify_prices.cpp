#include "planloc/optimum/proof/verify_prices.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "planloc/optimum/proof/corner_tangents.h"
#include "planloc/optimum/proof/linked_sites.h"

namespace planloc::detail {

namespace {

constexpr int kMostDepth = 100;
constexpr double kSteeper = 3;  // tangents along one side than along the other
constexpr double kRounding = 0x1p-50;
constexpr double kOutwards = 1 + 0x1p-40;

constexpr std::size_t kMostOpen = 2;      // sites that no triple links
constexpr std::size_t kMostChoices = 64;  // with those of links
constexpr int kMixtures = 3;
constexpr double kTiny = 0x1p-36;  // of all of the walk: where places may have few bits left

struct proof_prices {
  std::vector<double> of_site;  // at most the distance from the nearest existing facility
  std::vector<linked_sites> links;
  interval sum{0};  // of sites, less that of triples
};

// Counts places from the first site, so that sites close together far from the origin lose nothing.
class price_walk {
 public:
  price_walk(const allocation_problem& p, const proof_prices& prices, double least)
      : tangents_(p.single(), {p.sites()[0].x, p.sites()[0].y}),
        prices_(prices.of_site),
        links_(prices.links),
        bit_of_(prices_.size()),
        link_of_(prices_.size(), nullptr),
        least_(least) {
    for (const linked_sites& l : links_) {
      for (std::size_t k = 0; k < l.sites.size(); ++k) {
        link_of_[l.sites[k]] = &l;
        bit_of_[l.sites[k]] = std::size_t{1} << k;
        if (prices_[l.sites[k]] > 0) open_.push_back(l.sites[k]);
      }
    }
    for (std::uint32_t i = 0; i < prices_.size(); ++i)
      if (prices_[i] > 0 && link_of_[i] == nullptr) open_.push_back(i);
  }

  // In absolute coordinates.
  void run(const rectangle& where) {
    rectangle all{INFINITY, -INFINITY, INFINITY, -INFINITY};
    for (const std::uint32_t i : open_) {
      const auto& [at, width] = tangents_.position_of(i);
      const double reach =
          prices_[i] / problem().sites()[i].weight * half_width(problem().gauge_of(i)) * kOutwards +
          width;
      all = {std::min(all.left, below(at.x - reach)), std::max(all.right, above(at.x + reach)),
             std::min(all.low, below(at.y - reach)), std::max(all.high, above(at.y + reach))};
    }
    all = common(all, relative(where));
    tiny_ = kTiny * std::max(all.right - all.left, all.high - all.low);
    if (!open_.empty() && all.left <= all.right && all.low <= all.high) visit(all, 0, 0);
  }

 private:
  const planloc::problem& problem() const { return tangents_.sites().owner(); }

  // Rounded outwards.
  rectangle relative(const rectangle& r) const {
    const site& base = problem().sites()[0];
    return {below(r.left - base.x), above(r.right - base.x), below(r.low - base.y),
            above(r.high - base.y)};
  }

  static rectangle common(const rectangle& a, const rectangle& b) {
    return {std::max(a.left, b.left), std::min(a.right, b.right), std::max(a.low, b.low),
            std::min(a.high, b.high)};
  }

  // The open sites from `begin` on are those that can gain in the rectangle.
  void visit(const rectangle& r, std::size_t begin, int depth) {
    const std::size_t end = open_.size();
    xy rise{0, 0};
    if (!(bound(r, begin, end, rise) >= least_) && !sums_reach(r, end)) {
      if (depth == kMostDepth) refuse("the prices do not prove the lower bound");
      divide(r, rise, end, depth);
    }
    open_.resize(end);
  }

  // In four; in two where one side makes most of the difference.
  void divide(const rectangle& r, const xy& rise, std::size_t begin, int depth) {
    const bool by_x = !(rise.y > kSteeper * rise.x);
    const bool by_y = !(rise.x > kSteeper * rise.y);
    const xy middle = r.middle();
    const double x = by_x ? middle.x : r.right;
    const double y = by_y ? middle.y : r.high;
    visit({r.left, x, r.low, y}, begin, depth + 1);
    if (by_x) visit({x, r.right, r.low, y}, begin, depth + 1);
    if (by_y) visit({r.left, x, y, r.high}, begin, depth + 1);
    if (by_x && by_y) visit({x, r.right, y, r.high}, begin, depth + 1);
  }

  // Below the priced sum on the rectangle: each distance is replaced by a tangent from near the
  // middle; what comes out is concave and least at a corner. All terms have one sign, so their sum
  // is off by as many roundings as there are terms at most. Tells how far the tangents rise
  // together along each side.
  double bound(const rectangle& r, std::size_t begin, std::size_t end, xy& rise) {
    const xy middle = r.middle();
    rectangle_values sum{};
    double at_middle = 0;
    std::vector<priced_term> terms;
    for (std::size_t k = begin; k < end;) {
      terms.clear();
      for (const std::size_t last = end_of_link(k, end); k < last; ++k) {
        const std::uint32_t i = open_[k];
        const rectangle_values gain = gains(i, r, middle);
        if (*std::min_element(gain.begin(), gain.end()) >= 0) continue;
        rise.x += std::fabs(gain[1] - gain[0]);
        rise.y += std::fabs(gain[2] - gain[0]);
        open_.push_back(i);
        terms.push_back({i, gain, tangents_.near_distance(i, middle) - prices_[i]});
      }
      add_least(terms, sum, at_middle);
    }
    if (at_middle < least_ * (1 + 0x1p-40)) refuse("the prices do not prove the lower bound");
    const auto count = static_cast<double>(open_.size() - end);
    return *std::min_element(sum.begin(), sum.end()) * (1 + (count + 1) * kRounding);
  }

  struct priced_term {
    std::uint32_t site;
    rectangle_values gain;
    double at_middle;
  };

  // The sites from `begin` on of one link; one if it is of none.
  std::size_t end_of_link(std::size_t begin, std::size_t end) const {
    const linked_sites* const own = link_of_[open_[begin]];
    std::size_t k = begin + 1;
    while (own != nullptr && k < end && link_of_[open_[k]] == own) ++k;
    return k;
  }

  // Adds what the best sets of sites of one link add to the priced sum, from below.
  void add_least(const std::vector<priced_term>& terms, rectangle_values& sum,
                 double& at_middle) const {
    rectangle_values least{};
    double least_at_middle = 0;
    for (std::size_t k = 1; k < std::size_t{1} << terms.size(); ++k) {
      rectangle_values value{};
      double size = 0;
      double middle = 0;
      std::size_t set = 0;
      for (std::size_t j = 0; j < terms.size(); ++j) {
        if ((k >> j & 1) == 0) continue;
        set |= bit_of_[terms[j].site];
        for (std::size_t c = 0; c < 4; ++c) {
          value[c] += terms[j].gain[c];
          size += std::fabs(terms[j].gain[c]);
        }
        middle += terms[j].at_middle;
      }
      const linked_sites* const link = link_of_[terms[0].site];
      const interval paid = link == nullptr ? interval(0) : link->paid[set];
      const double loss =
          terms.size() == 1 && link == nullptr ? 0 : 16 * kRounding * (size + paid.high);
      for (std::size_t c = 0; c < 4; ++c) least[c] = std::min(least[c], value[c] + paid.low - loss);
      least_at_middle = std::min(least_at_middle, middle + paid.high);
    }
    for (std::size_t c = 0; c < 4; ++c) sum[c] += least[c];
    at_middle += least_at_middle;
  }

  // The sum of min(0, d_i - price_i) is the least of the sums of d_i - price_i over all choices of
  // sites; those that surely gain on all of the rectangle are in each choice that matters. Whether
  // all these convex sums are nowhere below `least_`.
  bool sums_reach(const rectangle& r, std::size_t begin) const {
    std::vector<std::vector<choice>> open;
    choice sure{{}, 0};
    std::size_t loose = 0;
    for (std::size_t k = begin; k < open_.size();) {
      const std::size_t last = end_of_link(k, open_.size());
      if (link_of_[open_[k]] != nullptr) {
        open.push_back(choices_of_link(r, {open_.data() + k, last - k}));
      } else if (gains_everywhere(open_[k], r)) {
        sure.sites.push_back(open_[k]);
      } else if (++loose > kMostOpen) {
        return false;
      } else {
        open.push_back({{{}, 0}, {{open_[k]}, 0}});
      }
      k = last;
    }
    std::size_t all = 1;
    for (const std::vector<choice>& o : open) {
      all *= o.size();
      if (all > kMostChoices) return false;
    }
    for (std::size_t number = 0; number < all; ++number) {
      choice chosen = sure;
      std::size_t left = number;
      for (const std::vector<choice>& o : open) {
        const choice& c = o[left % o.size()];
        left /= o.size();
        chosen.sites.insert(chosen.sites.end(), c.sites.begin(), c.sites.end());
        chosen.paid = below(chosen.paid + c.paid);
      }
      if (!sum_reaches(r, chosen)) return false;
    }
    return true;
  }

  struct choice {
    std::vector<std::uint32_t> sites;
    double paid;  // at least, for triples
  };

  // A set that leaves out a surely gaining site is of no account if that would pay for no other
  // triple.
  std::vector<choice> choices_of_link(const rectangle& r,
                                      std::span<const std::uint32_t> sites) const {
    const linked_sites& link = *link_of_[sites[0]];
    std::vector<char> sure;
    for (const std::uint32_t i : sites) sure.push_back(gains_everywhere(i, r) ? 1 : 0);
    std::vector<choice> choices;
    for (std::size_t k = 0; k < std::size_t{1} << sites.size(); ++k) {
      choice c{{}, 0};
      std::size_t set = 0;
      for (std::size_t j = 0; j < sites.size(); ++j) {
        if ((k >> j & 1) == 0) continue;
        set |= bit_of_[sites[j]];
        c.sites.push_back(sites[j]);
      }
      bool poor = false;
      for (std::size_t j = 0; j < sites.size(); ++j)
        poor = poor || ((k >> j & 1) == 0 && sure[j] != 0 &&
                        link.hit[set | bit_of_[sites[j]]] == link.hit[set]);
      if (poor) continue;
      c.paid = link.paid[set].low;
      choices.push_back(std::move(c));
    }
    return choices;
  }

  // A distance is convex, so at most its price everywhere if it is at the corners.
  bool gains_everywhere(std::uint32_t i, const rectangle& r) const {
    for (const double x : {r.left, r.right}) {
      for (const double y : {r.low, r.high}) {
        if (!(tangents_.sites().distance(i, {interval(x), interval(y)}).high <= prices_[i]))
          return false;
      }
    }
    return true;
  }

  // Mixes the tangents from the middle and the corners so that the least value at a corner is as
  // large as can be. Around a site whose place is not known better than the rectangle, only the
  // tangent from that site shows that its distance is nowhere below 0.
  bool sum_reaches(const rectangle& r, const choice& c) const {
    const std::vector<std::uint32_t>& chosen = c.sites;
    const double needed = c.paid == 0 ? least_ : above(least_ - c.paid);
    std::vector<rectangle_values> tangents{tangent(r, r.middle(), chosen)};
    for (const double x : {r.left, r.right}) {
      for (const double y : {r.low, r.high}) tangents.push_back(tangent(r, {x, y}, chosen));
    }
    if (std::max(r.right - r.left, r.high - r.low) <= tiny_) {
      for (const std::uint32_t i : chosen)
        if (beside(r, i)) tangents.push_back(tangent(r, tangents_.position_of(i).at, chosen, i));
    }
    rectangle_values mixture = tangents[0];
    for (int pass = 0; pass < kMixtures; ++pass) {
      for (const rectangle_values& t : tangents) {
        mixture = best_mixture(mixture, t);
        if (least_of(mixture) >= needed) return true;
      }
    }
    return false;
  }

  // Whether a site is at most four sides away.
  bool beside(const rectangle& r, std::uint32_t i) const {
    const auto& [at, width] = tangents_.position_of(i);
    const double x = 4 * (r.right - r.left) + width;
    const double y = 4 * (r.high - r.low) + width;
    return r.left - x <= at.x && at.x <= r.right + x && r.low - y <= at.y && at.y <= r.high + y;
  }

  static constexpr std::uint32_t kNone = UINT32_MAX;

  // The sum's tangent from a place, at the corners, rounded down; of the site that is there, if one
  // is named, the tangent 0.
  rectangle_values tangent(const rectangle& r, const xy& from,
                           const std::vector<std::uint32_t>& chosen,
                           std::uint32_t there = kNone) const {
    rectangle_values sum{};
    rectangle_values size{};
    for (const std::uint32_t i : chosen) {
      const double price = prices_[i];
      const rectangle_values gain =
          i == there ? rectangle_values{-price, -price, -price, -price} : gains(i, r, from);
      for (std::size_t c = 0; c < 4; ++c) {
        sum[c] += gain[c];
        size[c] += std::fabs(gain[c]);
      }
    }
    const double roundings = static_cast<double>(chosen.size() + kMixtures * 16) * kRounding;
    for (std::size_t c = 0; c < 4; ++c) sum[c] -= roundings * size[c];
    return sum;
  }

  // The tangent less the price at the corners, rounded down.
  rectangle_values gains(std::uint32_t i, const rectangle& r, const xy& touches) const {
    rectangle_values gain = tangents_.at_corners(i, r, touches, prices_[i]).value;
    for (double& g : gain) g -= prices_[i];
    return gain;
  }

  corner_tangents tangents_;
  const std::vector<double>& prices_;
  const std::vector<linked_sites>& links_;
  std::vector<std::size_t> bit_of_;           // of each site: in the sets of its link
  std::vector<const linked_sites*> link_of_;  // of each site, if any
  double least_;
  double tiny_ = 0;                  // rectangle
  std::vector<std::uint32_t> open_;  // along the walk; sites of one link side by side
};

}  // namespace

namespace {

constexpr rectangle kPlane{-INFINITY, INFINITY, -INFINITY, INFINITY};

// At most the distance from the nearest existing facility.
std::vector<double> capped_prices(const allocation_problem& p, const std::vector<double>& prices) {
  if (prices.size() != p.sites().size()) refuse("one price a site is needed");
  const verified_sites sites(p.single(), {0, 0});
  std::vector<double> capped = prices;
  for (std::size_t i = 0; i < prices.size(); ++i) {
    if (!std::isfinite(prices[i]))
      refuse("the price of site " + std::to_string(i) + " is not finite");
    if (std::fabs(prices[i]) > kMostInClaim)
      refuse("the price of site " + std::to_string(i) + " is too large");
    for (const xy& e : p.existing())
      capped[i] = std::min(capped[i], sites.distance(i, {interval(e.x), interval(e.y)}).low);
  }
  return capped;
}

proof_prices prices_to_prove(const allocation_problem& p, const std::vector<double>& prices,
                             const std::vector<priced_triple>& triples) {
  proof_prices u{capped_prices(p, prices), links_of(triples, prices.size())};
  for (const double price : u.of_site) u.sum = u.sum + interval(price);
  for (const priced_triple& t : triples) u.sum = u.sum - interval(t.price);
  return u;
}

struct allocation_cell {
  rectangle where;
  std::size_t count;
};

// Prices, and what was shown of them. The cases that a case is divided into have most of their
// rectangles in common.
class proved_prices {
 public:
  proved_prices(const allocation_problem& p, proof_prices prices)
      : problem_(p), prices_(std::move(prices)) {}

  void prove(const std::vector<double>& least, const std::vector<allocation_cell>& cells,
             double claimed) {
    if (least.size() != cells.size()) refuse("one least priced sum a rectangle is needed");
    interval bound = prices_.sum;
    for (std::size_t k = 0; k < cells.size(); ++k) {
      if (cells[k].count == 0) continue;
      if (!(least[k] <= 0)) refuse("the prices do not prove the lower bound");
      bound = bound + interval(static_cast<double>(cells[k].count)) * interval(least[k]);
      prove_cell(cells[k].where, least[k]);
    }
    if (!(bound.low >= claimed)) refuse("the prices do not prove the lower bound");
  }

 private:
  void prove_cell(const rectangle& where, double least) {
    const bool known = std::any_of(proved_.begin(), proved_.end(), [&](const auto& p) {
      return p.first == where && p.second >= least;
    });
    if (known) return;
    price_walk(problem_, prices_, least).run(where);
    proved_.emplace_back(where, least);
  }

  const allocation_problem& problem_;
  proof_prices prices_;
  std::vector<std::pair<rectangle, double>> proved_;
};

// Cuts of a case, more than any search makes: the walk is as deep.
constexpr std::size_t kMostCuts = 1000;

class case_walk {
 public:
  case_walk(const allocation_problem& p, const std::vector<allocation_case>& cases, double claimed)
      : problem_(p), cases_(cases), claimed_(claimed) {}

  void run() {
    visit({{kPlane, problem_.count()}}, nullptr);
    if (next_ != cases_.size()) refuse("there are more cases than the cuts make");
  }

 private:
  using cell = allocation_cell;

  // `inherited`: the prices of the case that it is part of, if that has any.
  void visit(const std::vector<cell>& cells, proved_prices* inherited) {
    if (cells.size() > kMostCuts) refuse("a case is cut too often");
    if (next_ == cases_.size()) refuse("a case of the lower bound is missing");
    const allocation_case& c = cases_[next_++];
    std::optional<proved_prices> own;
    if (!c.prices.empty()) own.emplace(problem_, prices_to_prove(problem_, c.prices, c.triples));
    if (!c.least.empty()) {
      proved_prices* const prices = own ? &*own : inherited;
      if (prices == nullptr) refuse("a case has no prices");
      prices->prove(c.least, cells, claimed_);
      return;
    }
    if (c.cell >= cells.size() || !std::isfinite(c.at)) refuse("a case is cut where nothing is");
    for (std::size_t below = 0; below <= cells[c.cell].count; ++below) {
      std::vector<cell> parts = cells;
      cell& low = parts[c.cell];
      cell high = low;
      high.count -= below;
      low.count = below;
      (c.by_x ? low.where.right : low.where.high) = c.at;
      (c.by_x ? high.where.left : high.where.low) = c.at;
      parts.push_back(high);
      visit(parts, own ? &*own : nullptr);
    }
  }

  const allocation_problem& problem_;
  const std::vector<allocation_case>& cases_;
  double claimed_;
  std::size_t next_ = 0;
};

}  // namespace

void prove_prices(const allocation_problem& p, const std::vector<double>& prices,
                  const std::vector<priced_triple>& triples, double claimed) {
  const proof_prices u = prices_to_prove(p, prices, triples);
  const interval least = (interval(claimed) - u.sum) / interval(static_cast<double>(p.count()));
  if (!(least.high <= 0)) refuse("the prices do not prove the lower bound");
  price_walk(p, u, least.high).run(kPlane);
}

void prove_cases(const allocation_problem& p, const std::vector<allocation_case>& cases,
                 double claimed) {
  case_walk(p, cases, claimed).run();
}

}  // namespace planloc::detail
