// Location files, plain ones, and behind a "g" those with gauge numbers.
#include <sstream>

#include "fuzz/endings.h"
#include "planloc/facilities/facilities.h"

namespace planloc::fuzz {

void read(const std::string& file) {
  const bool gauged = file.starts_with('g');
  std::istringstream in(gauged ? file.substr(1) : file);
  facilities F;
  list<int> gauge_of;
  if (gauged) {
    F.read_gauge_locations(in, gauge_of);
  } else {
    F.read_locations(in);
  }
  // A name stands behind each record, and one more may behind the file that broke off.
  check(F.names.size() >= F.size(), "a name for each location");
  for (const location& a : F) {
    check(a.dim() >= 1 && a.dim() == F.head().dim(), "one dimension");
    check(a.nweights() == F.head().nweights(), "one number of weights");
  }
  std::ostringstream out;
  F.print(out);
}

}  // namespace planloc::fuzz
