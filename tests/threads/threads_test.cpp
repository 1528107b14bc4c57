// Objects that share nothing are used from several threads at once, constant ones are read from
// several: what a thread computes is what it would compute alone. Under the thread sanitizer
// (preset `tsan`) these are also the places where a race would show.
#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <functional>
#include <latch>
#include <mutex>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "planloc/engine/engine.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/location_files.h"
#include "planloc/foundation/containers/array.h"
#include "planloc/foundation/geometry/hull.h"
#include "planloc/foundation/geometry/polygon.h"
#include "planloc/foundation/geometry/rat_ray.h"
#include "planloc/model/gauge_reader.h"
#include "planloc/model/reporter.h"
#include "planloc/optimum/minimise.h"
#include "tests/optimum/instances.h"

namespace planloc {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 12;

void in_threads(const std::function<void(int thread)>& work) {
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      work(t);
    });
  }
  for (std::thread& t : threads) t.join();
}

using Work = std::function<void(std::ostream& out, int seed)>;

std::string told(const Work& work, int seed) {
  std::ostringstream out;
  out.precision(17);
  // Often enough that the threads meet.
  for (int i = 0; i < 8; ++i) work(out, seed);
  return out.str();
}

// A thread of its own for each seed first: random numbers and what readers remember are a thread's.
void expect_as_alone(const Work& work) {
  std::string alone[kThreads];
  for (int t = 0; t < kThreads; ++t) std::thread([&] { alone[t] = told(work, t); }).join();
  for (int round = 0; round < kRounds; ++round) {
    std::string together[kThreads];
    in_threads([&](int t) { together[t] = told(work, t); });
    for (int t = 0; t < kThreads; ++t) ASSERT_EQ(together[t], alone[t]);
  }
}

facilities sites(int seed, int weights) {
  std::mt19937 random(static_cast<unsigned>(seed));
  std::uniform_real_distribution<double> anywhere(-10, 10);
  facilities F;
  for (int i = 0; i < 9; ++i) {
    location a(2, weights);
    a[0] = anywhere(random);
    a[1] = anywhere(random);
    for (int j = 0; j < weights; ++j) a.weight(j) = 1 + j + i % 3;
    F.append(a);
  }
  return F;
}

TEST(Threads, Solvers) {
  expect_as_alone([](std::ostream& out, int seed) {
    facilities F = sites(seed, 1);
    out << F.l1_sum(0, true) << ' ' << F.linf_sum(0, true) << ' ' << F.l2_sum(1e-6) << ' '
        << F.l2squared_sum(0, true) << ' ' << F.lp_sum(3, 1e-6, 1e-6, 100, 0, true) << ' '
        << F.linf_max(true) << ' ' << F.l1_max(true) << ' ' << F.l2_max(true) << '\n'
        << F.opt;
  });
}

TEST(Threads, ProgramsOfSeveralNewFacilities) {
  expect_as_alone([](std::ostream& out, int seed) {
    facilities F = sites(seed, 2);
    matrix V(2, 2);
    V(0, 1) = V(1, 0) = 1.5;
    out << F.N_l1_sum(2, V, true) << ' ' << F.opt << ' ' << F.N_linf_max(2, V, true);
  });
}

TEST(Threads, ManagersAndPrograms) {
  expect_as_alone([](std::ostream& out, int seed) {
    IlcInitFloat();
    IlcManager m(IlcEdit);
    EXPECT_EQ(IlcGetManager().getImpl(), m.getImpl());
    IlcLinOpt lp(m, 0);
    lp.setParam(CPX_PARAM_PREIND, seed % 2);
    IlcFloatVarArray x(m, 6, 0.0, 10.0);
    IlcFloatExp sum = 1.0 * x[0];
    for (int i = 1; i < 6; ++i) sum = sum + (1.0 + i % 3) * x[i];
    lp.setObjMin(sum, 0);
    for (int i = 0; i + 1 < 6; ++i)
      lp.add(x[i] + 2.0 * x[i + 1] >= 0.0 * x[0] + (3.0 + seed + i), 0);
    out << lp.dualOpt() << ' ' << lp.getObjValue();
    for (int i = 0; i < 6; ++i) out << ' ' << lp.getCurrentValue(x[i]);
    lp.end();
    IlcLinOpt empty(m, 0);
    try {
      empty.getObjValue();
    } catch (const IlcLinOptException& e) {
      out << ' ' << e.getText();
    }
    empty.end();
    m.end();
  });
}

