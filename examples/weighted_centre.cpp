// Where to station a rescue helicopter: the longest of the weighted flights to five villages is to
// be as short as possible. A weight above 1 makes a village count as if it were farther away.
//
//   $ weighted_centre
//   station at (5.60873, 5.19523), largest weighted distance 7.64515
//     0 0  1 reached
//     12 1  1 reached
//     ...
#include <planloc/planloc.h>

#include <iostream>

int main() {
  using planloc::location;
  planloc::facilities villages;
  villages.append(location(2.0, 1.0, 0.0, 0.0, 1.0));
  villages.append(location(2.0, 1.0, 12.0, 1.0, 1.0));
  villages.append(location(2.0, 1.0, 9.0, 9.0, 1.5));
  villages.append(location(2.0, 1.0, 1.0, 8.0, 1.0));
  villages.append(location(2.0, 1.0, 5.0, 3.0, 2.0));

  const double value = villages.l2_max(true);
  const location& station = villages.opt.head();
  std::cout << "station at (" << station[0] << ", " << station[1] << "), largest weighted distance "
            << value << '\n';
  for (const location& village : villages) {
    const planloc::circle_record reach{station[0], station[1], value};
    std::cout << "  " << village << (planloc::is_covered(village, reach) ? "reached" : "missed")
              << '\n';
  }
  return 0;
}
