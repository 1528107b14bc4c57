"""The rows of the benchmarks. A row is one call of planloc and what a user would pick instead, on the same input.

A contestant is the name that contest.cpp has for it, "py ..." for one of peers.py, or "R ucminf".
"""
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


LINEAR_PROGRAMS = ["CLP dual", "CLP primal", "py HiGHS simplex", "py HiGHS interior point"]

ROWS = [
    *[Row(f"convex-{kind}", f"Certified {kind}", "minimise", LINEAR_PROGRAMS, [100, 300, 1000, 3000],
          "8 vertices, 10 gauges. The linear program has a row for each edge of each gauge; the peers' times leave "
          "out its building.", quick=2, seeds=3)
      for kind in ("median", "centre", "k-centrum", "cent-dian")],
    Row("euclidean-centre", "Certified Euclidean centre", "minimise", ["CGAL"], [100, 1000, 10000, 100000, 1000000],
        "Equal weights, sites in a square; CGAL's `Min_sphere_of_spheres_d` on plain doubles.", quick=4),
    Row("l2-max", "`l2_max` with equal weights", "l2_max", ["CGAL"], [100, 1000, 10000, 100000, 1000000],
        "The same sites and the same peer.", quick=4, tolerance=1e-5),
    Row("hull", "Convex hull", "CONVEX_HULL", ["CGAL"], [100, 1000, 10000, 100000, 1000000],
        "Points in a square; CGAL's `convex_hull_2` with exact predicates.", what="points", quick=4),
    Row("location-file", "Reading a location file", "read_locations", ["strtod"], [100, 1000, 10000, 100000],
        "Three numbers and a name a line, from memory; the peer is a loop of `strtod` that skips the names and keeps "
        "nothing.", what="records"),
]