TEST(Threads, Readers) {
  expect_as_alone([](std::ostream& out, int seed) {
    std::ostringstream records;
    records << "begin {location}[2,1]\n";
    for (int i = 0; i < 20; ++i) records << i * seed << " -" << i << " 1 {0} [n" << seed << "]\n";
    std::istringstream locations(records.str() + "end {location}\n");
    facilities F;
    list<int> gauge_of;
    F.read_gauge_locations(locations, gauge_of);
    F.print(out);
    out << F.names;
    // A gauge in which the file ended goes on in the next one of the thread.
    std::istringstream begun("begin {polygaugelist}\nbegin {polygauge}\n1 0\n0 1\n");
    std::istringstream rest("begin {polygauge}\n-1 0\n0 -" + std::to_string(seed + 1) +
                            "\nend {polygauge}\n");
    read_polygauge_list(begun);
    for (const polygauge& g : read_polygauge_list(rest)) out << g;
    std::istringstream graph(
        "begin {mavigraph}\nbegin {location}[2,1]\n0 0 1 [A]\n1 1 2 [B]\nend {location}\n"
        "begin {adjlist}\n1 2 2.5\nend {adjlist}\n");
    list<string> names;
    out << read_graph(graph, F, names).number_of_edges() << names;
  });
}

TEST(Threads, ContainersAndGeometry) {
  expect_as_alone([](std::ostream& out, int seed) {
    list<point> P;
    for (int i = 0; i < 300; ++i) P.append(point((i * 37 + seed) % 101, (i * 53) % 97));
    P.sort();
    out << CONVEX_HULL(P);
    list<point> tail;
    P.split(P.get_item(150), P, tail);
    out << P.size() << tail.size();
    array<int> a(20);
    for (int i = 0; i < 20; ++i) a[i] = i;
    a.permute();
    for (int i = 0; i < 20; ++i) out << a[i] << ' ';
    string text("");
    for (int i = 0; i < 50; ++i) text += string("%d,", i * seed);
    out << text << rational(1, 3) + rational(seed);
  });
}

// Each thread takes apart what another one has made, also behind the end of its maker.
TEST(Threads, NodesAreGivenBackByOtherThreads) {
  std::mutex lock;
  std::deque<list<string>> ready;
  long entries = 0;
  for (int round = 0; round < 8; ++round) {
    in_threads([&](int t) {
      for (int i = 0; i < 30; ++i) {
        list<string> L;
        for (int j = 0; j < 100 * (t + 1); ++j) L.append(string("some text"));
        const std::lock_guard guard(lock);
        ready.push_back(std::move(L));
        if (ready.size() > 20) {
          entries += ready.front().size();
          ready.pop_front();
        }
      }
    });
  }
  for (const list<string>& L : ready) entries += L.size();
  EXPECT_EQ(entries, 8L * 30 * 100 * (1 + 2 + 3 + 4));
}

TEST(Threads, ConstantObjectsAreReadFromSeveral) {
  for (int round = 0; round < 40; ++round) {
    const string text("of all");
    const polygon square({{0, 0}, {4, 0}, {4, 4}, {0, 4}});
    const polygauge gauge({{2, 0}, {0, 1}, {-1, 0}, {0, -1}});
    // Big numbers that are formed when they are first asked for.
    const rational third = rational(1) / rational(3);
    const rational half(0.5);
    const rat_point corner(point(0.1, 0.2));
    rat_point cut;
    ASSERT_TRUE(
        rat_ray(rat_point(point(0, 0)), rat_point(point(3, 1)))
            .intersection(rat_segment(rat_point(point(1, -1)), rat_point(point(2, 5))), cut));
    const rat_point& crossing = cut;
    list<int> whole;
    for (int i = 0; i < 30; ++i) whole.append(i);
    list<int> front, back;
    whole.split(whole.get_item(10), front, back);
    const list<int>& uncounted = back;
    std::string results[kThreads];
    in_threads([&](int t) {
      const string copy = text;
      const polygon same = square;
      const rat_point other = crossing;
      std::ostringstream out;
      out << copy << same.area() << same.side_of(point(1, 1))
          << gauge.distance(point(1, 0), point(0, 0)) << third * half << half.numerator()
          << corner.X() << other.X() << crossing.W() << (corner == crossing) << uncounted.size();
      results[t] = out.str();
    });
    for (const std::string& result : results) ASSERT_EQ(result, results[0]);
  }
}

