#include "planloc/optimum/general/far_axes.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace planloc::detail {

namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kStrip = 2;  // |v| on the strip along the axis
// Of |Y| / X and D / X together: a box is near an axis.
constexpr double kNear = 0.25;
constexpr std::size_t kMostCells = 4000;
// Of the doubt.
constexpr double kHardly = 0.5;
// Powers of 2 of D and of the unit: places nearer than the one are left to others, and places
// farther away than the other take too many digits.
constexpr double kLeastFar = 19;
constexpr double kMostFar = 400000;
// Places so near the axis, in units of D, and so far away as powers of 2 are told as numbers.
constexpr double kBeside = 1024;
constexpr double kMostAsNumber = 100;
// Of D: for what is computed in doubles and checked in intervals.
constexpr double kRounding = 0x1p-42;

double middle_of(const low_high& a) { return a.low + (a.high - a.low) / 2; }

// By how much an excess may be off what the cells say, in units of D.
double doubt(double q, double sideways, double d) {
  const double z = (sideways + d) / (1 - d);
  return 2 * q * (z + d) + kRounding;
}

}  // namespace

far_axes::far_axes(const problem& p, const distance_table& table, double reach) : reach_(reach) {
  const gauge& g = p.gauge_of(table.site[0]);
  if (g.kind() != gauge::shape::lp || g.p() >= 2 || !(table.extent() > 0)) return;
  mpq_class sum;
  for (const order_run& r : p.runs()) {
    lambda_.insert(lambda_.end(), r.count, r.weight);
    sum += mpq_class(r.weight) * r.count;
    steepness_ += std::fabs(r.weight) * static_cast<double>(r.count);
  }
  applies_ = sgn(sum) == 0;
  weight_ = table.weight[0];
  steepness_ *= weight_;
  p_ = g.p();
  q_ = p_ - 1;
  unit_ = std::ldexp(1, std::ilogb(table.extent()) + 1);
  for (std::uint32_t slot = 0; slot < table.size(); ++slot) {
    applies_ =
        applies_ && table.block_of[slot] == table.block_of[0] && table.weight[slot] == weight_;
    from_base_.push_back({table.x[slot] / unit_, table.y[slot] / unit_});
  }
  low_.resize(from_base_.size());
  high_.resize(from_base_.size());
  shapes_.resize(from_base_.size());
}

void far_axes::turn_to(int side) {
  const double out = side < 2 ? 1 : -1;
  turned_.clear();
  for (const xy& a : from_base_)
    turned_.push_back(side % 2 == 0 ? xy{out * a.x, a.y} : xy{out * a.y, a.x});
  const auto [first, last] = std::minmax_element(
      turned_.begin(), turned_.end(), [](const xy& a, const xy& b) { return a.y < b.y; });
  outermost_ = {static_cast<std::size_t>(first - turned_.begin()),
                static_cast<std::size_t>(last - turned_.begin())};
}

std::vector<far_axes::cell> far_axes::first_cells(const far_box& b) const {
  // Y / D is s times that.
  const double near = reach_ / unit_ / b.t.high;
  const double far = b.t.low > 0 ? reach_ / unit_ / b.t.low : kInfinite;
  const auto product = [](double s, double x) { return s == 0 ? 0 : s * x; };
  const low_high v{product(b.s.low, b.s.low < 0 ? far : near),
                   product(b.s.high, b.s.high > 0 ? far : near)};
  std::vector<cell> cells;
  const low_high strip{std::max(v.low, -kStrip), std::min(v.high, kStrip)};
  if (strip.low < strip.high) cells.push_back({0, scales_, strip});
  const auto add_beyond = [&](int sign, const low_high& s, double most) {
    if (!(most > kStrip)) return;
    cells.push_back({sign,
                     {std::pow(std::max(s.low, 0.0), q_), std::pow(s.high, q_)},
                     {std::isinf(most) ? 0 : 1 / most, 1 / kStrip}});
  };
  add_beyond(1, b.s, v.high);
  add_beyond(-1, {-b.s.high, -b.s.low}, -v.low);
  return cells;
}

