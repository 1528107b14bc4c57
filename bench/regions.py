#!/usr/bin/env python3
"""minimise with forbidden polygons around the free optimum, beside HiGHS's milp on the same instances in one run.

    bench/regions.py build/bench/bench [seconds]

CPU milliseconds without the building of the programs, medians over the seeds; HiGHS ends after the given seconds
(20) with its gap. Needs python3-scipy.
"""
import os
import statistics
import subprocess
import sys
import tempfile

import optimum

CASES = [(100, 20), (1000, 20), (1000, 500), (10000, 500)]  # sites, polygons
MOST_FOR_MILP = (100, 20)
SEEDS = ["1", "2", "3"]


def main():
    if len(sys.argv) > 2:
        optimum.SECONDS = float(sys.argv[2])
    timer = os.path.join(sys.argv[1], "region_timer")
    print("sites polygons  minimise   of it for the polygons   verify   HiGHS")
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "program.txt")
        for sites, polygons in CASES:
            rows = []
            told = ""
            for seed in SEEDS:
                peer = (sites, polygons) <= MOST_FOR_MILP
                command = [timer, str(sites), "8", str(polygons), seed] + ([path] if peer else [])
                value, within, free, verified, proved = map(float, subprocess.check_output(command).split())
                assert proved == 1
                rows.append((within, within - free, verified))
                if peer:
                    time, found, bound, done = optimum.highs_milp(path)
                    assert not done or abs(found - value) <= 1e-6 * value, (found, value)
                    told += f"  {time:.0f}" if done else f"  {time:.0f} (gap {(found - bound) / found:.0%})"
            within, more, verified = (statistics.median(column) for column in zip(*rows))
            print(f"{sites:5} {polygons:8} {within:9.2f} {more:16.2f} {verified:18.0f}  {told}")


if __name__ == "__main__":
    main()
