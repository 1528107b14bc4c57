// Two depots for the same four customers: frozen goods (weight 0 of a customer) and dry goods
// (weight 1), with V[0][1] lorries a day from one depot to the other.
//
//   $ several_facilities
//   on their own: value 74.5282, between the depots 0.276744 of the rest
//     0 4  0 1
//     9.9995 0.000416329  1
//   accepted: value 74.5282
//   maximum norm, on their own: value 68
//   ...
#include <planloc/planloc.h>

#include <iostream>

int main() {
  using planloc::location;
  planloc::facilities customers;
  customers.append(location(2.0, 2.0, 0.0, 0.0, 2.0, 1.0));
  customers.append(location(2.0, 2.0, 10.0, 0.0, 1.0, 4.0));
  customers.append(location(2.0, 2.0, 0.0, 4.0, 4.0, 1.0));
  customers.append(location(2.0, 2.0, 8.0, 5.0, 1.0, 2.0));
  planloc::matrix V(2, 2);
  V(0, 1) = V(1, 0) = 1.5;

  const auto show = [&] {
    for (const location& x : customers.opt) std::cout << "  " << x << '\n';
  };
  // The record says how much the independent problems leave out; where that is little, below eps,
  // they may stand.
  const auto alone = customers.N_lp_sum_v1(2, 2, V, true);
  std::cout << "on their own: value " << alone->value << ", between the depots " << alone->ratio
            << " of the rest\n";
  show();
  if (alone->ratio < 0.5) {
    const auto accepted = customers.N_lp_sum(2, 2, V, 0.5, true);
    std::cout << "accepted: value " << accepted->value << '\n';
  }
  std::cout << "maximum norm, on their own: value " << customers.N_linf_sum_v1(2, V, true) << '\n';
  show();
  std::cout << "squared distances, together: value " << customers.N_l2squared_sum(2, V, true)
            << '\n';
  show();
  return 0;
}
