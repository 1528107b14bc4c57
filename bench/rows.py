"""The rows of the benchmarks. A row is one call of planloc and what a user would pick instead, on the same input.

A contestant is the name that contest.cpp has for it, "py ..." for one of peers.py, or "R ucminf".
"""
import math
from dataclasses import dataclass, field


@dataclass
class Row:
    name: str
    title: str
    ours: str
    peers: list
    sizes: list
    about: str = ""  # for the page: what is compared, and where a peer is better and why
    what: str = "sites"  # what is counted by the size
    quick: int = 3  # how many of the sizes a quick run takes
    seeds: int = 1  # instances a size
    tolerance: float = 1e-6  # relative, between the values
    may_be_worse: bool = False  # of peers that do not find the optimum
    known: dict = field(default_factory=dict)  # published values by size
    argument: str = ""  # of the peers in Python and R
    needs: list = field(default_factory=list)  # targets of the build beside `contest`
    # Shown beside it and not counted as peers: more of ours, or what solves another problem.
    also: list = field(default_factory=list)
    why_behind: str = ""  # where a peer is faster


LINEAR_PROGRAMS = ["CLP dual", "CLP primal", "py HiGHS simplex", "py HiGHS interior point"]
TIED_PROGRAMS = ["py HiGHS simplex", "py HiGHS interior point"]
PUBLISHED = {2: 135.5222, 3: 105.2139, 4: 84.1536, 5: 72.2369, 6: 60.9713, 7: 54.5020, 8: 49.9393, 9: 45.6884,
             10: 41.6851, 15: 27.6282, 20: 19.3560, 25: 13.3016}
GENERAL = [("trimmed-mean", "trimmed mean", "A quarter left out at each end."),
           ("anti-centrum", "anti-centrum", "The nearer half."),
           ("range", "range", "The largest distance less the smallest."),
           ("order-statistic", "order statistic", "The middle distance."),
           ("random", "optimum, any order weights", "Order weights in (0, 1).")]
# The programs of the peers look at a square around the sites, outside of which three may have their least range.
GENERAL_SIZES = {"range": [4, 5, 7, 10, 20, 50, 100, 300, 1000]}
DECADES = [100, 1000, 10000, 100000, 1000000]
TURNS = " Small inputs come in several instances that calls take in turns, or the processor learns their branches."

CERTIFIED = [
    *[Row(f"convex-{kind}", f"Certified {kind}", "minimise", LINEAR_PROGRAMS, [100, 300, 1000, 3000],
          "8 vertices, 10 gauges. The linear program has a row for each edge of each gauge; the peers' times leave "
          "out its building.", quick=2, seeds=3)
      for kind in ("median", "centre", "k-centrum", "cent-dian")],
    *[Row(f"general-{kind}", f"Certified {title}", "minimise", ["CBC", "py HiGHS mixed-integer"],
          GENERAL_SIZES.get(kind, [3, 4, 5, 7, 10, 20, 50, 100, 300, 1000]),
          f"{about} 8 vertices, 3 gauges, gap 0; the peers solve the mixed-integer program to a gap of 1e-9.",
          quick=2, seeds=2, tolerance=1e-5)
      for kind, title, about in GENERAL],
]

