"""docs/performance.md and its plots from the measured rows."""
import json
import math
import os
import re
import statistics

from measure import median_of

INTRODUCTION = """# Performance

Measured, not claimed: `scripts/bench` installs the peers, builds and runs every row and writes this page from
`bench/results/`. `scripts/bench ROW...` measures single rows, `scripts/bench --quick` looks at small sizes and
writes nothing.

A row is one call of planloc and what a user would pick instead, each in a process of its own on the same input. They
take turns, five to nine times, fewer where a call takes more than half a second (**turns** has the numbers), and
times are CPU milliseconds of one call (threads of a peer add up), medians. The **ratio** is that of the fastest
peer's time to ours in the same turn: its median, and in brackets its quartiles; above 1 planloc is faster. Where a
row says *instances*, median and quartiles are those of the instances. **Growth** is the exponent e of the line time =
c n^e through the medians, and of memory alike. **Memory** is how far the process rose above its size with the input
made, that of the peer which is fastest at the largest size. Whoever takes more than 5 s for a call, planloc too,
leaves the row (> 5,000); in the ratios that instance counts as 5 s. A dash stands where a contestant was not called,
since it had left at a smaller size or its time there foretold it. The values must agree; what did not is said below
the table.
"""


PATIENCE = 5000.0  # milliseconds, at least, of a contestant that left


def one_each(instances):
    """The numbers of the repetitions, or of several instances the median of each."""
    return instances[0] if len(instances) == 1 else [median_of(found) for found in instances]


def instances_of(found):
    """The times of each instance; one that the contestant left counts as its patience."""
    if not any(found["ms"]):
        return []
    return [times or [PATIENCE] for times in found["ms"]]


def times_of(entry, name):
    found = entry["contestants"].get(name)
    return one_each(instances_of(found)) if found and any(found["ms"]) else []


def time_text(entry, name):
    """The median, and how many of the instances ended where not all did."""
    found = entry["contestants"].get(name)
    if not found:
        return "–"
    ended, asked = sum(map(bool, found["ms"])), len(found["ms"])
    if not ended:
        return "> 5,000" if any("more than" in reason for reason in found["left"]) else "–"
    middle = median_of(times_of(entry, name))
    text = "> 5,000" if middle >= PATIENCE else number(middle)
    return text if ended == asked else f"{text} ({ended} of {asked})"


def best_peer(row, entry):
    timed = [name for name in row.peers if times_of(entry, name) and times_of(entry, row.ours)]
    return min(timed, key=lambda name: median_of(times_of(entry, name)), default=None)


def turn_by_turn(row, entry, peer):
    """The ratios of each instance that not both have left."""
    own, other = (instances_of(entry["contestants"][name]) for name in (row.ours, peer))
    return [[b / a for a, b in zip(mine, its)] for mine, its in zip(own, other)
            if [PATIENCE] not in (mine, its) or mine != its]


def turns(row, entry):
    """How many turns the ratio of an instance rests on."""
    peer = best_peer(row, entry)
    if peer is None:
        return "–"
    counts = [len(found) for found in turn_by_turn(row, entry, peer)]
    return f"{min(counts)}" if min(counts) == max(counts) else f"{min(counts)}–{max(counts)}"


def ratio(row, entry):
    """Quartiles and median of the best peer's time over ours, turn by turn."""
    peer = best_peer(row, entry)
    if peer is None:
        return None
    ratios = one_each(turn_by_turn(row, entry, peer))
    if len(ratios) < 2:
        return (ratios[0],) * 3 if ratios else None
    low, middle, high = statistics.quantiles(ratios, n=4, method="inclusive")
    return low, middle, high


def exponent(row, result, name):
    return slope([(e["size"], median_of(times_of(e, name))) for e in result["sizes"] if times_of(e, name)])


def memory_exponent(result, name):
    return slope([(e["size"], e["contestants"][name]["memory"]) for e in result["sizes"]
                  if memory_text(e, name) not in NO_MEMORY])


def slope(points):
    if len(points) < 2:
        return None
    return statistics.linear_regression(*([math.log(number) for number in axis] for axis in zip(*points))).slope


def number(x):
    if x is None or math.isnan(x):
        return "–"
    if x >= 100:
        return f"{x:,.0f}"
    return f"{x:.3g}" if x >= 0.1 else f"{x:.2g}" if x >= 1e-3 else f"{x:.1e}"


def ratio_text(found):
    if found is None:
        return "–"
    low, middle, high = (number(x) for x in found)
    return middle if low == high else f"{middle} ({low}–{high})"


def size_text(size):
    return f"{size:,}"


NO_MEMORY = ("–", "< 0.1")


def memory_text(entry, name):
    if not times_of(entry, name):
        return NO_MEMORY[0]
    used = entry["contestants"][name]["memory"]
    return f"{used / 1048576:.1f}" if used >= 52429 else NO_MEMORY[1]


