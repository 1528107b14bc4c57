#include "planloc/optimum/proof/far_places.h"
#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

namespace {

using reason = branch_certificate::reason;

class far_check {
 public:
  far_check(const problem& p, const branch_certificate& c, const mpq_class& least)
      : places_(p, {mpq_class(c.base.x), mpq_class(c.base.y)}, reach(c)),
        reasons_(c.outside),
        least_(rounded_up(least)) {}

  void check() {
    for (int side = 0; side < 4; ++side) visit({side, {-1, 1}, {0, 1}});
    if (next_ != reasons_.size()) refuse("there are more reasons than places outside");
  }

 private:
  void visit(const far_part& b) {
    if (next_ == reasons_.size()) refuse("places outside without a reason");
    const reason why = reasons_[next_++];
    if (why == reason::bound) {
      if (!(places_.least(b) >= least_) && !(places_.least_by_slopes(b) >= least_) &&
          !places_.nowhere_below_near_axis(b, least_))
        refuse("f may be less outside of the square");
      return;
    }
    if (why != reason::halved) refuse("no such reason outside of the square");
    far_part one = b;
    far_part other = b;
    interval far_part::*const cut =
        (b.t.high - b.t.low) * places_.slower() > b.s.high - b.s.low ? &far_part::t : &far_part::s;
    const double middle = ((b.*cut).low + (b.*cut).high) / 2;
    if (!((b.*cut).low < middle && middle < (b.*cut).high))
      refuse("parts of the outside are too small to be halved");
    (one.*cut).high = (other.*cut).low = middle;
    visit(one);
    visit(other);
  }

  far_places places_;
  const std::vector<reason>& reasons_;
  double least_;
  std::size_t next_ = 0;
};

}  // namespace

void check_far(const problem& p, const branch_certificate& c, const mpq_class& least) {
  far_check(p, c, least).check();
}

}  // namespace planloc::detail
