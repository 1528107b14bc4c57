#!/usr/bin/env python3
"""minimise beside other solvers on the same instances in one run. Convex polyhedral problems as linear programs:
CLP's dual and primal simplex, and HiGHS's simplex and interior point through SciPy (package python3-scipy).
Problems with any order weights as mixed-integer programs: CBC, and HiGHS's milp.

    bench/optimum.py build/bench/bench [convex | ordered | all] [sites [vertices]]

CPU milliseconds of the solves without the building of the programs; medians over the seeds for the convex ones,
whose ratio is that of the best of the four to minimise. A mixed-integer solver ends after 20 s with its gap.
"""
import os
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy.optimize import Bounds, LinearConstraint, linprog, milp
from scipy.sparse import coo_matrix

KINDS = ["median", "centre", "k-centrum", "cent-dian"]
SEEDS = [1, 2, 3]
ORDERED_KINDS = ["trimmed-mean", "anti-centrum", "range", "order-statistic", "random"]
ORDERED_SITES = [20, 50]
SECONDS = 20
UNBOUNDED = 1e300


def read_program(path):
    """cost, matrix, right side, lower and upper bounds, integrality: matrix @ v >= right."""
    with open(path) as lines:
        rows, columns, entries = map(int, next(lines).split())
        data = np.loadtxt(lines, max_rows=columns)
        right = np.loadtxt(lines, max_rows=rows)
        terms = np.loadtxt(lines, max_rows=entries)
    matrix = coo_matrix((terms[:, 2], (terms[:, 0].astype(int), terms[:, 1].astype(int))),
                        shape=(rows, columns)).tocsc()
    low = np.where(data[:, 1] < -UNBOUNDED, -np.inf, data[:, 1])
    high = np.where(data[:, 2] > UNBOUNDED, np.inf, data[:, 2])
    return data[:, 0], matrix, right, low, high, data[:, 3]


def highs(path, method):
    cost, matrix, right, low, high, _ = read_program(path)
    start = time.process_time()
    result = linprog(cost, A_ub=-matrix, b_ub=-right, bounds=np.column_stack([low, high]), method=method)
    return 1e3 * (time.process_time() - start), result.fun


def highs_milp(path):
    """Milliseconds, value, bound, whether optimal."""
    cost, matrix, right, low, high, integrality = read_program(path)
    start = time.process_time()
    result = milp(cost, constraints=LinearConstraint(matrix, right, np.inf), bounds=Bounds(low, high),
                  integrality=integrality, options={"time_limit": SECONDS, "mip_rel_gap": 1e-9})
    value = np.inf if result.fun is None else result.fun
    bound = -np.inf if result.mip_dual_bound is None else result.mip_dual_bound
    return 1e3 * (time.process_time() - start), value, bound, result.status == 0


def convex(folder, sites, vertices):
    print(f"{sites} sites, {vertices} vertices, 10 gauges; milliseconds")
    print(f"{'':10} minimise  CLP dual    primal  HiGHS simplex  interior point   ratio")
    path = os.path.join(folder, "program.txt")
    for kind in KINDS:
        times = []
        for seed in SEEDS:
            out = subprocess.check_output([os.path.join(sys.argv[1], "optimum_timer"), kind, sites, vertices, "10",
                                           str(seed), path], text=True)
            value, own, proved, dual, dual_value, primal, primal_value = map(float, out.split())
            assert proved == 1
            simplex, simplex_value = highs(path, "highs-ds")
            interior, interior_value = highs(path, "highs-ipm")
            for other in (dual_value, primal_value, simplex_value, interior_value):
                if abs(other - value) > 1e-6 * abs(value):
                    print(f"  {kind}, seed {seed}: {other} beside {value}")
            times.append((own, dual, primal, simplex, interior))
        medians = [statistics.median(column) for column in zip(*times)]
        print(f"{kind:10} {medians[0]:8.3f} {medians[1]:9.1f} {medians[2]:9.1f} {medians[3]:14.1f} "
              f"{medians[4]:15.1f} {min(medians[1:]) / medians[0]:7.0f}", flush=True)


def ended(milliseconds, value, bound, optimal):
    if optimal:
        return f"{milliseconds:.0f}"
    gap = 100 * (value - bound) / abs(value) if np.isfinite(value) else np.inf
    return f"{milliseconds / 1e3:.0f} s, gap {gap:.0f} %"


def ordered(folder, vertices):
    print(f"{vertices} vertices, 3 gauges; milliseconds, one instance each")
    print(f"{'':16} sites  minimise {'CBC':>20} {'HiGHS milp':>20}")
    path = os.path.join(folder, "program.txt")
    for kind in ORDERED_KINDS:
        for sites in ORDERED_SITES:
            out = subprocess.check_output([os.path.join(sys.argv[1], "ordered_timer"), kind, str(sites), vertices, "3",
                                           "1", str(SECONDS), path], text=True)
            value, own, proved, *cbc = map(float, out.split())
            assert proved == 1
            peers = [cbc, highs_milp(path)]
            for _, other, bound, optimal in peers:
                if optimal and abs(other - value) > 1e-5 * abs(value) or other < value - 1e-5 * abs(value):
                    print(f"  {kind}, {sites} sites: {other} beside {value}")
            print(f"{kind:16} {sites:5} {own:9.1f} {ended(*peers[0]):>20} {ended(*peers[1]):>20}", flush=True)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    what = sys.argv[2] if len(sys.argv) > 2 else "all"
    sites = sys.argv[3] if len(sys.argv) > 3 else "1000"
    vertices = sys.argv[4] if len(sys.argv) > 4 else "8"
    with tempfile.TemporaryDirectory() as folder:
        if what in ("convex", "all"):
            convex(folder, sites, vertices)
        if what in ("ordered", "all"):
            ordered(folder, vertices)


if __name__ == "__main__":
    main()