def shown(name):
    return re.sub("^(py|R) ", "", name)


FEWEST_SIZES_OF_GROWTH = 3  # a line through two says nothing


def growth_text(found):
    return "–" if found is None else f"n^{found:.2f}"


def cells(row, result):
    """The table of a row: its head and lines, as texts."""
    names = [name for name in [row.ours] + row.also + row.peers if any(times_of(e, name) for e in result["sizes"])]
    peer = next((best_peer(row, e) for e in reversed(result["sizes"]) if best_peer(row, e)), None)
    remembered = [row.ours] + ([peer] if peer else [])
    yield [row.what, *map(shown, names), "ratio", "turns", *(f"memory of {shown(n)}, MB" for n in remembered)]
    for e in result["sizes"]:
        yield [size_text(e["size"]), *(time_text(e, name) for name in names), ratio_text(ratio(row, e)), turns(row, e),
               *(memory_text(e, name) for name in remembered)]
    yield ["growth", *(growth_text(exponent(row, result, n)) for n in names), "", "",
           *(growth_text(memory_exponent(result, n)) for n in remembered)]


def text_table(row, result):
    lines = list(cells(row, result))
    if len(result["sizes"]) < FEWEST_SIZES_OF_GROWTH:
        lines.pop()
    widths = [max(len(line[k]) for line in lines) for k in range(len(lines[0]))]
    return "\n".join("  " + "  ".join(text.rjust(width) for text, width in zip(line, widths)) for line in lines)


def markdown_table(lines):
    head, *rest = lines
    texts = [head, ["---"] * len(head), *rest]
    return "\n".join("| " + " | ".join(line) + " |" for line in texts) + "\n"


def largest_for_both(row, result):
    return next((e for e in reversed(result["sizes"]) if best_peer(row, e)), None)


def behind(measured):
    """A line for each row in which a peer is faster at the largest size that both have done."""
    for row, result in measured:
        e = largest_for_both(row, result)
        if e and ratio(row, e)[1] < 1:
            yield (f"  {row.name}, {size_text(e['size'])} {row.what}: {ratio_text(ratio(row, e))} to "
                   f"{shown(best_peer(row, e))}")


def summary(measured):
    yield ["row", "largest size for both", "ratio", "growth", "growth of the peer"]
    for row, result in measured:
        e = largest_for_both(row, result)
        if not e:
            continue
        peer = best_peer(row, e)
        own, other = (exponent(row, result, name) for name in (row.ours, peer))
        yield [f"[{row.title}](#{row.name})", f"{size_text(e['size'])} {row.what}",
               f"{ratio_text(ratio(row, e))} to {shown(peer)}", f"{own:.2f}" if own else "–",
               f"{other:.2f}" if other else "–"]


NO_REASON = "not known yet"


def where_behind(measured):
    """The table of all sizes at which the fastest peer is faster, and why."""
    yield ["row", "ratio", "peer", "why"]
    said = None
    for row, result in measured:
        slower = [e for e in result["sizes"] if best_peer(row, e) and ratio(row, e)[1] < 1]
        if not slower:
            continue
        ratios = ", ".join(f"{number(ratio(row, e)[1])} at {size_text(e['size'])}" for e in slower)
        peers = ", ".join(dict.fromkeys(shown(best_peer(row, e)) for e in slower))
        why = row.why_behind or NO_REASON
        yield [f"[{row.title}](#{row.name})", ratios, peers, "As above." if why == said else why]
        said = why


WHERE_BEHIND = """
## Where a peer is faster

All sizes at which the median of the ratio is below 1.
"""


# ----- Plots -----

COLOURS = ["#c02020", "#2060c0", "#208040", "#a06000", "#7040a0", "#606060"]
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 590, 300, 64, 180, 14, 42


