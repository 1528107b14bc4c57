// What the snippets of docs/optimum.md take for granted.
#include <planloc/certified.h>
#include <planloc/planloc.h>

#include <iostream>
#include <sstream>
#include <vector>

#pragma GCC diagnostic ignored "-Wshadow"  // snippets name their own p and s
#pragma GCC diagnostic ignored "-Wunused-variable"

static const std::vector<planloc::site> sites = {
    {.x = -2.5, .y = 36.8}, {.x = -6.3, .y = 36.5}, {.x = -4.8, .y = 37.9}, {.x = -6.9, .y = 37.3}};
static const std::vector<planloc::xy> existing = {{-3, 37}};
static const std::vector<planloc::bicriteria_site> twice_weighted = {
    {-2.5, 36.8, 1, 2}, {-6.3, 36.5, 3, 1}, {-4.8, 37.9, 1, 1}};
static const planloc::problem p(sites, {planloc::gauge::euclidean()},
                                planloc::order_weights::median());
static std::istringstream location_file(
    "begin {location}[2,1]\n0 0 1 {0} [A]\n4 0 2 {0} [B]\n1 3 1 {0} [C]\nend {location}\n");
static std::istringstream gauge_file(
    "begin {polygaugelist}\nbegin {polygauge}\n1 0\n0 1\n-1 0\n0 -1\nend {polygauge}\n"
    "end {polygaugelist}\n");
