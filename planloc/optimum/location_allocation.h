// Several new facilities at once, each site served by its nearest one: which places make the sum of
// the weighted distances least (the multisource Weber problem, Cooper 1963).
//
//   using namespace planloc;
//   const allocation_problem p(sites, {gauge::euclidean()}, 8);
//   const allocation a = allocate(p, {.lower_bound = true});
//   const allocation_check c = verify(p, a);
//
// The distance of site i from a facility at x is weight_i * gauge_i(x - position_i), as in
// problem.h. Facilities that exist already serve too and stay where they are.
//
// The sum is not convex in the places. The answer comes from a search that is repeatable but proves
// nothing; how far it can be from the best one is said by a lower bound, where one is asked for and
// can be had.
#ifndef PLANLOC_OPTIMUM_LOCATION_ALLOCATION_H_
#define PLANLOC_OPTIMUM_LOCATION_ALLOCATION_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "planloc/optimum/problem.h"
#include "planloc/optimum/solution.h"

namespace planloc {

class allocation_problem {
 public:
  // `count` new facilities. Throws `bad_problem` as `problem` does, and if there is neither a new
  // facility nor an existing one, or more than 2^32 - 1 of both, or an existing one's coordinate is
  // above 1e36 in magnitude.
  allocation_problem(std::vector<site> sites, std::vector<gauge> gauges, std::size_t count,
                     std::vector<xy> existing = {});

  // The sites and gauges, as the problem of one new facility.
  const problem& single() const { return single_; }
  std::span<const site> sites() const { return single_.sites(); }
  std::size_t count() const { return count_; }
  std::span<const xy> existing() const { return existing_; }

 private:
  problem single_;
  std::size_t count_;
  std::vector<xy> existing_;
};

enum class allocation_status : std::uint8_t {
  optimal,  // proved: the value is 0; or no new facility is asked for; or there is one, without
            // existing ones, at the optimum (solution.h); or there are two, a lower bound was asked
            // for, and the gap is at most 5e-10 of the value
  within_gap,  // proved: value - lower_bound <= relative_gap * value
  searched,    // all starts were made; the bound was not asked for or is further away
  stopped      // the time or the stop token ended the search: this is the best until then
};

struct allocation_counters {
  std::size_t starts = 0;        // rounds of shakes that were made to their end
  std::size_t shakes = 0;        // some facilities thrown about, and a descent from there
  std::size_t interchanges = 0;  // a facility dropped for one at a site or a place met
  std::size_t solves = 0;        // of a facility and the sites that it serves
  std::size_t prices = 0;        // places of the lower bound: minima of the priced problem
  std::size_t cells = 0;         // of the branch and bound that finds them
  double seconds = 0;
};

// Three sites of which at most one new facility serves two or all.
struct priced_triple {
  std::array<std::uint32_t, 3> sites;
  double price;  // not negative
};

// How many new facilities lie where, in the proof of a lower bound. A case is a list of rectangles,
// each with a number of facilities; the first case is the whole plane with all of them. A case
// without `least` is divided: its rectangle `cell` is cut by the line x = at, or y = at. What is
// below stays in place, what is above goes to the end of the list, and the cases with 0, 1, ... of
// the rectangle's facilities below follow, each with all that it is divided into.
struct allocation_case {
  // One a site; empty if they are those of the case that it is part of. The bound of a case that is
  // not divided is the sum of prices - those of triples + sum over the rectangles of count * least,
  // a bound of the priced sum in each.
  std::vector<double> prices;
  std::vector<priced_triple> triples;  // with its own prices
  std::vector<double> least;
  std::uint32_t cell = 0;
  bool by_x = true;
  double at = 0;
};

// Where the two new facilities lie, in the proof of a lower bound. A pair of rectangles holds a
// place of each; the first pair is twice the rectangle from `low` to `high`, counted from `base`. A
// rectangle is halved across its longer side, x if there is none. A pair of a rectangle with itself
// stands for both orders, so `both` makes three of it: the lower half with itself, with the upper
// one, and that with itself. The steps come in the order of a walk that visits a pair before those
// that it is divided into, the lower half first.
struct allocation_pairs {
  enum class step : std::uint8_t {
    bound,   // tangents from the middles show that there is nothing below the bound
    places,  // few sites may be nearer to either facility; for each choice of theirs, tangents from
             // the middles, corners and the next two of `places` show it
    first,   // the first rectangle is halved
    second,
    both
  };
  xy base{0, 0};
  xy low{0, 0};
  xy high{0, 0};
  std::vector<step> steps;
  std::vector<xy> places;  // counted from `base`
};

struct allocation {
  allocation_status status = allocation_status::stopped;
  std::vector<xy> points;  // of the new facilities, ordered by x, then y
  // The facility of each site: the new ones are 0 to count - 1, the existing ones follow. At a tie
  // the lowest number. A new facility may serve no site.
  std::vector<std::uint32_t> assignment;
  double value = 0;
  // No places have a value below this. Empty if it was not asked for (it is there anyway where it
  // costs nothing: without a new facility, with one and no existing one, and where the value is
  // 0).
  std::optional<double> lower_bound;
  // What proves the bound. With one new facility and no existing one: the solution of that problem.
  // Else a price for each site and for some triples of sites, with which
  //   sum of prices - those of triples + count * min over x and sets C of sites of
  //     (sum over C of (d_i(x) - price_i) + the prices of triples of which C holds two or three)
  // is a lower bound, whatever the prices are; or, where such prices leave a gap, cases. Triples
  // that share sites link at most eight. With two new facilities: pairs.
  std::optional<solution> one_facility;
  std::vector<double> prices;
  std::vector<priced_triple> triples;
  std::vector<allocation_case> cases;
  std::optional<allocation_pairs> pairs;
  allocation_counters counters;

