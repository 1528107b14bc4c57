#!/usr/bin/env python3
"""allocate beside published optima, alternation from many starts in NumPy, and HiGHS (SciPy's milp) for the
same problem with facilities at sites only. All on the same sites in one run.

    bench/allocation.py build/bench/bench/allocation_timer [sites of the large problem]

CPU milliseconds. Alternation (Cooper 1964, each place by Weiszfeld's steps) gets ten times what allocate took
for its search. The percentages say how much more than allocate's value the others end with. Needs python3-scipy.
"""
import os
import subprocess
import sys
import tempfile
import time

import numpy as np
from scipy.optimize import Bounds, LinearConstraint, milp
from scipy.sparse import csr_matrix

PUBLISHED = {2: 135.5222, 3: 105.2139, 4: 84.1536, 5: 72.2369, 6: 60.9713, 7: 54.5020, 8: 49.9393, 9: 45.6884,
             10: 41.6851, 15: 27.6282, 20: 19.3560, 25: 13.3016}
FIFTY = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "examples", "eilon50.xy")


def run(timer, path, count, starts, gap):
    out = subprocess.check_output([timer, path, str(count), str(starts), str(gap)], text=True)
    value, bound, accepted, milliseconds = map(float, out.split())
    assert accepted == 1
    return value, bound, milliseconds


def distances(sites, places):
    return np.hypot(sites[:, None, 0] - places[None, :, 0], sites[:, None, 1] - places[None, :, 1])


def alternate(sites, count, random):
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


def many_starts(sites, count, milliseconds):
    random = np.random.default_rng(1)
    end = time.process_time() + 1e-3 * milliseconds
    best = alternate(sites, count, random)
    while time.process_time() < end:
        best = min(best, alternate(sites, count, random))
    return best


def at_sites(sites, count):
    """The median problem with facilities at sites: z_j opens site j, y_ij serves i from it."""
    n = len(sites)
    rows, columns, values = [], [], []
    for i in range(n):
        for j in range(n):
            y = n + i * n + j
            rows += [i, n + i * n + j, n + i * n + j]
            columns += [y, y, j]
            values += [1, 1, -1]
    last = n + n * n
    rows += [last] * n
    columns += list(range(n))
    values += [1] * n
    matrix = csr_matrix((values, (rows, columns)), shape=(last + 1, n + n * n))
    low = np.concatenate([np.ones(n), np.full(n * n, -np.inf), [count]])
    high = np.concatenate([np.ones(n), np.zeros(n * n), [count]])
    cost = np.concatenate([np.zeros(n), distances(sites, sites).ravel()])
    start = time.process_time()
    result = milp(cost, constraints=LinearConstraint(matrix, low, high), bounds=Bounds(0, 1),
                  integrality=np.concatenate([np.ones(n), np.zeros(n * n)]))
    return result.fun, 1e3 * (time.process_time() - start)


def main():
    timer = sys.argv[1]
    sites = np.loadtxt(FIFTY)
    print("50 sites, published optima; allocate with 8 starts, and with a bound of gap 2e-5")
    print(f"{'p':>3} {'published':>10} {'allocate':>10} {'ms':>7} {'bound':>10} {'ms':>7} {'alternation':>12} "
          f"{'at sites':>9} {'HiGHS ms':>9}")
    for count, known in PUBLISHED.items():
        value, _, search = run(timer, FIFTY, count, 8, 0)
        certified, bound, with_bound = run(timer, FIFTY, count, 8, 2e-5)
        rival = many_starts(sites, count, 10 * search)
        discrete, highs = at_sites(sites, count)
        print(f"{count:3} {known:10.4f} {value:10.4f} {search:7.1f} {bound:10.4f} {with_bound:7.1f} "
              f"{100 * (rival / value - 1):11.2f}% {100 * (discrete / value - 1):8.2f}% {highs:9.0f}")
    n = int(sys.argv[2]) if len(sys.argv) > 2 else 1000
    large = 1000 * np.random.default_rng(1).random((n, 2))
    print(f"{n} sites at random; the gap is to the bound")
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "sites.xy")
        np.savetxt(path, large, fmt="%.17g")
        for count in (n // 100, n // 20):
            value, _, search = run(timer, path, count, 8, 0)
            rival = many_starts(large, count, min(10 * search, 60000))
            line = f"{count:3} {value:10.2f} {search:7.0f} ms, alternation {100 * (rival / value - 1):.2f}%"
            if count >= n // 20:
                value, bound, with_bound = run(timer, path, count, 8, 1e-4)
                line += f", with a bound {value:.2f} {with_bound:.0f} ms, gap {1 - bound / value:.1e}"
            print(line)


if __name__ == "__main__":
    main()
