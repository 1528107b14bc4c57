// What a search needs beside the problem: at most 100 bytes a site, the certificate among them, and
// 48 bytes a vertex of each gauge.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

#include "instances.h"
#include "planloc/optimum/minimise.h"

namespace {

std::atomic<std::size_t> live{0};
std::atomic<std::size_t> peak{0};

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  void* const p = std::malloc(size);
  const std::size_t now = live += malloc_usable_size(p);  // 0 for none
  if (now > peak) peak = now;
  return p;
}

void* operator new(std::size_t size) {
  if (void* const p = operator new(size, std::nothrow)) return p;
  throw std::bad_alloc();
}

void operator delete(void* p, std::size_t) noexcept {
  live -= malloc_usable_size(p);
  std::free(p);
}

void operator delete(void* p) noexcept {
  live -= malloc_usable_size(p);
  std::free(p);
}

namespace planloc {
namespace {

std::size_t bytes_of_search(const problem& p) {
  const std::size_t before = live;
  peak = before;
  const solution s = minimise(p);
  return peak - before;
}

TEST(Memory, OfASite) {
  constexpr int kSites = 50000;
  instance_source source(1);
  const auto balls = source.gauges(layout::scattered, 3, 8);
  for (const std::vector<gauge>& gauges : {balls, {gauge::euclidean()}}) {
    const auto sites = source.sites(layout::scattered, kSites, static_cast<int>(gauges.size()));
    for (const order_weights& lambda :
         {order_weights::median(), order_weights::centre(), order_weights::k_centrum(kSites / 2),
          order_weights::cent_dian(0.5)}) {
      EXPECT_LE(bytes_of_search(problem(sites, gauges, lambda)), 100 * kSites);
    }
  }
}

// Where sites tie, what meets at the optimum takes memory too, and so does walking around the
// optima, of which a common gauge of few edges has many.
TEST(Memory, OfASiteAmongTies) {
  constexpr int kSites = 20000;
  const struct {
    const char* name;
    layout where;
    std::vector<gauge> gauges;
  } cases[] = {
      {"one place, one gauge", layout::one_place, {gauge::l1()}},
      {"one place, several", layout::one_place, {gauge::l1(), gauge::linf()}},
      {"one place, smooth", layout::one_place, {gauge::euclidean(), gauge::lp(3)}},
      {"one place, mixed", layout::one_place, {gauge::l1(), gauge::lp(3)}},
      {"a line, smooth", layout::line, {gauge::lp(3)}},
      {"a line, mixed", layout::line, {gauge::l1(), gauge::euclidean(), gauge::lp(3)}},
      {"a line, one gauge", layout::line, {gauge::l1()}},
      {"a line, several", layout::line, {gauge::l1(), gauge::linf()}},
      {"16 places, one gauge", layout::lattice, {gauge::l1()}},
      {"16 places, several", layout::lattice, {gauge::l1(), gauge::linf()}},
      {"scattered, one gauge", layout::scattered, {gauge::l1()}},
      {"scattered, mixed", layout::scattered, {gauge::l1(), gauge::lp(3)}},
  };
  for (const auto& c : cases) {
    for (const bool equal_weights : {false, true}) {
      instance_source source(1);
      auto sites = source.sites(c.where, kSites, static_cast<int>(c.gauges.size()));
      for (site& s : sites) s.weight = equal_weights ? 1 : s.weight;
      for (const order_weights& lambda : {order_weights::median(), order_weights::centre(),
                                          order_weights::k_centrum(kSites / 2)}) {
        EXPECT_LE(bytes_of_search(problem(sites, c.gauges, lambda)), 100 * kSites)
            << c.name << (equal_weights ? ", equal weights" : "");
      }
    }
  }
}

TEST(Memory, OfAVertex) {
  constexpr int kSites = 1000;
  constexpr int kGauges = 200;
  constexpr int kVertices = 1000;
  instance_source source(1);
  std::vector<gauge> gauges;
  for (int g = 0; g < kGauges; ++g) gauges.push_back(source.ball(kVertices));
  const auto sites = source.sites(layout::scattered, kSites, kGauges);
  for (const order_weights& lambda :
       {order_weights::median(), order_weights::centre(), order_weights::k_centrum(kSites / 2)}) {
    EXPECT_LE(bytes_of_search(problem(sites, gauges, lambda)),
              100 * kSites + 48 * kGauges * kVertices);
  }
}

}  // namespace
}  // namespace planloc
