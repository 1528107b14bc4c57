#!/usr/bin/env python3
"""Contestants in Python: HiGHS, NumPy, SciPy, and whole programs. As contest.cpp, for measure.py:

    peers.py contestant file argument

where the file is what `contest` exports, and the argument that of the row.
"""
import ctypes
import math
import os
import resource
import subprocess
import sys
import time

import numpy as np
from scipy.optimize import Bounds, LinearConstraint, linprog, milp, minimize
from scipy.sparse import coo_matrix, csr_matrix

UNBOUNDED = 1e300
BUILD = os.environ.get("PLANLOC_BUILD", "build/bench")

# ----- Linear and mixed-integer programs -----


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


def highs(method):
    def make(path, _):
        cost, matrix, right, low, high, _ = read_program(path)
        bounds = np.column_stack([low, high])
        return lambda: linprog(cost, A_ub=-matrix, b_ub=-right, bounds=bounds, method=method).fun
    return make


def highs_milp(path, _):
    cost, matrix, right, low, high, integrality = read_program(path)
    rows = LinearConstraint(matrix, right, np.inf)
    return lambda: milp(cost, constraints=rows, bounds=Bounds(low, high), integrality=integrality,
                        options={"mip_rel_gap": 1e-9}).fun


# ----- Sums of weighted distances -----


def weiszfeld(path, p):
    """The textbook, for p from 1 to 2: no test of the facilities, no guard."""
    p = float(p)
    x, y, w = np.loadtxt(path, unpack=True)

    def pulls(px, py):
        if p == 2:
            q = w / np.sqrt((px - x) ** 2 + (py - y) ** 2)
            return q, q
        across, up = np.abs(px - x), np.abs(py - y)
        far = (across ** p + up ** p) ** ((p - 1) / p)
        return w * across ** (p - 2) / far, w * up ** (p - 2) / far

    def value(px, py):
        if p == 2:
            return (w * np.sqrt((px - x) ** 2 + (py - y) ** 2)).sum()
        return (w * (np.abs(px - x) ** p + np.abs(py - y) ** p) ** (1 / p)).sum()

    def solve():
        px, py = np.average(x, weights=w), np.average(y, weights=w)
        while True:
            q, r = pulls(px, py)
            nx, ny = (q * x).sum() / q.sum(), (r * y).sum() / r.sum()
            step = math.hypot(nx - px, ny - py)
            px, py = nx, ny
            if step < 1e-6:
                return value(px, py)
    return solve


def scipy_minimize(path, p):
    """BFGS with the gradient, from the centre of gravity."""
    p = float(p)
    x, y, w = np.loadtxt(path, unpack=True)
    start = np.array([np.average(x, weights=w), np.average(y, weights=w)])

    def value_and_gradient(at):
        dx, dy = at[0] - x, at[1] - y
        if p == 2:
            d = np.sqrt(dx ** 2 + dy ** 2)
            q = w / d
            return (w * d).sum(), np.array([(q * dx).sum(), (q * dy).sum()])
        sums = np.abs(dx) ** p + np.abs(dy) ** p
        q = w * sums ** (1 / p - 1)
        return ((w * sums ** (1 / p)).sum(),
                np.array([(q * np.sign(dx) * np.abs(dx) ** (p - 1)).sum(),
                          (q * np.sign(dy) * np.abs(dy) ** (p - 1)).sum()]))
    return lambda: minimize(value_and_gradient, start, jac=True, method="BFGS").fun


# ----- Efficient sets -----


class Dichotomy:
    """minimise (1 - t) f_1 + t f_2 over x, y and one distance a site, for each corner of the trade-off curve and
    each of its edges."""

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

    def best(self, factor1, factor2):
        cost = np.concatenate([[0, 0], factor1 * self.weights[:, 0] + factor2 * self.weights[:, 1]])
        result = linprog(cost, A_ub=self.matrix, b_ub=self.right, bounds=(None, None), method="highs-ds")
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


def dichotomy(path, _):
    programs = Dichotomy(path)
    return lambda: min(a + b for a, b in programs.curve())


# ----- Many variants -----


def scenarios(path, _):
    sys.path.insert(0, os.path.join(BUILD, "python"))
    import planloc
    with open(path) as lines:
        sites = np.loadtxt(lines, max_rows=100)
        weights = np.loadtxt(lines, ndmin=2)
    problem = planloc.Problem(sites, gauge="octagon")
    return lambda: planloc.scenarios(problem, {"weight": weights}, threads=1).values.sum()


# ----- Several facilities -----