def plot(row, result):
    """Time against size on logarithmic axes, a line for each contestant."""
    lines = {name: [(e["size"], median_of(times_of(e, name))) for e in result["sizes"] if times_of(e, name)]
             for name in [row.ours] + row.also + row.peers}
    lines = {name: line for name, line in lines.items() if line}
    xs = [math.log10(x) for line in lines.values() for x, _ in line]
    ys = [math.log10(y) for line in lines.values() for _, y in line]
    x0, x1 = min(xs), max(max(xs), min(xs) + 0.1)
    heights = levels(10 ** min(ys), 10 ** max(ys))
    y0, y1 = math.log10(heights[0]), math.log10(heights[-1])
    across = lambda x: LEFT + (math.log10(x) - x0) / (x1 - x0) * (WIDTH - LEFT - RIGHT)
    up = lambda y: HEIGHT - BOTTOM - (math.log10(y) - y0) / (y1 - y0) * (HEIGHT - TOP - BOTTOM)
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" font-family="sans-serif" '
           f'font-size="12"><title>{row.title}: milliseconds against {row.what}</title>',
           f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>']
    for height in heights:
        y = up(height)
        out.append(f'<path d="M{LEFT} {y:.1f}H{WIDTH - RIGHT}" stroke="#ddd"/>'
                   f'<text x="{LEFT - 6}" y="{y + 4:.1f}" text-anchor="end">{duration(height)}</text>')
    free = -math.inf  # where the last label ends
    for size in sorted({size for line in lines.values() for size, _ in line}):
        x, half = across(size), 3.5 * len(size_text(size))
        out.append(f'<path d="M{x:.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#ddd"/>')
        if x - half > free:
            free = x + half + 3
            out.append(f'<text x="{x:.1f}" y="{HEIGHT - BOTTOM + 19}" text-anchor="middle">{size_text(size)}</text>')
    out.append(f'<text x="{(LEFT + WIDTH - RIGHT) / 2}" y="{HEIGHT - 6}" text-anchor="middle">{row.what}</text>')
    labels = []
    for (name, line), colour in zip(lines.items(), COLOURS):
        points = " ".join(f"{across(x):.1f},{up(y):.1f}" for x, y in line)
        out.append(f'<polyline points="{points}" fill="none" stroke="{colour}" '
                   f'stroke-width="{2.5 if name == row.ours else 1.5}"/>')
        out += [f'<circle cx="{across(x):.1f}" cy="{up(y):.1f}" r="3" fill="{colour}"/>' for x, y in line]
        labels.append([up(line[-1][1]), shown(name), colour])
    out += placed(labels)
    return "\n".join(out) + "\n</svg>\n"


def levels(low, high):
    """Round numbers around low to high: powers of ten; over less than two decades 1, 2 and 5 times these."""
    steps = (1,) if high > 100 * low else (1, 2, 5)
    every = [k * 10.0 ** p for p in range(-9, 9) for k in steps]
    first = max(i for i, x in enumerate(every) if x <= low)
    last = min(i for i, x in enumerate(every) if x >= high and i > first)
    return every[first:last + 1]


def duration(milliseconds):
    unit, factor = (("ns", 1e6) if milliseconds < 0.99e-3 else ("µs", 1e3) if milliseconds < 0.99 else
                    ("ms", 1) if milliseconds < 990 else ("s", 1e-3))
    return f"{milliseconds * factor:g} {unit}"


def placed(labels):
    """The names at the right edge, moved apart."""
    last = -math.inf
    for y, name, colour in sorted(labels):
        last = max(y, last + 15)
        yield f'<text x="{WIDTH - RIGHT + 10}" y="{last + 4:.1f}" fill="{colour}">{name}</text>'


# ----- The page -----

def dumped(result):
    """JSON with a line for each contestant at a size."""
    sizes = []
    for e in result["sizes"]:
        lines = ",\n   ".join(f"{json.dumps(name)}: {json.dumps(found)}" for name, found in e["contestants"].items())
        sizes.append(f'  {{"size": {e["size"]}, "contestants": {{\n   {lines}}}}}')
    rest = ",\n ".join(f'"{key}": {json.dumps(result[key])}' for key in ("row", "machine", "complaints"))
    return f'{{{rest},\n "sizes": [\n' + ",\n".join(sizes) + "\n ]}\n"


def loaded(rows, folder):
    for row in rows:
        path = os.path.join(folder, row.name + ".json")
        if os.path.exists(path):
            with open(path) as text:
                yield row, json.load(text)


def section(row, result):
    yield f'\n## {row.title}<a id="{row.name}"></a>\n'
    instances = f" {row.seeds} instances." if row.seeds > 1 else ""
    yield f"`{row.name}`. {row.about}{instances}\n"
    yield markdown_table(list(cells(row, result)))
    for line in result["complaints"]:
        yield f"Not in agreement: {line}.\n"
    yield f"![{row.title}](performance/{row.name}.svg)\n"


def write(rows, results, docs):
    measured = list(loaded(rows, results))
    machines = sorted({f"{m['processor']}, {m['cores']} cores, {m['compiler']}"
                       for m in (result["machine"] for _, result in measured)})
    parts = [INTRODUCTION, "Measured on " + "; ".join(machines) + ".\n", markdown_table(list(summary(measured))),
             WHERE_BEHIND, markdown_table(list(where_behind(measured)))]
    os.makedirs(os.path.join(docs, "performance"), exist_ok=True)
    for row, result in measured:
        parts += section(row, result)
        with open(os.path.join(docs, "performance", row.name + ".svg"), "w") as out:
            out.write(plot(row, result))
    with open(os.path.join(docs, "performance.md"), "w") as out:
        out.write("\n".join(parts))
