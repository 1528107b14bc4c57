#include "tools/planloc/classic_methods.h"

#include "planloc/planloc.h"

namespace planloc::tool {

namespace {

using question = classic_question;
using takes = classic_method::weights;

facilities facilities_of(const question& q) {
  facilities f;
  const site_table& t = q.sites.table();
  const int weights = static_cast<int>(t.weights.size());
  for (std::size_t i = 0; i < q.sites.size(); ++i) {
    location a(2, weights);
    a[0] = q.sites.places()[i].x;
    a[1] = q.sites.places()[i].y;
    for (int k = 0; k < weights; ++k) a.weight(k) = t.weights[static_cast<std::size_t>(k)][i];
    f.append(a);
  }
  return f;
}

classic_result result_of(const facilities& f, double value) {
  classic_result r{.value = value};
  for (const location& l : f.opt) r.places.push_back({{l[0], l[1]}, l.weight(0)});
  return r;
}

// A member of `facilities` that takes `clear` alone.
template <double (facilities::*Solve)(bool)>
classic_result simple(const question& q) {
  facilities f = facilities_of(q);
  const double value = (f.*Solve)(true);
  return result_of(f, value);
}

template <double (facilities::*Solve)(int, bool)>
classic_result with_weight(const question& q) {
  facilities f = facilities_of(q);
  const double value = (f.*Solve)(0, true);
  return result_of(f, value);
}

classic_result run_l2_sum(const question& q) {
  facilities f = facilities_of(q);
  const double value = f.l2_sum(1e-9);
  return result_of(f, value);
}

classic_result run_lp_sum(const question& q) {
  facilities f = facilities_of(q);
  const double value = f.lp_sum(q.p, 1e-4, 1e-2, 500, 0, true);
  return result_of(f, value);
}

using gauge_solver = double (facilities::*)(const list<polygauge>&, const list<int>&, bool);

template <gauge_solver Solve>
classic_result with_gauges(const question& q) {
  facilities f = facilities_of(q);
  list<polygauge> gauges;
  for (const gauge& g : q.gauges) {
    list<point> vertices;
    for (const xy& v : g.vertices()) vertices.append(point(v.x, v.y));
    gauges.append(polygauge(vertices));
  }
  list<int> gauge_of;
  for (const std::uint32_t g : q.sites.table().gauge) gauge_of.append(static_cast<int>(g));
  const double value = (f.*Solve)(gauges, gauge_of, true);
  return result_of(f, value);
}

int depots_of(const question& q) { return static_cast<int>(q.sites.table().weights.size()); }

matrix matrix_of(const question& q) {
  matrix v(depots_of(q), depots_of(q));
  for (const tie& t : q.ties) v(static_cast<int>(t.first), static_cast<int>(t.second)) = t.weight;
  return v;
}

template <double (facilities::*Solve)(int, const matrix&, bool)>
classic_result several(const question& q) {
  facilities f = facilities_of(q);
  const double value = (f.*Solve)(depots_of(q), matrix_of(q), true);
  return result_of(f, value);
}

classic_result run_several_lp(const question& q) {
  facilities f = facilities_of(q);
  const auto sum = f.N_lp_sum_v1(depots_of(q), q.p, matrix_of(q), true);
  return result_of(f, sum->value);
}

classic_result run_several_lp_checked(const question& q) {
  facilities f = facilities_of(q);
  const auto sum = f.N_lp_sum(depots_of(q), q.p, matrix_of(q), q.eps, true);
  return result_of(f, sum->value);
}

// ----- The certified problem -----

std::optional<double> least(const question& q, const std::vector<gauge>& gauges,
                            const order_weights& lambda) {
  std::vector<site> sites = q.sites.problem_sites();
  if (gauges.size() == 1) {
    for (site& s : sites) s.gauge = 0;
  }
  return minimise(problem(std::move(sites), gauges, lambda)).lower_bound;
}

template <gauge (*Norm)()>
std::optional<double> median_of_norm(const question& q) {
  return least(q, {Norm()}, order_weights::median());
}
template <gauge (*Norm)()>
std::optional<double> centre_of_norm(const question& q) {
  return least(q, {Norm()}, order_weights::centre());
}
// The methods for equal weights return the distance itself.
template <gauge (*Norm)()>
std::optional<double> centre_without_weight(const question& q) {
  return *centre_of_norm<Norm>(q) / q.sites.table().weights[0][0];
}
std::optional<double> median_of_lp(const question& q) {
  return least(q, {gauge::lp(q.p)}, order_weights::median());
}
std::optional<double> median_of_gauges(const question& q) {
  return least(q, q.gauges, order_weights::median());
}
std::optional<double> centre_of_gauges(const question& q) {
  return least(q, q.gauges, order_weights::centre());
}

std::optional<double> tied(const question& q, const gauge& norm) {
  std::vector<tied_site> sites;
  std::vector<double> weights;
  for (const xy& a : q.sites.places()) sites.push_back({a.x, a.y, 0});
  for (const auto& column : q.sites.table().weights) {
    weights.insert(weights.end(), column.begin(), column.end());
  }
  const std::size_t n = q.sites.table().weights.size();
  return minimise(tied_problem(n, std::move(sites), {norm}, std::move(weights), q.ties))
      .lower_bound;
}
template <gauge (*Norm)()>
std::optional<double> tied_norm(const question& q) {
  return tied(q, Norm());
}
std::optional<double> tied_lp(const question& q) { return tied(q, gauge::lp(q.p)); }

std::optional<double> none(const question&) { return std::nullopt; }

constexpr const char* kNumberOfWeight = "number of the weight";
constexpr const char* kNothing = "nothing";
constexpr const char* kPiece =
    "number of the piece: neighbours of one label are a segment or polygon";
constexpr const char* kDepot = "number of the new facility";

}  // namespace

const std::vector<classic_method>& classic_methods() {
  using f = facilities;
  static const std::vector<classic_method> methods = {
      {"l2squared_sum", "sum of squared Euclidean distances", kNumberOfWeight, takes::one, false,
       with_weight<&f::l2squared_sum>, none},
      {"l1_sum", "sum of rectilinear distances", kNumberOfWeight, takes::one, false,
       with_weight<&f::l1_sum>, median_of_norm<gauge::l1>},
      {"linf_sum", "sum of maximum-norm distances", kNumberOfWeight, takes::one, false,
       with_weight<&f::linf_sum>, median_of_norm<gauge::linf>},
      {"l2_sum", "sum of Euclidean distances", kNumberOfWeight, takes::one, false, run_l2_sum,
       median_of_norm<gauge::euclidean>},
      {"lp_sum", "sum of lp distances (--p)", kNumberOfWeight, takes::one, false, run_lp_sum,
       median_of_lp},
      {"linf_max", "largest maximum-norm distance", kNothing, takes::one, false,
       simple<&f::linf_max>, centre_of_norm<gauge::linf>},
      {"l1_max", "largest rectilinear distance", kNothing, takes::one, false, simple<&f::l1_max>,
       centre_of_norm<gauge::l1>},
      {"linf_max_equal", "largest maximum-norm distance, equal weights", kNothing, takes::one,
       false, simple<&f::linf_max_equal>, centre_without_weight<gauge::linf>},
      {"l1_max_equal", "largest rectilinear distance, equal weights", kNothing, takes::one, false,
       simple<&f::l1_max_equal>, centre_without_weight<gauge::l1>},
      {"l2_max", "largest Euclidean distance", kNothing, takes::one, false, simple<&f::l2_max>,
       centre_of_norm<gauge::euclidean>},
      {"gauge_sum", "sum of polyhedral gauge distances", kNothing, takes::one, true,
       with_gauges<&f::gauge_sum>, median_of_gauges},
      {"gauge_max", "largest polyhedral gauge distance", kNothing, takes::one, true,
       with_gauges<&f::gauge_max>, centre_of_gauges},
      {"gauge_bicriteria", "two sums of gauge distances", kPiece, takes::two, true,
       with_gauges<&f::gauge_bicriteria>, none},
      {"l1_bicriteria", "two sums of rectilinear distances", kPiece, takes::two, false,
       simple<&f::l1_bicriteria>, none},
      {"linf_bicriteria", "two sums of maximum-norm distances", kPiece, takes::two, false,
       simple<&f::linf_bicriteria>, none},
      {"l2squared_multicriteria", "sums of squared distances, one a weight", kNothing, takes::any,
       false, simple<&f::l2squared_multicriteria>, none},
      {"N_lp_sum_v1", "several facilities: sums of lp distances, flows left out", kDepot,
       takes::any, false, run_several_lp, tied_lp},
      {"N_lp_sum",
       "several facilities: as N_lp_sum_v1, if the flows cost less than --eps of the rest", kDepot,
       takes::any, false, run_several_lp_checked, tied_lp},
      {"N_linf_sum_v1", "several facilities: sums of maximum-norm distances, flows left out",
       kDepot, takes::any, false, several<&f::N_linf_sum_v1>, tied_norm<gauge::linf>},
      {"N_l2squared_sum", "several facilities: sums of squared distances", kDepot, takes::any,
       false, several<&f::N_l2squared_sum>, none},
      {"N_l1_sum", "several facilities: sums of rectilinear distances", kDepot, takes::any, false,
       several<&f::N_l1_sum>, tied_norm<gauge::l1>},
      {"N_linf_max", "several facilities: largest maximum-norm distance", kDepot, takes::any, false,
       several<&f::N_linf_max>, none},
      {"N_l1_max", "several facilities: largest rectilinear distance", kDepot, takes::any, false,
       several<&f::N_l1_max>, none},
  };
  return methods;
}

}  // namespace planloc::tool
