#!/usr/bin/env python3
"""l2_sum and minimise beside what else a user could take for the same facilities, in one run: Weiszfeld's
iteration in NumPy, and R's ucminf with the gradient. Needs the packages named in README.md.

    bench/euclidean_sum.py build/bench/bench/euclidean_sum_timer

Each time is the least of several calls, without the start of a program and the reading of the data.
The ratios are the other's time over that of l2_sum and of minimise.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import time

import numpy as np

EPS = 1e-6

R_SCRIPT = """
library(ucminf)
args <- commandArgs(TRUE)
s <- as.matrix(read.table(args[1])); x <- s[, 1]; y <- s[, 2]; w <- s[, 3]
f <- function(p) sum(w * sqrt((p[1] - x)^2 + (p[2] - y)^2))
g <- function(p) { q <- w / sqrt((p[1] - x)^2 + (p[2] - y)^2)
                   c(sum(q * (p[1] - x)), sum(q * (p[2] - y))) }
start <- c(sum(w * x), sum(w * y)) / sum(w)
calls <- max(10, 200000 / length(x))  # the clock counts milliseconds
least <- Inf
for (i in seq_len(as.integer(args[2]))) {
  t <- system.time(for (j in seq_len(calls)) r <- ucminf(start, f, g))[["elapsed"]] / floor(calls)
  least <- min(least, t)
}
cat(sprintf("%.9g %.17g %.17g %.17g\\n", least, r$par[1], r$par[2], r$value))
"""


def weiszfeld(x, y, w, eps):
    """The textbook: no test of the facilities, no guard."""
    px, py = np.average(x, weights=w), np.average(y, weights=w)
    while True:
        q = w / np.sqrt((px - x) ** 2 + (py - y) ** 2)
        total = q.sum()
        nx, ny = (q * x).sum() / total, (q * y).sum() / total
        step = np.hypot(nx - px, ny - py)
        px, py = nx, ny
        if step < eps:
            return px, py, (w * np.sqrt((px - x) ** 2 + (py - y) ** 2)).sum()


def numbers(command):
    return [float(t) for t in subprocess.check_output(command, text=True).split()]


def numpy_run(path, repeats):
    x, y, w = np.loadtxt(path, unpack=True)
    least = np.inf
    for _ in range(repeats):
        start = time.perf_counter()
        result = weiszfeld(x, y, w, EPS)
        least = min(least, time.perf_counter() - start)
    return [least, *result]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    timer = sys.argv[1]
    rscript = shutil.which("Rscript")
    random = np.random.default_rng(7)
    print(f"{'n':>8} {'who':>12} {'time':>12} {'l2_sum':>7} {'minim.':>7} {'value':>22}")
    with tempfile.TemporaryDirectory() as folder:
        script = os.path.join(folder, "ucminf.R")
        with open(script, "w") as out:
            out.write(R_SCRIPT)
        for n in (8, 100, 1000, 10000, 100000):
            path = os.path.join(folder, f"sites{n}.txt")
            np.savetxt(path, np.column_stack([random.uniform(0, 1000, (n, 2)),
                                              random.uniform(0.5, 1.5, n)]), fmt="%.17g")
            repeats = 200 if n <= 1000 else 20
            runs = {"l2_sum": numbers([timer, path, str(EPS), str(repeats)]),
                    "minimise": numbers([timer, path, "0", str(repeats)]),
                    "NumPy": numpy_run(path, repeats)}
            if rscript:
                runs["R ucminf"] = numbers([rscript, script, path, str(min(repeats, 20))])
            for who, (seconds, _, _, value) in runs.items():
                ratios = [seconds / runs[own][0] for own in ("l2_sum", "minimise")]
                print(f"{n:>8} {who:>12} {seconds * 1e6:>9.1f} us {ratios[0]:>7.1f} {ratios[1]:>7.1f} {value:>22.12f}")
    if not rscript:
        print("no Rscript: ucminf left out")


if __name__ == "__main__":
    main()
