#!/usr/bin/env python3
"""efficient_set beside dichotomy with linear programs in HiGHS through SciPy (package python3-scipy), on the
same instances in one run.

    bench/efficient_set.py build/bench/bench/efficient_timer

CPU milliseconds without the building of the programs. Dichotomy: a program for each corner of the trade-off
curve and for each of its edges. It is left out where it would take minutes.
"""
import os
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy.optimize import linprog
from scipy.sparse import coo_matrix

# kind, sites, vertices, gauges, seed, with dichotomy
CASES = [("apart", 50, 8, 1, 1, True), ("apart", 50, 8, 10, 1, True), ("independent", 200, 8, 10, 1, True),
         ("independent", 1000, 8, 1, 1, True), ("independent", 1000, 8, 10, 1, False),
         ("apart", 1000, 8, 1, 1, False), ("apart", 1000, 8, 10, 1, False), ("apart", 10000, 8, 10, 1, False)]


class Programs:
    """minimise (1 - t) f_1 + t f_2 over x, y and one distance a site."""

    def __init__(self, path):
        sites = np.loadtxt(path)
        n = len(sites)
        slopes = sites[:, 4:].reshape(n, -1, 2)
        edges = slopes.shape[1]
        rows = np.arange(n * edges)
        self.weights = sites[:, 2:4]
        self.right = (slopes * sites[:, None, :2]).sum(axis=2).ravel()
        self.matrix = coo_matrix(
            (np.concatenate([slopes[:, :, 0].ravel(), slopes[:, :, 1].ravel(), -np.ones(n * edges)]),
             (np.concatenate([rows, rows, rows]),
              np.concatenate([np.zeros(n * edges), np.ones(n * edges), 2 + rows // edges]))),
            shape=(n * edges, n + 2)).tocsc()
        self.milliseconds = 0
        self.solves = 0

    def best(self, factor1, factor2):
        cost = np.concatenate([[0, 0], factor1 * self.weights[:, 0] + factor2 * self.weights[:, 1]])
        start = time.process_time()
        result = linprog(cost, A_ub=self.matrix, b_ub=self.right, bounds=(None, None), method="highs-ds")
        self.milliseconds += 1e3 * (time.process_time() - start)
        self.solves += 1
        return tuple(self.weights.T @ result.x[2:])

    def curve(self):
        first, last = self.best(1, 1e-6), self.best(1e-6, 1)
        return [first] + self.between(first, last) + [last]

    def between(self, a, b):
        factor1, factor2 = a[1] - b[1], b[0] - a[0]
        if factor1 <= 0 or factor2 <= 0:
            return []
        c = self.best(factor1, factor2)
        chord = factor1 * a[0] + factor2 * a[1]
        if factor1 * c[0] + factor2 * c[1] > chord - 1e-9 * abs(chord):
            return []
        return self.between(a, c) + [c] + self.between(c, b)


def main():
    timer = sys.argv[1]
    print(f"{'':12} sites gauges | pieces efficient_set us a piece  verify | corners in HiGHS solves dichotomy  ratio")
    for kind, sites, vertices, gauges, seed, peer in CASES:
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "program.txt")
            out = subprocess.check_output(
                [timer, kind, str(sites), str(vertices), str(gauges), str(seed), path], text=True).split()
            corners, pieces, own, check = int(out[0]), int(out[1]), float(out[2]), float(out[3])
            assert out[4] == "1"
            line = f"{kind:12} {sites:5} {gauges:6} | {pieces:6} {own:13.2f} {1e3 * own / pieces:10.2f} {check:7.0f} |"
            if peer:
                programs = Programs(path)
                curve = programs.curve()
                own_curve = np.array(out[5:], dtype=float).reshape(-1, 2)
                worst = max(min(np.abs(own_curve - np.array(c)).max(axis=1)) / max(c) for c in curve)
                if worst > 1e-6:
                    print(f"  a corner of HiGHS is {worst:.1e} off")
                line += (f" {len(curve):4} of {corners:4} {programs.solves:9} {programs.milliseconds:9.0f}"
                         f" {programs.milliseconds / own:6.0f}")
            print(line, flush=True)


if __name__ == "__main__":
    main()