EUCLIDEAN = [
    Row("weber", "Certified Weber point", "minimise", ["R ucminf", "py NumPy Weiszfeld", "py SciPy minimize"],
        [10, 100, 1000, 10000, 100000],
        "Euclidean distances, weights in 0.5 to 1.5. The peers begin at the centre of gravity; Weiszfeld's iteration "
        "ends at a step of 1e-6, the other two use the gradient. None of them proves anything. From the mean, minimise "
        "expands the sum three to four times; a square root and a division, two at a time, are 0.8 of an expansion, "
        "and finding the mean takes 0.6 of one.", argument="2"),
    Row("lp-median", "Certified lp median, p = 1.5", "minimise",
        ["R ucminf", "py NumPy Weiszfeld", "py SciPy minimize"],
        [10, 100, 1000, 10000],
        "The same with lp distances: Newton's method from the optimum of a sample, two powers a site and step, of "
        "which one is a square root at this p. Where p is near 1 the optimum often lies straight above or beside a "
        "site; cutting planes then take forty evaluations.",
        argument="1.5", quick=2),
    Row("l2-sum", "`l2_sum`", "l2_sum", ["R ucminf", "py NumPy Weiszfeld", "py SciPy minimize"],
        [10, 100, 1000, 10000, 100000],
        "Stated steps to 1e-6, each a root and three divisions a site, several sites at a time. The returned value is "
        "defined by the C library's power function, which is asked where its rounding is not "
        "certain.", argument="2", quick=2),
    Row("lp-sum", "`lp_sum`, p = 3", "lp_sum", ["R ucminf", "py SciPy minimize"],
        [10, 100, 1000, 3000, 10000],
        "Stated steps. Of its tests of all sites those are made whose outcome a few tangents of the sum leave open. "
        "The steps state five powers a site: *powers alone* is a loop of the C library's, and nothing else. For p = 3 "
        "we make them from square and cube roots, several sites at a time, and ask the library where its rounding is "
        "not certain; for another p the powers are more than half of the time. It takes eleven steps, more than the "
        "certified median of a row above.",
        argument="3", tolerance=1e-3, quick=2, also=["powers alone"],
        why_behind="The stated iteration takes more steps than the peer; at fewer sites the overhead of the peer's "
        "calls hides that."),
    Row("euclidean-centre", "Certified Euclidean centre", "minimise", ["CGAL"], DECADES,
        "Equal weights, sites in a square; CGAL's `Min_sphere_of_spheres_d` on plain doubles." + TURNS,
        quick=4,
        why_behind="Copying the sites and recording the proof take as long as the search; the peer gives the radius "
        "alone."),
    Row("euclidean-centre-ring", "Certified Euclidean centre, sites near a circle", "minimise", ["CGAL"], DECADES,
        "Within a hundredth of the radius, where many sites nearly count. The smallest sizes as above.", quick=4),
    Row("l2-max", "`l2_max` with equal weights", "l2_max", ["CGAL"], DECADES,
        "The sites and the peer of the certified centre." + TURNS, quick=4, tolerance=1e-5,
        why_behind="Half of the time is copying sites from the list, with their weights, and the stated steps, which "
        "exchange one site at a time."),
]

WALK = [
    Row(f"pass-{vertices}", f"A pass of `cellwalk`, {vertices} vertices", "pass", ["CLP"], [10, 50, 200, 1000, 2000],
        "The peer is CLP's bare solve (presolve, dual simplex) of the same cell: what a pass cannot do without. A pass "
        "builds the model, solves, reads the values, computes exact distances, sorts and draws. Both contestants keep "
        "freed memory, as `cellwalk` does: giving CLP's models back to the system and taking them again would be a "
        "quarter to a half of the time of ten sites.",
        why_behind="Of the instructions of ten sites under octagons the bare solve is 0.53; 0.28 are CLP's, too: its "
        "model with its table of messages, and a second solve, unscaled, by which the solution is that of the basis to "
        "all digits. Expressions and rows are 0.13, printed numbers 0.03, distances 0.03. From some thousand sites on "
        "the difference is a few percent either way.")
    for vertices in (4, 8, 16)]

SHARED_ENDS = " It leaves out points where segments only end, so the counts differ."
GEOMETRY = [
    Row("gauge-distance", "Exact gauge distance", "filtered", ["big integers", "fractions"], [4, 8, 16, 32, 64],
        "256 distances: the ray from a facility through a point, cut with the ball. Filtered asks doubles first; the "
        "peers use big integers, or GMP's fractions, for every edge.", what="vertices"),
    *[Row(f"crossings-{kind}", f"Crossings: {about}", "SEGMENT_INTERSECTION", ["CGAL"], sizes,
          "CGAL's surface sweep with its lazy exact kernel." + ends, what="segments", quick=2,
          tolerance=math.inf if ends else 0)
      for kind, about, sizes, ends in [("short", "short segments", [1000, 10000, 30000, 100000], ""),
                                 ("fans", "fans of eight long segments", [80, 240, 480, 1200], SHARED_ENDS),
                                 ("lattice", "fans on a lattice, overlapping", [80, 240, 480, 1200],
                                  SHARED_ENDS)]],
    *[Row(f"arrangement-{kind}", f"Arrangement: {about}", "SWEEP_SEGMENTS", ["CGAL"], sizes,
          "CGAL's `Arrangement_2` with its lazy exact kernel.", what="segments", quick=2)
      for kind, about, sizes in [("short", "short segments", [1000, 10000, 30000, 100000]),
                                 ("fans", "fans of eight long segments", [80, 240, 480, 1200]),
                                 ("lattice", "fans on a lattice, overlapping", [80, 240, 480, 1200])]],
    Row("hull", "Convex hull", "CONVEX_HULL", ["CGAL"], DECADES,
        "Points in a square; CGAL's `convex_hull_2` with exact predicates. A quarter of our time at a hundred points "
        "is the random numbers of the shuffle that decides which vertex stands first; CGAL does not shuffle." + TURNS,
        what="points", quick=4),
]

