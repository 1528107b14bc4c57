#include <algorithm>
#include <set>

#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

namespace {

struct by_angle {
  // Normals of the right half-plane, from (0, -1) excluded to (0, 1).
  bool operator()(const fraction_pair& a, const fraction_pair& b) const {
    return sgn(mpq_class(a.x * b.y - a.y * b.x)) > 0;
  }
};

class line_check {
 public:
  explicit line_check(const problem& p) : gauges_(p, {0, 0}) {}

  void add(fraction_pair normal, const mpq_class& right) {
    const mpq_class size = dot(normal, normal);
    if (sgn(size) == 0) return;
    far_ = std::max(far_, mpq_class(right * right / size));
    if (sgn(normal.x) < 0 || (sgn(normal.x) == 0 && sgn(normal.y) < 0))
      normal = {-normal.x, -normal.y};
    if (!normals_.insert(normal).second) return;
    if (falls_along({-normal.y, normal.x}) || falls_along({normal.y, -normal.x}))
      refuse("f falls without end along a line");
  }

  // Lines with distances of at most d from the base cross, if at all, within 2 d / s of it, where s
  // is the least sine between two of them, which is one between neighbours.
  void check(const mpq_class& half) const {
    const fraction_pair* last = &*normals_.rbegin();
    for (const fraction_pair& n : normals_) {
      const mpq_class cross = last->x * n.y - last->y * n.x;
      if (half * half * cross * cross < 4 * far_ * dot(n, n) * dot(*last, *last))
        refuse("the square is too small");
      last = &n;
    }
  }

 private:
  bool falls_along(const fraction_pair& u) const { return sgn(ordered_sum(gauges_, u)) < 0; }

  verified_sites gauges_;  // all at the origin
  std::set<fraction_pair, by_angle> normals_;
  mpq_class far_;  // the square of the largest distance
};

}  // namespace

void check_lines(const problem& p, const branch_certificate& c) {
  const verified_sites sites(p, c.base);
  const problem centred = at_one_place(p);
  line_check lines(centred);
  struct plane {
    fraction_pair slope;
    mpq_class right;
  };
  std::vector<std::vector<plane>> planes(p.sites().size());
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const fraction_pair to_base = sites.exact_offset(i, {0, 0});
    const double w = p.sites()[i].weight;
    for (std::size_t e = 0; e < sites.edges(i); ++e) {
      const xy& ray = p.gauge_of(i).vertices()[e];
      const fraction_pair across{mpq_class(-ray.y), mpq_class(ray.x)};
      lines.add(across, -dot(across, to_base));
      const fraction_pair& n = sites.exact_normal(i, e);
      const fraction_pair slope{n.x * w, n.y * w};
      planes[i].push_back({slope, -dot(slope, to_base)});
    }
    for (std::size_t k = 0; k < i; ++k) {
      for (const plane& q : planes[k]) {
        for (const plane& r : planes[i])
          lines.add({r.slope.x - q.slope.x, r.slope.y - q.slope.y}, r.right - q.right);
      }
    }
  }
  lines.check(reach(c));
}

}  // namespace planloc::detail
