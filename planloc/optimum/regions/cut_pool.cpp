#include "planloc/optimum/regions/cut_pool.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace planloc::detail {

namespace {

// Of the magnitudes that a value on a segment is made of: more than its roundings.
constexpr double kRounding = 0x1p-46;

}  // namespace

cut_pool::cut_pool(const problem& p, const distance_table& table) : table_(table) {
  for (const order_run& r : p.runs()) lambda_.insert(lambda_.end(), r.count, r.weight);
}

std::size_t cut_pool::add(affine_piece piece, const xy& at) {
  std::vector<const affine_piece::kink*> kink(piece.kinks.empty() ? 0 : table_.size());
  for (const affine_piece::kink& k : piece.kinks) kink[k.site] = &k;
  long double value = 0;
  long double x = 0;
  long double y = 0;
  double size = 0;
  xy steepness{0, 0};
  for (std::size_t slot = 0; slot < table_.size(); ++slot) {
    const std::uint32_t i = table_.site[slot];
    const double l = lambda_[piece.rank.empty() ? 0 : piece.rank[i]];
    if (l == 0) continue;
    const gauge_block& b = table_.blocks[table_.block_of[slot]];
    const double w = table_.weight[slot];
    xy slope{};
    if (b.kind == gauge::shape::polyhedral) {
      const xy& n = table_.edges[b.first_edge + piece.edge[i]].normal;
      slope = {w * n.x, w * n.y};
    } else if (!kink.empty() && kink[i] != nullptr) {
      slope = {w * kink[i]->slope.x, w * kink[i]->slope.y};
    } else {
      slope = table_.piece(slot, piece.taken_at).slope;
    }
    value += l * (slope.x * (at.x - table_.x[slot]) + slope.y * (at.y - table_.y[slot]));
    x += l * slope.x;
    y += l * slope.y;
    const xy steep{l * std::fabs(slope.x), l * std::fabs(slope.y)};
    steepness = {steepness.x + steep.x, steepness.y + steep.y};
    size += steep.x * (std::fabs(at.x) + std::fabs(table_.x[slot])) +
            steep.y * (std::fabs(at.y) + std::fabs(table_.y[slot]));
  }
  cuts_.push_back({at,
                   static_cast<double>(value),
                   {static_cast<double>(x), static_cast<double>(y)},
                   size,
                   steepness,
                   std::move(piece)});
  return cuts_.size() - 1;
}

std::size_t cut_pool::add(const piece_choice& choice, const xy& at) {
  affine_piece piece;
  piece.edge.resize(table_.size());
  piece.rank.resize(choice.rank.size());
  for (std::size_t slot = 0; slot < table_.size(); ++slot) {
    piece.edge[table_.site[slot]] = choice.edge[slot];
    if (!choice.rank.empty()) piece.rank[table_.site[slot]] = choice.rank[slot];
  }
  return add(std::move(piece), at);
}

double cut_pool::doubt(const xy& a, const xy& b) const {
  const double x = std::max(std::fabs(a.x), std::fabs(b.x));
  const double y = std::max(std::fabs(a.y), std::fabs(b.y));
  double most = 0;
  for (const cut& c : cuts_) {
    most = std::max(most, c.size + c.steepness.x * x + c.steepness.y * y);
  }
  return kRounding * most;
}

// From both ends: the functions in force there, then what is in force where they meet.
cut_pool::minimum cut_pool::least(const xy& a, const xy& b) const {
  const auto in_force = [this](const xy& at) {
    std::size_t best = 0;
    double most = value_at(cuts_[0], at);
    for (std::size_t k = 1; k < cuts_.size(); ++k) {
      const double v = value_at(cuts_[k], at);
      if (v > most) {
        most = v;
        best = k;
      }
    }
    return std::pair(best, most);
  };
  const double off = doubt(a, b);
  auto [falling, at_a] = in_force(a);
  const double falls_to = value_at(cuts_[falling], b);
  if (!(falls_to < at_a)) return {at_a - off, at_a, 0, falling, falling};
  auto [rising, at_b] = in_force(b);
  const double rises_from = value_at(cuts_[rising], a);
  if (!(rises_from < at_b)) return {at_b - off, at_b, 1, rising, rising};
  for (std::size_t round = 0;; ++round) {
    const double fa = value_at(cuts_[falling], a);
    const double fb = value_at(cuts_[falling], b);
    const double ra = value_at(cuts_[rising], a);
    const double rb = value_at(cuts_[rising], b);
    const double share = std::clamp((fa - ra) / ((fa - ra) + (rb - fb)), 0.0, 1.0);
    const double meet = fa + share * (fb - fa);
    const xy at{a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)};
    const auto [other, value] = in_force(at);
    if (other == falling || other == rising || !(value > meet + off) || round == cuts_.size())
      return {meet - off, meet, share, falling, rising};
    (value_at(cuts_[other], b) < value_at(cuts_[other], a) ? falling : rising) = other;
  }
}

std::vector<affine_piece> cut_pool::kept() const {
  std::vector<affine_piece> result;
  for (const cut& c : cuts_) {
    if (c.kept) result.push_back(c.piece);
  }
  return result;
}

}  // namespace planloc::detail