FACILITIES = [
    Row("l1-sum", "`l1_sum`", "l1_sum", ["std::sort"], DECADES,
        "The peer sorts both coordinates and does nothing else. Where one median is clear, we select it by weight in "
        "time n, and copying the sites and the sum of distances are most of the time. Ties, such as an even number of "
        "equal weights, are sorted by stated exchanges and take three to six times as long." + TURNS, quick=4),
    *[Row(f"gauge-sum{suffix}", f"`gauge_sum`{about}", "gauge_sum", ["CLP dual", "CLP primal"],
          [25, 100, 400, 1600], "The whole optimal set; the peer finds one optimum of one linear program, with "
          f"presolve. {gauges}", tolerance=1e-6)
      for suffix, about, gauges in [("", "", "Five octagons turned by any angle."),
                                    ("-lattice", " on a lattice", "One octagon with the directions of a queen.")]],
    Row("gauge-max", "`gauge_max`", "gauge_max", ["CLP dual"], [3, 5, 10, 20, 50, 100],
        "A random octagon for each site. Where a problem ends in the second phase (some half of them), stated steps "
        "look for medians among the contacts of all triples of edges, 83 million at a hundred sites, which one linear "
        "program does without: it computes each of them once, of which the division alone, four at a time, is 0.4, and "
        "a second time where a sample did not tell which are near the medians. The steps may end above the optimum "
        "(docs/solvers.md), so the values are not compared.",
        seeds=15, quick=4, tolerance=math.inf,
        why_behind="With fewer than six sites the steps look at ten times as many contacts of pairs. The second phase "
        "is slower than the linear program from ten sites on, the lower quartile: to divide once for each triple of "
        "edges would alone take eight times as long as the program at a hundred sites."),
    Row("n-l1-sum", "`N_l1_sum`, 3 facilities", "N_l1_sum", ["lp_solve"], [50, 100, 200, 800, 2000],
        "The peer is lp_solve's bare solves of both coordinates, on a model that stands already.", quick=2,
        why_behind="The peer's time leaves out what has to be done: building the program."),
    Row("n-linf-max", "`N_linf_max`, 3 facilities", "N_linf_max", ["lp_solve"], [50, 200, 800, 2000],
        "As above.", quick=2,
        why_behind="As above: of the instructions at 200 sites 0.93 are lp_solve's solves, 0.06 its calls that take "
        "the program, 0.01 ours; the system's time for its memory comes on top."),
]

FILES_AND_MODELS = [
    Row("location-file", "Reading a location file", "read_locations", ["strtod"], [100, 1000, 10000, 100000],
        "Three numbers and a name a line, from memory; the peer is a loop of `strtod` that skips the names and keeps "
        "nothing. We also check every character, and make locations and texts, whose memory is half of our time. "
        "Records with a comment go by the scanner's table of states and take twice as long.", what="records",
        why_behind="Level with the loop, give or take a few percent."),
    Row("gauge-file", "Reading a gauge file", "read_polygauge_list", ["strtod"], [100, 1000, 10000, 100000],
        "Octagons, two numbers a line, from memory, beside the same loop. We also check every character and every "
        "ball, and make gauges with their cones.", what="gauges",
        why_behind="Half of the instructions make the gauges: 0.16 the hull that tells whether a ball is convex, the "
        "rest its cones, their angles and the memory of both; 0.17 are the scanner, 0.16 the conversion of numbers."),
    Row("modelling", "The modelling layer", "expressions", ["arrays by hand", "CoinModel", "CLP addRow"],
        [1000, 10000, 30000, 100000],
        "Three terms a row, through expressions and up to where CLP could solve, beside the same by hand: arrays that "
        "grow and are loaded once; `CoinModel`, CLP's own modelling tool, which finds entries again by row and column; "
        "and `addRow`, a row at a time into the solver, whose time grows with the square of the rows. Rows appended to "
        "a matrix with room for them and arrays that stand already are the floor.", what="rows", quick=2,
        also=["CoinPackedMatrix", "CLP at once"],
        why_behind="A row of the model is five nodes that stay and of which equal ones are one object, a constraint, "
        "and two arrays of its terms, some 500 bytes and 2,500 instructions: what arrays do without. Of the "
        "instructions at 1,000 rows the nodes are 0.23, reading a row from them 0.15, its columns and the buffer of "
        "rows 0.19, the objective 0.07, handing it all to CLP 0.18. At 100,000 rows a third of the time is the system "
        "giving out zeroed memory, which takes now once, now three times as long, and the rest waits for the memory of "
        "variables, which rows meet in any order. The solve that follows takes some twenty times as long."),
    Row("tool", "`planloc solve` on a table", "py planloc solve", ["py ogrinfo -al"], [100, 1000, 10000, 100000],
        "From CSV to the answer and the table of the sites; the peer reads and prints the table. Whole processes, with "
        "their start, and their whole memory.", what="rows of the table", quick=2, needs=["planloc_tool"],
        why_behind="At a hundred rows `planloc --version` takes 0.97 of the time, and `ogrinfo --version` as much of "
        "the peer's: the loader binds GDAL's 114 libraries, for us also twelve of the library that draws maps, three "
        "of exact numbers and the LU factors, and five of the window that `--show` opens. Without the window "
        "(`PLANLOC_WINDOW=OFF`) the tool takes 0.98 of the time, so loading that on demand would not draw level."),
    Row("scenarios", "Scenarios in Python", "py planloc.scenarios", ["C++ loop"], [100, 1000, 10_000, 30_000],
        "The median of 100 sites under an octagon with other weights a scenario, on one thread; the peer is the same "
        "loop in C++.", what="scenarios", tolerance=1e-12, needs=["planloc_python"],
        why_behind="A call costs by itself as much as two scenarios, and its first ten scenarios take 1.4 times as "
        "long as later ones: it begins on a thread of its own, so that it can be interrupted."),
]