// k = r w^q where |v| is above 2.
bool far_axes::holds_places(const cell& c) const {
  return c.sign == 0 ||
         (c.scale.low * std::pow(c.along.low, q_) <= scales_.high * (1 + kRounding) &&
          c.scale.high * std::pow(c.along.high, q_) >= scales_.low * (1 - kRounding));
}

// G or H.
double far_axes::shape(double b, int sign, double along) const {
  if (sign == 0) return (std::pow(std::fabs(along - b), p_) - std::pow(std::fabs(along), p_)) / p_;
  if (along == 0) return -sign * b;
  return std::expm1(p_ * std::log1p(-sign * b * along)) / (p_ * along);
}

double far_axes::weighed() const {
  double sum = 0;
  for (std::size_t k = 0; k < lambda_.size(); ++k)
    sum += lambda_[k] * (lambda_[k] > 0 ? low_[k] : high_[k]);
  return sum;
}

void far_axes::find_shapes(const cell& c) {
  for (std::size_t i = 0; i < turned_.size(); ++i) {
    const double b = turned_[i].y;
    shapes_[i][0] = shape(b, c.sign, c.along.low);
    shapes_[i][1] = c.along.high == c.along.low ? shapes_[i][0] : shape(b, c.sign, c.along.high);
  }
}

// With the shapes less that of one site: the order weights add up to 0.
double far_axes::sum_beside(std::size_t reference, const cell& c) {
  const auto [first, last] = shapes_[reference];
  const double width = c.along.high - c.along.low;
  const double bulge = c.sign == 0 ? 0 : q_ * width * width / 3;
  for (std::size_t i = 0; i < turned_.size(); ++i) {
    const double one = shapes_[i][0] - first;
    const double other = shapes_[i][1] - last;
    const double off = i == reference ? 0 : bulge;
    const double least = std::min(one, other) - off;
    const double most = std::max(one, other) + off;
    low_[i] = -turned_[i].x + least * (least < 0 ? c.scale.high : c.scale.low);
    high_[i] = -turned_[i].x + most * (most < 0 ? c.scale.low : c.scale.high);
  }
  std::sort(low_.begin(), low_.end());
  std::sort(high_.begin(), high_.end());
  return weight_ * unit_ * weighed();
}

// Beside the outermost sites the shapes of those beyond the cell, or of those before it, hardly
// change on it.
double far_axes::sum_on(const cell& c) {
  const double sum = sum_beside(outermost_[0], c);
  return c.sign != 0 ? sum : std::max(sum, sum_beside(outermost_[1], c));
}

double far_axes::bound(const cell& c) {
  find_shapes(c);
  return sum_on(c);
}

// Whether the bound is low for the width along the axis rather than for that of the scale.
bool far_axes::along_matters(const cell& c) {
  cell narrow = c;
  cell of_one_scale = c;
  narrow.along.low = narrow.along.high = middle_of(c.along);
  of_one_scale.scale.low = of_one_scale.scale.high = middle_of(c.scale);
  const double with_one_scale = bound(of_one_scale);
  return bound(narrow) > with_one_scale;
}

double far_axes::least(const far_box& b, double target,
                       const std::function<double(double)>& target_of) {
  const double d = b.t.high * unit_ / reach_;
  const double sideways = std::max(-b.s.low, b.s.high);
  if (!applies_ || sideways + d > kNear) return -kInfinite;
  turn_to(b.side);
  scales_ = {std::pow(b.t.low * unit_ / reach_, q_), std::pow(d, q_)};
  const double doubtful = steepness_ * unit_ * doubt(q_, sideways, d);
  const auto later = [](const cell& one, const cell& other) { return one.bound > other.bound; };
  std::vector<cell> open;
  const auto add = [&](cell c) {
    if (!holds_places(c)) return;
    c.bound = bound(c);
    open.push_back(c);
    std::push_heap(open.begin(), open.end(), later);
  };
  for (const cell& c : first_cells(b)) add(c);
  double seen = kInfinite;
  for (std::size_t cells = 0; cells < kMostCells && !open.empty(); ++cells) {
    // Where the doubt is more than what is to be shown, it need not be known any better.
    const double enough = std::min(target + doubtful, seen - kHardly * doubtful);
    if (open.front().bound >= enough) break;
    std::pop_heap(open.begin(), open.end(), later);
    const cell c = open.back();
    open.pop_back();
    seen = std::min(seen, try_middle(c, b.side));
    if (best_value_ < kInfinite) target = std::min(target, target_of(best_value_));
    low_high cell::*const cut = along_matters(c) ? &cell::along : &cell::scale;
    const double middle = middle_of(c.*cut);
    cell half = c;
    (half.*cut).high = middle;
    add(half);
    half = c;
    (half.*cut).low = middle;
    add(half);
  }
  return open.empty() ? target : std::min(target, open.front().bound - doubtful);
}

