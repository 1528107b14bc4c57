#!/usr/bin/env python3
"""minimise for tied facilities beside HiGHS's simplex and interior point through SciPy (package
python3-scipy), on the same instances in one run.

    bench/tied.py build/bench/bench/tied_timer

CPU milliseconds of the solves without the building of the programs; medians over the seeds. The ratio is
that of the better of the two to minimise. Simplex is left out where it takes minutes. The whole run takes
under a minute of CPU time.
"""
import os
import statistics
import subprocess
import sys
import tempfile

from optimum import highs

SEEDS = [1, 2, 3]
ROWS = [("l1", 10, 1000, True), ("polyhedral", 5, 100, True), ("polyhedral", 10, 1000, False),
        ("polyhedral", 20, 1000, False), ("euclidean", 10, 1000, False), ("euclidean", 50, 200, False)]


def peers(path, value, with_simplex):
    times = []
    for method in ["highs-ipm"] + ["highs-ds"] * with_simplex:
        time, other = highs(path, method)
        if abs(other - value) > 1e-6 * abs(value):
            print(f"  {method}: {other} beside {value}")
        times.append(time)
    return times


def main():
    timer = sys.argv[1]
    print(f"{'':24} to 1e-6  minimise    verify  proved gap  interior point   simplex   ratio")
    for kind, facilities, sites, with_simplex in ROWS:
        own, other = [], []
        for seed in SEEDS:
            with tempfile.TemporaryDirectory() as folder:
                path = os.path.join(folder, "program.txt")
                arguments = [timer, kind, str(facilities), str(sites), str(seed), path]
                numbers = subprocess.check_output(arguments, text=True).split()
                value, coarse, time, checked, gap, _ = map(float, numbers)
                own.append((coarse, time, checked, gap))
                if kind != "euclidean":
                    other.append(peers(path, value, with_simplex))
        coarse, time, checked, gap = [statistics.median(column) for column in zip(*own)]
        line = f"{kind:10} {facilities:3} x {sites:5}  {coarse:8.2f}  {time:8.2f}  {checked:8.1f}  {gap:10.1e}"
        if other:
            medians = [statistics.median(column) for column in zip(*other)]
            shown = "".join(f"{m:14.0f}" for m in medians) + (" " * 14 if len(medians) == 1 else "")
            line += f"  {shown}  {min(medians) / time:6.0f}"
        print(line)


if __name__ == "__main__":
    main()