TEST(Threads, IdsOfPointsDiffer) {
  std::set<long> ids[kThreads];
  in_threads([&](int t) {
    for (int i = 0; i < 1000; ++i) ids[t].insert(point(i, t).id());
  });
  std::set<long> all;
  for (const auto& of_thread : ids) all.insert(of_thread.begin(), of_thread.end());
  EXPECT_EQ(all.size(), 1000u * kThreads);
}

std::string shown(const solution& s) {
  const auto& proof = std::get<branch_certificate>(s.proof);
  std::ostringstream out;
  out << std::hexfloat << static_cast<int>(s.status) << ' ' << s.value << ' ' << s.lower_bound
      << ' ' << s.point.x << ' ' << s.exact.x << ' ' << s.exact.y << ' ' << s.counters.cells << ' ';
  for (const auto why : proof.cells) out << static_cast<int>(why);
  return out.str();
}

// Several threads on one search: with as many as there may be, the same answer to the last bit.
TEST(Threads, BranchAndBoundIsTheSameOnAnyNumber) {
  instance_source source(31);
  const std::vector<gauge> smooth{gauge::euclidean(), gauge::lp(1.5)};
  for (int k = 0; k < 4; ++k) {
    const int n = k == 0 ? 12 : 70;
    std::vector<double> lambda;
    for (int i = 0; i < n; ++i) lambda.push_back(source.uniform(k == 1 ? -0.1 : 0, 1));
    const problem p(source.sites(k == 3 ? layout::lattice : layout::scattered, n, 2),
                    k == 0 ? smooth : source.gauges(layout::scattered, 2, 6),
                    k == 2 ? order_weights::order_statistic(35) : order_weights(lambda));
    minimise_options options;
    if (k < 2) options.relative_gap = 1e-3;
    const std::string alone = shown(minimise_general(p, options));
    for (const int threads : {0, 2, 3, 7}) {
      options.threads = threads;
      EXPECT_EQ(shown(minimise_general(p, options)), alone) << "problem " << k << ' ' << threads;
    }
  }
}

TEST(Threads, BranchAndBoundReportsToTheCallerAndStops) {
  instance_source source(32);
  std::vector<double> lambda;
  for (int i = 0; i < 150; ++i) lambda.push_back(i % 2 == 0 ? -0.5 : 1);  // far from done in time
  const problem p(source.sites(layout::scattered, 150, 1), source.gauges(layout::scattered, 1, 8),
                  order_weights(lambda));
  std::stop_source stop;
  int reports = 0;
  minimise_options options;
  options.threads = 3;
  options.stop = stop.get_token();
  options.progress = [&, caller = std::this_thread::get_id()](const search_progress& now) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    EXPECT_LE(now.lower_bound, now.value);
    if (++reports == 5) std::thread([&] { stop.request_stop(); }).join();
  };
  const solution s = minimise(p, options);
  EXPECT_EQ(s.status, solution_status::stopped);
  EXPECT_EQ(reports, 5);
  EXPECT_LE(s.lower_bound, s.value);
}

#ifndef __SANITIZE_THREAD__
TEST(ThreadsDeathTest, OneReportEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(in_threads([](int) { MaviError("at the same time", 1, 3, false); }),
              ::testing::ExitedWithCode(3), "^MAVI error: at the same time ErrorCode: 1\n$");
}
#endif

}  // namespace
}  // namespace planloc