// Of a place that is far from the sites but beside them, without loss: by how much the distances
// exceed X.
double far_axes::sum_at_place(double out, double along) {
  for (std::size_t i = 0; i < turned_.size(); ++i) {
    const double way = out - turned_[i].x;
    const double power = std::pow(std::fabs(along - turned_[i].y) / way, p_);
    low_[i] = -turned_[i].x + way * std::expm1(std::log1p(power) / p_);
  }
  std::sort(low_.begin(), low_.end());
  high_ = low_;
  return weight_ * unit_ * weighed();
}

// What the sum is at the middle of the cell, which need not be a place of the box.
double far_axes::try_middle(const cell& c, int side) {
  const double scale = middle_of(c.scale);
  const double along = middle_of(c.along);
  const auto sum_at = [&](double exact_scale) {
    for (std::size_t i = 0; i < turned_.size(); ++i)
      low_[i] = -turned_[i].x + exact_scale * shape(turned_[i].y, c.sign, along);
    std::sort(low_.begin(), low_.end());
    high_ = low_;
    return weight_ * unit_ * weighed();
  };
  const double sum = sum_at(scale);
  if (!(sum < best_value_)) return sum;
  spot at{side};
  at.y = unit_ * (c.sign == 0 ? along : c.sign / along);
  const double nearer = c.sign == 0 ? unit_ : std::fabs(at.y);
  const double power = std::log2(nearer) - std::log2(scale) / q_;
  const double far = power - std::log2(unit_);
  if (!(far >= kLeastFar && power <= kMostFar) || std::log2(nearer) > 1000) return sum;
  at.exponent = static_cast<int>(std::floor(power));
  at.mantissa = std::exp2(power - at.exponent);
  // Again of the place as it was rounded.
  const double out = at.exponent + std::log2(at.mantissa);
  const double sideways = std::exp2(std::log2(std::fabs(at.y)) - out);
  const double doubtful = doubt(q_, sideways, std::exp2(-far));
  double value = kInfinite;
  if (std::fabs(at.y) <= kBeside * unit_ && power <= kMostAsNumber) {
    value = sum_at_place(std::ldexp(at.mantissa, at.exponent) / unit_, at.y / unit_) +
            steepness_ * unit_ * kRounding;
  } else if (doubtful <= 2 * kRounding) {
    value = sum_at(std::exp2(-q_ * (out - std::log2(nearer)))) + steepness_ * unit_ * doubtful;
  }
  if (value < best_value_) {
    best_value_ = value;
    best_ = at;
  }
  return sum;
}

exact_xy far_axes::place() const {
  mpq_class out(best_.mantissa);
  if (best_.exponent >= 0) {
    mpz_mul_2exp(out.get_num_mpz_t(), out.get_num_mpz_t(),
                 static_cast<mp_bitcnt_t>(best_.exponent));
    out.canonicalize();
  }
  if (best_.exponent < 0) out *= mpq_class(std::ldexp(1, best_.exponent));
  if (best_.side >= 2) out = -out;
  const mpq_class y(best_.y);
  return best_.side % 2 == 0 ? exact_xy{out, y} : exact_xy{y, out};
}

}  // namespace planloc::detail
