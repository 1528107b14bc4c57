#!/usr/bin/env python3
"""The benchmarks behind scripts/bench; its --help says how to call them. results/ holds what was measured, a file a
row; docs/performance.md and its plots are written from these files alone."""
import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time

import measure
import page
from rows import ROWS

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
RESULTS = os.path.join(HERE, "results")


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", description="Measures planloc beside its peers and writes "
                                     "docs/performance.md.")
    parser.add_argument("rows", nargs="*", metavar="ROW", help="rows to measure (default: all)")
    parser.add_argument("--quick", action="store_true", help="small sizes, few repetitions; prints, writes nothing; "
                        "without the rows of the tool and of Python, unless they are named")
    parser.add_argument("--write", action="store_true", help="only write the page from what was measured before")
    parser.add_argument("--list", action="store_true", help="list the rows")
    parser.add_argument("--targets", action="store_true", help="list the targets of the build that the rows need")
    parser.add_argument("--build", default=os.path.join(ROOT, "build", "bench"), help=argparse.SUPPRESS)
    return parser.parse_args()


class Programs:
    """The commands of contestants."""

    def __init__(self, build, folder):
        self.contest = os.path.join(build, "bench", "contest")
        self.folder = folder
        self.r = shutil.which("Rscript")
        os.environ["PLANLOC_BUILD"] = build
        listed = subprocess.check_output([self.contest], text=True).split("\n")
        self.known = {tuple(line.split(" ", 1)) for line in listed if line}

    def available(self, row):
        names = set()
        for name in [row.ours] + row.also + row.peers:
            if name.startswith("py ") or name == "R ucminf" and self.r or (row.name, name) in self.known:
                names.add(name)
            else:
                print(f"{row.name}: {name} is not there, left out", file=sys.stderr)
        return names

    def command(self, row):
        def of(name, size, seed):
            if name.startswith("py "):
                return [sys.executable, os.path.join(HERE, "peers.py"), name[3:], self.exported(row, size, seed),
                        row.argument]
            if name == "R ucminf":
                return [self.r, os.path.join(HERE, "ucminf.R"), self.exported(row, size, seed), row.argument]
            return [self.contest, row.name, name, str(size), str(seed)]
        return of

    def exported(self, row, size, seed):
        path = os.path.join(self.folder, f"{row.name}-{size}-{seed}")
        if not os.path.exists(path):
            for old in os.listdir(self.folder):
                os.remove(os.path.join(self.folder, old))
            with open(path, "w") as out:
                subprocess.run([self.contest, row.name, "export", str(size), str(seed)], stdout=out, check=True)
        return path


def measure_rows(rows, options):
    effort = measure.Effort(options.quick)
    measured = []
    print("CPU milliseconds of one call, medians over the turns. ratio: the fastest peer's time to ours, with its "
          "quartiles; above 1 planloc is faster.\n")
    with tempfile.TemporaryDirectory() as folder:
        programs = Programs(options.build, folder)
        for row in rows:
            start = time.monotonic()
            if options.quick:
                row.sizes = row.sizes[:row.quick]
            result = measure.run_row(row, programs.command(row), programs.available(row), effort)
            print(f"{row.title.replace('`', '')} ({row.name}, {time.monotonic() - start:.0f} s)")
            print(page.text_table(row, result), flush=True)
            measured.append((row, result))
            if not options.quick:
                result["machine"] = measure.machine()
                save(result)
    behind = list(page.behind(measured))
    print("\nA peer is faster in:" if behind else "\nNo peer is faster.", *behind, sep="\n")


def save(result):
    os.makedirs(RESULTS, exist_ok=True)
    with open(os.path.join(RESULTS, result["row"] + ".json"), "w") as out:
        out.write(page.dumped(result))


def main():
    options = arguments()
    known = {row.name: row for row in ROWS}
    unknown = [name for name in options.rows if name not in known]
    if unknown:
        sys.exit(f"no row {', '.join(unknown)}; scripts/bench --list names them")
    chosen = [known[name] for name in options.rows] or [row for row in ROWS if not (options.quick and row.needs)]
    if options.targets:
        print(*dict.fromkeys(["contest"] + [target for row in chosen for target in row.needs]))
        return
    if options.list:
        for row in ROWS:
            print(f"{row.name:20} {row.title}: {row.ours} beside {', '.join(row.peers)}")
        return
    if not options.write:
        measure_rows(chosen, options)
    if not options.quick:
        page.write(ROWS, RESULTS, os.path.join(ROOT, "docs"))


if __name__ == "__main__":
    main()
