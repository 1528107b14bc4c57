// Two depots for four customers, by linear programs: frozen goods (weight 0 of a customer) come
// from the first, dry goods (weight 1) from the second, and V[0][1] lorries a day go between them.
// Roads run along a grid, so distances are rectilinear.
//
//   $ linear_programs
//   least sum 87
//     0 4  0
//     8 0  1
//   least largest weighted distance 12
//     1.66667 2.66667  0
//     ...
//   programs for an outside solver: depots_x.mps, depots_y.mps
//   $ linear_programs x.sol y.sol       # what it found, in the form of docs/file-formats.md
#include <planloc/planloc.h>

#include <iostream>

int main(int argc, char** argv) {
  using planloc::location;
  planloc::facilities customers;
  customers.append(location(2.0, 2.0, 0.0, 0.0, 2.0, 1.0));
  customers.append(location(2.0, 2.0, 10.0, 0.0, 1.0, 4.0));
  customers.append(location(2.0, 2.0, 0.0, 4.0, 4.0, 1.0));
  customers.append(location(2.0, 2.0, 8.0, 5.0, 1.0, 2.0));
  planloc::matrix V(2, 2);
  V(0, 1) = 1.5;

  const auto show = [&](const char* what, double value) {
    std::cout << what << ' ' << value << '\n';
    for (const location& x : customers.opt) std::cout << "  " << x << '\n';
  };
  if (argc == 3) {
    show("least sum of the outside solver", customers.N_l1_sum_import(argv[1], argv[2], 2));
    return 0;
  }
  show("least sum", customers.N_l1_sum(2, V, true));
  show("least largest weighted distance", customers.N_l1_max(2, V, true));
  customers.opt.clear();  // N_linf_max does not
  show("the same with maximum-norm distances", customers.N_linf_max(2, V, true));
  customers.N_l1_sum_export(2, V, "depots_x.mps", "depots_y.mps");
  std::cout << "programs for an outside solver: depots_x.mps, depots_y.mps\n";
  return 0;
}