SEVERAL = [
    *[Row(f"efficient-{kind}", f"Efficient set, weights {about}", "efficient_set", ["py HiGHS dichotomy"], sizes,
          "Polyhedral, 10 gauges. Dichotomy: a linear program for each corner of the trade-off curve and each edge. "
          f"{pieces} The optimum that the walk begins at and the sorting of all rays, which come before, take as "
          "long as 60 pieces at 200 sites, 240 at 1000 and 1,350 at 5000.",
          quick=1)
      for kind, about, sizes, pieces in [
          ("independent", "independent", [10, 20, 50, 200, 1000, 5000],
           "In three instances each the chains have 17 to 53 pieces at 200 sites, 47 to 77 at 1000, 41 to 225 at 5000."),
          ("apart", "apart", [10, 20, 35, 50, 200, 1000],
           "In three instances each the chains have 453 to 519 pieces at 200 sites, 2373 to 2515 at 1000.")]],
    Row("regions", "Median with 20 forbidden hexagons", "minimise", ["CBC", "py HiGHS mixed-integer"],
        [25, 50, 100, 1000, 10000], "One of them around the free optimum.", quick=2, seeds=3),
    *[Row(f"regions-{kind}", f"Certified {title}, 20 forbidden hexagons", "minimise",
          ["CBC", "py HiGHS mixed-integer"], GENERAL_SIZES.get(kind, [3, 4, 5, 7, 10, 20, 50, 100, 300, 1000]),
          f"{about} 8 vertices, 3 gauges, gap 0; one of the hexagons is around the free optimum.", quick=1, seeds=2,
          tolerance=1e-5)
      for kind, title, about in GENERAL],
    Row("tied-l1", "10 tied facilities, l1", "minimise", TIED_PROGRAMS, [30, 100, 300, 1000],
        "Every two are tied.", quick=2, seeds=2),
    Row("tied-polyhedral", "5 tied facilities, polyhedral", "minimise", TIED_PROGRAMS, [30, 100, 300, 1000],
        "8 vertices, 3 gauges.", quick=2, seeds=2),
    Row("tied-many", "20 tied facilities, polyhedral", "minimise", TIED_PROGRAMS, [30, 100, 300, 1000],
        "As above.", quick=1, seeds=2),
    Row("tied-euclidean", "10 tied facilities, Euclidean", "minimise", ["py SciPy L-BFGS"], [30, 100, 300, 1000],
        "To a proved gap of 1e-6; the peer smooths the distances, begins at the centres of gravity and proves "
        "nothing.", quick=3, seeds=2, tolerance=2e-6, may_be_worse=True),
    Row("allocation-published", "Location-allocation, the published optima of Eilon's 50 sites", "allocate",
        ["py NumPy alternation"], list(PUBLISHED),
        "The size is the number of facilities. `allocate` with 8 starts; with a bound proved to 2e-5. Alternation of "
        "30 starts does not find the optimum as a rule. HiGHS at sites solves another problem, in which facilities "
        "stand at sites: its value is 1 to 2 % above the optimum in the plane, whatever time it is given, so it is no "
        "peer of the ratio; for 50 sites its program is done two to four times sooner than eight starts of the search.",
        what="facilities", quick=2, may_be_worse=True, known=PUBLISHED, argument="30",
        also=["allocate with a bound", "py HiGHS at sites"]),
    Row("allocation", "Location-allocation, a facility for 20 sites", "allocate",
        ["py NumPy alternation"], [50, 100, 200, 400, 1000],
        "As above; the bound to 1e-3.", quick=2, may_be_worse=True, argument="30",
        also=["allocate with a bound", "py HiGHS at sites"]),
]

ROWS = CERTIFIED + EUCLIDEAN + WALK + GEOMETRY + FACILITIES + FILES_AND_MODELS + SEVERAL
