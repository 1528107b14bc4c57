#include "planloc/foundation/geometry/rat_point.h"

#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/geometry/fixed_crossing.h"
#include "planloc/foundation/numeric/round_quotient.h"

namespace planloc {
namespace detail {

struct homogeneous {
  homogeneous(integer x, integer y, integer w)
      : X(std::move(x)), Y(std::move(y)), W(std::move(w)) {}
  homogeneous(const rational& x, const rational& y)
      : X(x.numerator() * y.denominator()),
        Y(y.numerator() * x.denominator()),
        W(x.denominator() * y.denominator()) {}
  explicit homogeneous(const fixed_point& p) : X(to_mpz(p.X)), Y(to_mpz(p.Y)), W(to_mpz(p.W)) {
    const auto shift = static_cast<unsigned long>(std::abs(p.exponent));
    if (p.exponent < 0) {
      W = W << shift;
    } else {
      X = X << shift;
      Y = Y << shift;
    }
  }

  integer X;
  integer Y;
  integer W;
};

// A computed point comes as `fixed` and gets `exact` on demand; all others have `exact` alone.
struct rat_point_rep {
  rat_point_rep(std::optional<fixed_point> f, lazy_shared<homogeneous> e)
      : fixed(std::move(f)), exact(std::move(e)) {}

  std::optional<fixed_point> fixed;
  lazy_shared<homogeneous> exact;
};

namespace {

template <class... Args>
std::shared_ptr<const rat_point_rep> exact_rep(Args&&... args) {
  auto exact = std::make_shared<const homogeneous>(std::forward<Args>(args)...);
  return std::make_shared<const rat_point_rep>(std::nullopt,
                                               lazy_shared<homogeneous>(std::move(exact)));
}

}  // namespace
}  // namespace detail

rat_point::rat_point(const integer& x, const integer& y, const integer& w) : rat_point() {
  if (w.iszero()) {
    error_handler(1, "division by zero");
    return;
  }
  doubles_ = {not_double(), not_double()};
  rep_ = representation(w.sign() > 0 ? detail::exact_rep(x, y, w) : detail::exact_rep(-x, -y, -w));
}

rat_point::rat_point(const detail::fixed_point& p)
    : rat_point(detail::xy{not_double(), not_double()}) {
  rep_ = representation(
      std::make_shared<const detail::rat_point_rep>(p, detail::lazy_shared<detail::homogeneous>()));
}

void rat_point::set_exact(const rational& x, const rational& y) {
  rep_ = representation(detail::exact_rep(x, y));
}

const detail::homogeneous& rat_point::exact() const {
  const detail::rat_point_rep& rep =
      rep_.get([this] { return detail::exact_rep(rational(doubles_.x), rational(doubles_.y)); });
  return rep.exact.get([&rep] { return std::make_shared<const detail::homogeneous>(*rep.fixed); });
}

const integer& rat_point::X() const { return exact().X; }
const integer& rat_point::Y() const { return exact().Y; }
const integer& rat_point::W() const { return exact().W; }

rational rat_point::xcoord() const {
  return holds_doubles() ? rational(doubles_.x) : rational(X(), W());
}

rational rat_point::ycoord() const {
  return holds_doubles() ? rational(doubles_.y) : rational(Y(), W());
}

point rat_point::to_point() const {
  if (holds_doubles()) return point(doubles_.x, doubles_.y);
  if (const auto& fixed = rep_.get()->fixed) {
    const auto round = [&fixed](const detail::wide_int<6>& a) {
      return detail::round_quotient(a.negative(), magnitude(a).limb, fixed->W.limb,
                                    fixed->exponent);
    };
    return point(round(fixed->X), round(fixed->Y));
  }
  return point(detail::round_quotient(X().value(), W().value()),
               detail::round_quotient(Y().value(), W().value()));
}

bool operator==(const rat_point& p, const rat_point& q) { return compare(p, q) == 0; }

int compare(const rat_point& p, const rat_point& q) {
  if (p.holds_doubles() && q.holds_doubles()) {
    const detail::xy& a = p.doubles();
    const detail::xy& b = q.doubles();
    if (a.x != b.x) return a.x < b.x ? -1 : 1;
    return (a.y > b.y) - (a.y < b.y);
  }
  const int by_x = sign(p.X() * q.W() - q.X() * p.W());
  return by_x != 0 ? by_x : sign(p.Y() * q.W() - q.Y() * p.W());
}

int orientation(const rat_point& a, const rat_point& b, const rat_point& c) {
  if (a.holds_doubles() && b.holds_doubles() && c.holds_doubles()) {
    const int certain =
        detail::certain_cross_sign(detail::rounded_difference(a.doubles(), b.doubles()),
                                   detail::rounded_difference(a.doubles(), c.doubles()));
    if (certain != 0) return certain;
    const auto fixed = detail::orientation_fixed(a.doubles(), b.doubles(), c.doubles());
    if (fixed) return *fixed;
  }
  return detail::orientation_exact(a, b, c);
}

int detail::orientation_exact(const rat_point& a, const rat_point& b, const rat_point& c) {
  return sign((b.X() * a.W() - a.X() * b.W()) * (c.Y() * a.W() - a.Y() * c.W()) -
              (b.Y() * a.W() - a.Y() * b.W()) * (c.X() * a.W() - a.X() * c.W()));
}

}  // namespace planloc
