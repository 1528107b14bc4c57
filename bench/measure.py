"""Contestants as processes, and the interleaved measuring of a row.

A contestant is a process that makes its input, says "ready", and then answers each line, a number of calls, with the
CPU milliseconds of one call and its value: `contest` (contest.cpp), peers.py, ucminf.R. All contestants of a row
take turns, so that what else the machine does meets all of them alike. Memory is how much the resident size
of the process rose above what it was with its input made; a third number in the answer takes its place.
"""
import math
import os
import select
import statistics
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))


NOTHING = 1e-6  # an optimum of 0 is compared as if it were this
NOT_CALLED = "not called: it left at a smaller size, or its time there foretells that it would"


class TooLong(Exception):
    pass


class Ended(Exception):
    pass


class Contestant:
    def __init__(self, command, patience):
        self.patience = patience
        self.memory = 0
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0)
        self.rest = b""
        line = self.answer(60)
        if line != "ready":
            raise Ended(f"{' '.join(command)}: {line!r} instead of ready")
        with open(f"/proc/{self.process.pid}/clear_refs", "w") as peak:
            peak.write("5")
        self.resident = self.status("VmRSS")

    def status(self, key):
        with open(f"/proc/{self.process.pid}/status") as lines:
            return next(1024 * int(line.split()[1]) for line in lines if line.startswith(key))

    def cpu_seconds(self):
        with open(f"/proc/{self.process.pid}/stat") as line:
            return sum(map(int, line.read().rsplit(")", 1)[1].split()[11:15])) / os.sysconf("SC_CLK_TCK")

    def answer(self, seconds):
        """The next line; TooLong after the given seconds of processor time, or ten times that on the clock."""
        spent, end = self.cpu_seconds(), time.monotonic() + 10 * seconds
        while b"\n" not in self.rest:
            if not select.select([self.process.stdout], [], [], 0.2)[0]:
                if time.monotonic() > end or self.cpu_seconds() - spent > seconds:
                    raise TooLong
                continue
            more = os.read(self.process.stdout.fileno(), 4096)
            if not more:
                raise Ended(f"{' '.join(self.process.args)} ended with status {self.process.wait()}")
            self.rest += more
        line, self.rest = self.rest.split(b"\n", 1)
        return line.decode()

    def call(self, count):
        """CPU milliseconds of one of `count` calls, and the value."""
        self.process.stdin.write(f"{count}\n".encode())
        spent, value, *memory = map(float, self.answer(self.patience).split())
        self.memory = memory[0] if memory else max(0, self.status("VmHWM") - self.resident)
        return spent, value

    def end(self):
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()


def median_of(times):
    return statistics.median(times) if times else math.nan


class Effort:
    """How long a row may take; quick for a look, full for the page."""

    def __init__(self, quick):
        self.quick = quick
        self.repetitions = 5 if quick else 9
        self.least = 1 if quick else 5  # repetitions, whatever they take, but for calls above half a second
        self.batch = 2 if quick else 8  # least CPU milliseconds of a measured batch of calls
        self.patience = 1 if quick else 5  # CPU seconds of one call, above which a contestant leaves
        self.budget = 2 if quick else 5  # CPU seconds of one size


class Race:
    """One size of a row with one seed."""

    def __init__(self, row, size, seed, names, command_of, effort):
        self.row, self.size, self.effort = row, size, effort
        self.times = {name: [] for name in names}
        self.values, self.memory, self.left = {}, {}, {}
        self.running = {}
        self.batch = {}
        for name in names:
            try:
                self.running[name] = Contestant(command_of(name, size, seed), effort.patience)
            except TooLong:
                self.left[name] = "its input took too long"

    def run(self):
        for name in list(self.running):
            self.step(name, self.warm_up)
        before = self.spent()
        for repetition in range(self.effort.repetitions):
            if repetition >= self.effort.least and self.spent() - before > self.effort.budget / self.row.seeds:
                break
            for name in list(self.running):
                self.step(name, self.measure)
        for contestant in self.running.values():
            contestant.end()

    def spent(self):
        return sum(contestant.cpu_seconds() for contestant in self.running.values())

    def step(self, name, what):
        try:
            what(name, self.running[name])
        except TooLong:
            self.times[name] = []
            self.left[name] = f"more than {self.effort.patience} s a call"
            self.running.pop(name).end()
        except Ended as reason:
            if name == self.row.ours:
                raise
            self.left[name] = str(reason)
            print(reason, file=sys.stderr)
            self.running.pop(name).end()

    def warm_up(self, name, contestant):
        spent, self.values[name] = contestant.call(1)
        self.memory[name] = contestant.memory
        if spent > 500:  # the call is the measurement
            self.times[name].append(spent)
            self.batch[name] = 0
            return
        batch = 200 if name.startswith("R ") else self.effort.batch  # R's clock counts ticks
        count = 1
        while spent * count < batch / 8:
            count *= 8
            spent, _ = contestant.call(count)
        self.batch[name] = max(1, round(batch / spent))

    def measure(self, name, contestant):
        count = self.batch[name]
        if count:
            self.times[name].append(contestant.call(count)[0])
        elif len(self.times[name]) * self.times[name][0] < 2000:
            self.times[name].append(contestant.call(1)[0])

    def check(self):
        """Lines about contestants that do not agree with ours."""
        own = self.values.get(self.row.ours)
        if own is None:
            return
        known = self.row.known.get(self.size)
        if known and abs(own - known) > 1e-4:
            yield f"{self.row.name}: {own!r}, published {known!r}"
        for name, value in self.values.items():
            allowed = self.row.tolerance * max(abs(own), NOTHING)
            if not math.isnan(own) and not (abs(value - own) <= allowed or self.row.may_be_worse and value > own):
                yield f"{self.row.name}: {name} found {value!r}, {self.row.ours} {own!r}"


def run_row(row, command_of, available, effort):
    """The measured row as plain data, for results/."""
    names = [name for name in [row.ours] + row.also + row.peers if name in available]
    slow, sizes, complaints = {}, [], []
    for size in row.sizes:
        entry = {name: {"ms": [], "left": [], "memory": 0} for name in names}
        now = [name for name in names if slow.get(name, 0) <= effort.patience]
        for seed in range(1, (1 if effort.quick else row.seeds) + 1):
            race = Race(row, size, seed, now, command_of, effort)
            race.run()
            complaints += race.check()
            for name in names:
                entry[name]["ms"].append([float(f"{t:.4g}") for t in race.times.get(name, [])])
                entry[name]["left"].append(race.left.get(name, "" if name in now else NOT_CALLED))
                entry[name]["memory"] = max(entry[name]["memory"], race.memory.get(name, 0))
        expect_next(row, size, entry, slow)
        sizes.append({"size": size, "contestants": entry})
    for line in dict.fromkeys(complaints):
        print(line, file=sys.stderr)
    return {"row": row.name, "sizes": sizes, "complaints": sorted(set(complaints))}


def expect_next(row, size, entry, slow):
    """Guesses the seconds at the next size, as if time grew with the size; who left does not come back."""
    later = [s for s in row.sizes if s > size]
    for name, found in entry.items():
        times = [t for seed in found["ms"] for t in seed]
        if any(found["left"]):
            slow[name] = math.inf
        elif times and later:
            slow[name] = 1e-3 * median_of(times) * later[0] / size


def machine():
    """What the times were measured on."""
    with open("/proc/cpuinfo") as lines:
        model = next((line.split(":")[1].strip() for line in lines if line.startswith("model name")), "unknown")
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=False).stdout.split("\n")[0]
    return {"processor": model, "cores": os.cpu_count(), "compiler": compiler}
