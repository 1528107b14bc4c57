// Reading a location file, beside a loop of strtod over the same bytes.
#include <cctype>
#include <cstdlib>
#include <iomanip>
#include <memory>
#include <sstream>
#include <string>

#include "bench/contest.h"
#include "bench/inputs.h"
#include "planloc/facilities/facilities.h"

namespace planloc::bench {
namespace {

// Coordinates with three decimals, a weight with two, a name.
std::string location_file(std::size_t n, unsigned seed) {
  std::ostringstream out;
  out << "begin {location}[2,1]\n" << std::fixed;
  int number = 0;
  for (const weighted_place& p : random_places(n, seed)) {
    out << std::setprecision(3) << p.x << ' ' << p.y << ' ' << std::setprecision(2) << p.weight
        << " [site " << ++number << "]\n";
  }
  out << "end {location}\n";
  return out.str();
}

contestant reader(std::size_t n, unsigned seed) {
  const auto text = std::make_shared<std::string>(location_file(n, seed));
  return {.call = [text] {
    std::istringstream in(*text);
    facilities F;
    F.read_locations(in);
    return F.tail()[0];
  }};
}

// Every number of a record, none of the names.
contestant plain_numbers(std::size_t n, unsigned seed) {
  const auto text = std::make_shared<std::string>(location_file(n, seed));
  return {.call = [text] {
    const char* at = text->c_str() + text->find('\n') + 1;
    double x = 0;
    while (*at != 'e') {
      char* end = nullptr;
      x = std::strtod(at, &end);
      std::strtod(end, &end);
      std::strtod(end, &end);
      while (*end != '\n') ++end;
      at = end + 1;
    }
    return x;
  }};
}

}  // namespace

void add_readers(contests& all) {
  all["location-file"].contestants["read_locations"] = reader;
  all["location-file"].contestants["strtod"] = plain_numbers;
}

}  // namespace planloc::bench