def tied_newton(path, _):
    """Euclidean distances smoothed by 1e-6, L-BFGS with the gradient, from the centre of gravity."""
    with open(path) as lines:
        count, n = map(int, next(lines).split())
        sites = np.loadtxt(lines, max_rows=n)
        weights = np.loadtxt(lines, max_rows=count, ndmin=2)
        ties = np.loadtxt(lines, ndmin=2)
    first, second, strength = ties[:, 0].astype(int), ties[:, 1].astype(int), ties[:, 2]

    def value_and_gradient(flat):
        x = flat.reshape(count, 2)
        to_sites = x[:, None, :] - sites[None, :, :]
        d = np.sqrt((to_sites ** 2).sum(axis=2) + 1e-12)
        between = x[first] - x[second]
        e = np.sqrt((between ** 2).sum(axis=1) + 1e-12)
        gradient = ((weights / d)[:, :, None] * to_sites).sum(axis=1)
        pull = (strength / e)[:, None] * between
        np.add.at(gradient, first, pull)
        np.add.at(gradient, second, -pull)
        return (weights * d).sum() + (strength * e).sum(), gradient.ravel()
    start = np.concatenate([np.average(sites, axis=0, weights=w) for w in weights])
    return lambda: minimize(value_and_gradient, start, jac=True, method="L-BFGS-B",
                            options={"maxiter": 1000, "ftol": 1e-12, "gtol": 1e-6}).fun


def read_sites(path):
    data = np.loadtxt(path)
    return int(data[0, 0]), data[1:]


def distances(sites, places):
    return np.hypot(sites[:, None, 0] - places[None, :, 0], sites[:, None, 1] - places[None, :, 1])


def alternate(sites, count, random):
    """Cooper 1964, each place by Weiszfeld's steps."""
    places = sites[random.choice(len(sites), count, replace=False)].copy()
    value = np.inf
    while True:
        far = distances(sites, places)
        nearest = far.argmin(axis=1)
        total = far.min(axis=1).sum()
        if total > value * (1 - 1e-9):
            return total
        value = total
        for k in range(count):
            own = sites[nearest == k]
            for _ in range(30 if len(own) else 0):
                pull = 1 / np.maximum(np.hypot(*(own - places[k]).T), 1e-9)
                places[k] = pull @ own / pull.sum()


def alternation(path, starts):
    count, sites = read_sites(path)

    def solve():
        random = np.random.default_rng(1)
        return min(alternate(sites, count, random) for _ in range(int(starts)))
    return solve


def at_sites(path, _):
    """Facilities at sites only: z_j opens site j, y_ij serves i from it."""
    count, sites = read_sites(path)
    n = len(sites)
    i, j = np.divmod(np.arange(n * n), n)
    y = n + np.arange(n * n)
    matrix = csr_matrix((np.concatenate([np.ones(n * n), np.ones(n * n), -np.ones(n * n), np.ones(n)]),
                         (np.concatenate([i, y, y, np.full(n, n + n * n)]),
                          np.concatenate([y, y, j, np.arange(n)]))), shape=(n + n * n + 1, n + n * n))
    rows = LinearConstraint(matrix, np.concatenate([np.ones(n), np.full(n * n, -np.inf), [count]]),
                            np.concatenate([np.ones(n), np.zeros(n * n), [count]]))
    cost = np.concatenate([np.zeros(n), distances(sites, sites).ravel()])
    integers = np.concatenate([np.ones(n), np.zeros(n * n)])
    return lambda: milp(cost, constraints=rows, bounds=Bounds(0, 1), integrality=integers).fun


# ----- Whole programs: their own CPU time and peak size -----


def table(path):
    """The sites as a table with a header."""
    name = path + ".csv"
    with open(path) as sites, open(name, "w") as out:
        out.write("x,y,weight\n")
        out.writelines(line.replace(" ", ",") for line in sites)
    return name


def program(command):
    def make(path, _):
        arguments = [part.replace("TABLE", table(path)) for part in command]
        arguments[0] = arguments[0].replace("BUILD", BUILD)

        def run():
            subprocess.run(arguments, stdout=subprocess.DEVNULL, check=True)
            return math.nan
        run.children = True
        return run
    return make


PEERS = {
    "HiGHS simplex": highs("highs-ds"),
    "HiGHS interior point": highs("highs-ipm"),
    "HiGHS mixed-integer": highs_milp,
    "planloc.scenarios": scenarios,
    "NumPy Weiszfeld": weiszfeld,
    "SciPy minimize": scipy_minimize,
    "HiGHS dichotomy": dichotomy,
    "SciPy L-BFGS": tied_newton,
    "NumPy alternation": alternation,
    "HiGHS at sites": at_sites,
    "planloc solve": program(["BUILD/tools/planloc/planloc", "solve", "TABLE", "--x", "x", "--y", "y", "--weight",
                              "weight"]),
    "ogrinfo -al": program(["ogrinfo", "-al", "TABLE"]),
}


def cpu_seconds(of_children):
    if not of_children:
        return time.process_time()
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def main():
    name, path, argument = sys.argv[1:]
    call = PEERS[name](path, argument)
    of_children = hasattr(call, "children")
    ctypes.CDLL(None).malloc_trim(0)
    print("ready", flush=True)
    for line in sys.stdin:
        count = int(line)
        start = cpu_seconds(of_children)
        for _ in range(count):
            value = call()
        answer = [1e3 * (cpu_seconds(of_children) - start) / count, value]
        if of_children:
            answer.append(1024 * resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)
        print(*answer, flush=True)


if __name__ == "__main__":
    main()
