// Reading a location file and a gauge file, beside a loop of strtod over the same bytes.
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <memory>
#include <numbers>
#include <random>
#include <sstream>
#include <string>

#include "bench/contest.h"
#include "bench/inputs.h"
#include "planloc/facilities/facilities.h"
#include "planloc/model/gauge_reader.h"

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

// Octagons about ellipses, six decimals.
std::string gauge_file(std::size_t n, unsigned seed) {
  constexpr int kVertices = 8;
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> u(0.5, 2.0);
  std::ostringstream out;
  out << "begin {polygaugelist}\n" << std::fixed << std::setprecision(6);
  for (std::size_t i = 0; i < n; ++i) {
    const double wide = u(random);
    const double high = u(random);
    out << "begin {polygauge}\n";
    for (int k = 0; k < kVertices; ++k) {
      const double angle = 0.1 + 2.0 * std::numbers::pi * k / kVertices;
      out << wide * std::cos(angle) << ' ' << high * std::sin(angle) << '\n';
    }
    out << "end {polygauge}\n";
  }
  out << "end {polygaugelist}\n";
  return out.str();
}

contestant gauge_reader(std::size_t n, unsigned seed) {
  const auto text = std::make_shared<std::string>(gauge_file(n, seed));
  return {.call = [text] {
    std::istringstream in(*text);
    return read_polygauge_list(in).tail().vertices().tail().xcoord();
  }};
}

// Every number, past the lines of the keywords.
contestant plain_vertices(std::size_t n, unsigned seed) {
  const auto text = std::make_shared<std::string>(gauge_file(n, seed));
  return {.call = [text] {
    double x = 0;
    for (const char* at = text->c_str(); *at != '\0'; ++at) {
      if (*at != 'b' && *at != 'e') {
        char* end = nullptr;
        x = std::strtod(at, &end);
        std::strtod(end, &end);
        at = end;
      }
      while (*at != '\n') ++at;
    }
    return x;
  }};
}

}  // namespace

void add_readers(contests& all) {
  all["location-file"].contestants["read_locations"] = reader;
  all["location-file"].contestants["strtod"] = plain_numbers;
  all["gauge-file"].contestants["read_polygauge_list"] = gauge_reader;
  all["gauge-file"].contestants["strtod"] = plain_vertices;
}

}  // namespace planloc::bench