  double gap() const {
    return lower_bound ? value - *lower_bound : std::numeric_limits<double>::infinity();
  }
};

struct allocation_progress {
  double value;  // the best so far
  std::optional<double> lower_bound;
  std::size_t starts;  // rounds of shakes that were made to their end
};

// Throws `bad_problem` if a number here is not from 0 up.
struct allocate_options {
  std::uint64_t seed = 1;
  std::size_t starts = 8;
  // Of each start, and again from what it found; so many for every 25 new facilities or part of
  // them.
  std::size_t shakes = 100;
  double seconds = std::numeric_limits<double>::infinity();
  int threads = 0;  // 0: one for each core (`minimise` takes one unless told otherwise)
  bool lower_bound = false;
  double relative_gap = 1e-4;  // of the bound
  std::function<void(const allocation_progress&)> progress =
      {};  // called from the thread of the caller
  std::stop_token stop = {};
};

// Starts by drawn sites (Arthur and Vassilvitskii 2007), alternation of places and assignment
// (Cooper 1964), interchange of a facility with a site (Resende and Werneck 2007), shakes in a
// variable neighbourhood (Brimberg, Hansen, Mladenovic and Taillard 2000); then the same from the
// best places of each start, merged with those of the others (of both together, places are dropped
// one by one), with those of all starts in the interchange. The same seed gives the
// same answer whatever the number of threads, unless the time or the stop token ends the search.
//
// The lower bound of two new facilities, up to 20,000 sites, comes from branch and bound over pairs
// of rectangles (Land and Doig 1960; tangents below the distances), which finds the best places,
// too; so one start and few shakes are made before. It mostly ends `optimal`, whatever gap is asked
// for. Other lower bounds come from column generation (Krau 1997; du Merle, Villeneuve, Desrosiers
// and Hansen 1999). Up to some twenty sites a facility it closes to 1e-4 or better within seconds
// for a few hundred sites. Where prices of sites leave a gap and there are at most 4000 of them,
// triples get prices (the subset rows of Jepsen, Petersen, Spoorendonk and Pisinger 2008); where
// these do, too, the plane is cut into cases, at most 400 of which get prices of their own. For
// more than 4000 sites the prices of neighbours move together, in 250 groups and then in 1000: a
// few percent are left.
allocation allocate(const allocation_problem& p, const allocate_options& options = {});

struct allocation_check {
  bool accepted = false;
  std::string reason;                 // why it was refused
  double value = 0;                   // proved: no less than the exact value of the points
  std::optional<double> lower_bound;  // proved: no more than the least value there is
};

// Checks points, assignment, value and bound against the problem alone, in intervals that are
// rounded outwards, by code that the search does not use. An assignment may deviate from the
// nearest facility only where the distances differ by their roundings. `within_gap` needs a bound;
// the gap that was asked for is the caller's to compare with.
allocation_check verify(const allocation_problem& p, const allocation& a);

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_LOCATION_ALLOCATION_H_
