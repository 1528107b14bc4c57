#!/usr/bin/env python3
"""minimise for convex polyhedral problems beside linear programming: CLP's dual and primal simplex, and
HiGHS's simplex and interior point through SciPy (package python3-scipy). All on the same instances in one run.

    bench/optimum.py build/bench/bench/optimum_timer [sites [vertices]]

CPU milliseconds of the solves without the building of the programs; medians over the seeds. The ratio is
that of the best of the four to minimise.
"""
import os
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy.optimize import linprog
from scipy.sparse import coo_matrix

KINDS = ["median", "centre", "k-centrum", "cent-dian"]
SEEDS = [1, 2, 3]


def read_program(path):
    with open(path) as lines:
        rows, columns, entries = map(int, next(lines).split())
        data = np.loadtxt(lines, max_rows=columns)
        right = np.loadtxt(lines, max_rows=rows)
        terms = np.loadtxt(lines, max_rows=entries)
    matrix = coo_matrix((-terms[:, 2], (terms[:, 0].astype(int), terms[:, 1].astype(int))),
                        shape=(rows, columns)).tocsc()
    return data[:, 0], matrix, -right, [(None if free else 0, None) for free in data[:, 1]]


def highs(path, method):
    cost, matrix, right, bounds = read_program(path)
    start = time.process_time()
    result = linprog(cost, A_ub=matrix, b_ub=right, bounds=bounds, method=method)
    return 1e3 * (time.process_time() - start), result.fun


def main():
    timer = sys.argv[1]
    sites = sys.argv[2] if len(sys.argv) > 2 else "1000"
    vertices = sys.argv[3] if len(sys.argv) > 3 else "8"
    print(f"{sites} sites, {vertices} vertices, 10 gauges; milliseconds")
    print(f"{'':10} minimise  CLP dual    primal  HiGHS simplex  interior point   ratio")
    for kind in KINDS:
        times = []
        for seed in SEEDS:
            with tempfile.TemporaryDirectory() as folder:
                path = os.path.join(folder, "program.txt")
                out = subprocess.check_output([timer, kind, sites, vertices, "10", str(seed), path], text=True)
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
              f"{medians[4]:15.1f} {min(medians[1:]) / medians[0]:7.0f}")


if __name__ == "__main__":
    main()
