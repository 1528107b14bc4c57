#include "planloc/driver/walk.h"

#include <cmath>

#include "planloc/driver/cell_geometry.h"
#include "planloc/driver/cell_program.h"
#include "planloc/driver/drawing.h"
#include "planloc/driver/page.h"
#include "planloc/driver/problem.h"

namespace planloc {
namespace {

IlcIntArray exchange_ties(IlcManager& m, const list<location_distance>& distances,
                          IlcIntArray& sigma) {
  IlcIntArray exchanged(m, sigma.getSize(), 0);
  list_item it = distances.first();
  for (int j = 0; j + 1 < fac.size(); ++j) {
    const list_item next = distances.succ(it);
    const bool tie = std::fabs(distances[it].distance - distances[next].distance) < kTieTolerance;
    // Intended: the next pass overwrites entry j + 1, so only the last pair is exchanged in full.
    exchanged[j] = tie ? sigma[j + 1] : sigma[j];
    exchanged[j + 1] = tie ? sigma[j] : sigma[j + 1];
    it = next;
  }
  return exchanged;
}

list<int> entries_of(IlcIntArray& sigma) {
  list<int> entries;
  for (int i = 0; i < fac.size(); ++i) entries.append(sigma[i]);
  return entries;
}

void draw_route_to(const point& from, const point& to) {
  draw_point(to);
  ps_point(to);
  draw_route_segment(from, to);
  ps_segment(from, to);
}

}  // namespace

bool same_permutation(IlcManager&, IlcIntArray& a, IlcIntArray& b) {
  bool same = true;
  for (int i = 0; i < fac.size(); ++i) {
    if (a[i] != b[i]) same = false;
  }
  return same;
}

void remember_cell(IlcManager&, IlcIntArray& sigma, list<list<int>>& visited) {
  visited.append(entries_of(sigma));
}

void remember_cell(IlcManager&, IlcIntArray& sigma, cell_set& visited) {
  visited.append(entries_of(sigma));
}

namespace {

bool seen(const list<list<int>>& visited, const list<int>& cell) {
  return visited.search(cell) != nullptr;
}

bool seen(const cell_set& visited, const list<int>& cell) { return visited.contains(cell); }

template <class Cells>
void tie_step(IlcManager& m, const point& sol, Cells& visited, IlcIntArray& sigma, bool& done) {
  IlcIntArray new_sigma = exchange_ties(m, sorted_distances(sol), sigma);
  done = seen(visited, entries_of(new_sigma));
  if (done) return;
  remember_cell(m, new_sigma, visited);
  sigma = new_sigma;
}

}  // namespace

void next_cell(IlcManager& m, point& sol, list<list<int>>& visited, IlcIntArray& sigma,
               bool& done) {
  tie_step(m, sol, visited, sigma, done);
}

void next_cell(IlcManager& m, point& sol, cell_set& visited, IlcIntArray& sigma, bool& done) {
  tie_step(m, sol, visited, sigma, done);
}

void log_permutation(std::ostream& log_out, const char* label, IlcIntArray& sigma) {
  log_out << label << "(";
  for (int i = 0; i < sigma.getSize(); ++i) log_out << sigma[i] << " ";
  log_out << ")" << std::endl;
}

bool walk(IlcManager& m, IlcIntArray sigma, double** coef, point start_pt, std::ostream& log_out,
          long max_passes) {
  cell_set visited;
  remember_cell(m, sigma, visited);
  bool feasible = true;
  bool done = false;
  point sol(0, 0);
  double value = 0.0;
  IlcIntArray sigma_sol;
  for (long passes = 0; feasible && !done; ++passes) {
    if (passes == max_passes) return false;
    log_permutation(log_out, "P_sigma=", sigma);
    solve_cell_lp(m, sigma, coef, feasible, sol, value);
    draw_route_to(start_pt, sol);
    start_pt = sol;
    if (!feasible) continue;
    cell_of_point(m, sol, sigma_sol);
    log_out << "Sol=" << sol << "; Value=" << value << std::endl;
    log_permutation(log_out, "sigma=", sigma_sol);
    done = same_permutation(m, sigma, sigma_sol);
    if (done) {
      next_cell(m, sol, visited, sigma, done);
    } else {
      sigma = sigma_sol;
    }
  }
  return true;
}

}  // namespace planloc
