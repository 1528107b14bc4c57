// What a search needs beside the problem: at most 100 bytes a site, the certificate among them;
// where many order weights count under polyhedral gauges 130.
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

void* operator new(std::size_t size) {
  void* const p = std::malloc(size);
  if (p == nullptr) throw std::bad_alloc();
  const std::size_t now = live += malloc_usable_size(p);
  if (now > peak) peak = now;
  return p;
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

TEST(Memory, OfConvexSearches) {
  constexpr int kSites = 50000;
  instance_source source(1);
  const auto balls = source.gauges(layout::scattered, 3, 8);
  for (const std::vector<gauge>& gauges : {balls, {gauge::euclidean()}}) {
    const auto sites = source.sites(layout::scattered, kSites, static_cast<int>(gauges.size()));
    for (const order_weights& lambda :
         {order_weights::median(), order_weights::centre(), order_weights::k_centrum(kSites / 2)}) {
      const problem p(sites, gauges, lambda);
      const std::size_t before = live;
      peak = before;
      const solution s = minimise(p);
      const bool many = p.polyhedral() && p.runs().size() == 2 && p.runs()[1].count > 1;
      EXPECT_LE((peak - before) / kSites, many ? 130 : 100);
    }
  }
}

}  // namespace
}  // namespace planloc
