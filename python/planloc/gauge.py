"""Gauges: distances by their unit balls.

>>> from planloc import gauge
>>> gauge.octagon()(3, 4)
5.242640687119284
>>> gauge.parse("lp:1.5") == gauge.lp(1.5)
True
"""

from __future__ import annotations

import math
import os
from collections.abc import Callable, Mapping
from dataclasses import dataclass
from functools import cached_property
from typing import Any

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc.checks import array, count, limit, number

__all__ = [
    "Gauge", "euclid", "l1", "linf", "lp", "octagon", "parse", "polygon", "read", "regular",
    "speeds",
]  # fmt: skip


@dataclass(frozen=True)
class Gauge:
    """A distance from the origin: the least r for which a place lies in r times the unit ball.

    Attributes
    ----------
    name : str
        `polyhedral`, `euclidean` or `lp`.
    p : float
        The exponent of `lp`.
    vertices : tuple of (x, y)
        Those of a polyhedral unit ball, counterclockwise.
    """

    name: str
    p: float = 0.0
    vertices: tuple[tuple[float, float], ...] = ()

    @cached_property
    def core(self) -> _core.Gauge:
        """What the compiled half takes."""
        if self.name == "euclidean":
            return _core.Gauge.euclidean()
        if self.name == "lp":
            return _core.Gauge.lp(self.p)
        return _core.Gauge.polyhedral(np.array(self.vertices, float).reshape(-1, 2))

    def __call__(self, x: float, y: float) -> float:
        return self.core(number("x", x), number("y", y))

    def __getstate__(self) -> tuple[str, float, tuple[tuple[float, float], ...]]:
        return self.name, self.p, self.vertices

    def __setstate__(self, state: tuple[str, float, tuple[tuple[float, float], ...]]) -> None:
        self.__dict__.update(zip(("name", "p", "vertices"), state, strict=True))

    def boundary(self, corners: int = 128) -> npt.NDArray[np.float64]:
        """The unit ball as a polygon: its vertices, or `corners` places around a smooth one."""
        if self.vertices:
            return np.array(self.vertices)
        angle = np.linspace(0.0, 2.0 * math.pi, count("corners", corners), endpoint=False)
        places = np.column_stack([np.cos(angle), np.sin(angle)])
        lengths = np.array([self(x, y) for x, y in places])
        return np.divide(places, lengths[:, np.newaxis])


def _of(core: _core.Gauge) -> Gauge:
    vertices = tuple((float(x), float(y)) for x, y in core.vertices)
    return Gauge(core.kind, core.p if core.kind == "lp" else 0.0, vertices)


def polygon(vertices: npt.ArrayLike) -> Gauge:
    """The gauge whose unit ball is this convex polygon around the origin, in either sense.

    Raises
    ------
    ValueError
        If the polygon is not convex or does not hold the origin in its interior.
    """
    return _of(_core.Gauge.polyhedral(array("vertices", vertices)))


def _direction(k: int, n: int) -> tuple[float, float]:
    """The k-th of n directions that divide the turn evenly, the first to the east: symmetric to the
    axes and diagonals, without the rounding of multiples of pi."""
    octant, rest = divmod(8 * k, n)
    odd = octant % 2 == 1
    share = (n - rest if odd else rest) / n
    c, s = math.cos(share * math.pi / 4), math.sin(share * math.pi / 4)
    if share == 1:
        c = s = math.sqrt(0.5)
    turned = [(c, s), (s, c), (-s, c), (-c, s), (-c, -s), (-s, -c), (s, -c), (c, -s)]
    x, y = turned[octant % 8]
    return x + 0.0, y + 0.0  # no -0


def regular(n: int) -> Gauge:
    """The regular polygon with n vertices at distance 1, the first at (1, 0)."""
    corners = count("n", n, least=3, most=10_000)
    return polygon([_direction(k, corners) for k in range(corners)])


def octagon() -> Gauge:
    """The regular octagon with its vertices at distance 1 on axes and diagonals."""
    return regular(8)


def l1() -> Gauge:
    """|x| + |y|: a grid of streets."""
    return _of(_core.Gauge.l1())


def linf() -> Gauge:
    """The larger of |x| and |y|: a crane with a motor for each direction."""
    return _of(_core.Gauge.linf())


def euclid() -> Gauge:
    """The straight-line distance."""
    return _of(_core.Gauge.euclidean())


def lp(p: float) -> Gauge:
    """(|x|^p + |y|^p)^(1/p), p from 1 on, infinity included."""
    return _of(_core.Gauge.lp(number("p", p)))


_COMPASS = ("E", "ENE", "NE", "NNE", "N", "NNW", "NW", "WNW",
            "W", "WSW", "SW", "SSW", "S", "SSE", "SE", "ESE")  # fmt: skip


def _hull(points: list[tuple[float, float]]) -> list[tuple[float, float]]:
    """The convex hull, counterclockwise, by Andrew's chains (1979)."""

    def chain(ordered: list[tuple[float, float]]) -> list[tuple[float, float]]:
        kept: list[tuple[float, float]] = []
        for p in ordered:
            while len(kept) > 1 and (
                (kept[-1][0] - kept[-2][0]) * (p[1] - kept[-2][1])
                <= (kept[-1][1] - kept[-2][1]) * (p[0] - kept[-2][0])
            ):
                kept.pop()
            kept.append(p)
        return kept[:-1]

    return chain(sorted(points)) + chain(sorted(points, reverse=True))


def speeds(by_direction: Mapping[str, float]) -> Gauge:
    """Travel times, from the speed in each of some directions of the compass.

    Between two directions given, a way of both is taken; a direction slower than such a way does
    not count.

    Raises
    ------
    ValueError
        If a direction is unknown, a speed is not positive, or there is no way back.

    Examples
    --------
    >>> from planloc import gauge
    >>> gauge.speeds({"E": 100, "N": 50, "W": 100, "S": 50})(200, 0)
    2.0
    """
    if not isinstance(by_direction, Mapping):
        raise ValueError("speeds needs a mapping from directions to speeds")
    reached = []
    for direction, speed in by_direction.items():
        if direction not in _COMPASS or not limit("speed", speed) > 0:
            raise ValueError(
                f"speed {direction}={speed}: directions are {', '.join(_COMPASS)}, and speeds "
                "above 0"
            )
        x, y = _direction(_COMPASS.index(direction), len(_COMPASS))
        reached.append((x * float(speed), y * float(speed)))
    hull = _hull(reached)
    if len(hull) < 3:
        raise ValueError("give speeds to at least three directions that surround the start")
    return polygon(hull)


def read(file: str | os.PathLike[str]) -> list[Gauge]:
    """The gauges of a gauge file of the project.

    Raises
    ------
    ValueError
        With the place in the file, if something is wrong in it.
    """
    with open(file, encoding="utf-8", errors="surrogateescape") as text:
        balls, findings = _core.read_gauge_text(text.read())
    if findings:
        line, column, message = findings[0]
        raise ValueError(f"{os.fspath(file)}:{line}:{column}: {message}")
    return [polygon(vertices) for vertices in balls]


_NAMED: dict[str, Callable[[], Gauge]] = {
    "l1": l1,
    "linf": linf,
    "euclid": euclid,
    "euclidean": euclid,
    "l2": euclid,
    "octagon": octagon,
}


def _speeds_of(text: str) -> Gauge:
    by_direction: dict[str, float] = {}
    for part in text.split(","):
        direction, _, speed = (field.strip() for field in part.partition("="))
        if direction in by_direction:
            raise ValueError(f"the speed to the {direction} is given twice")
        by_direction[direction] = number(f"speed {direction}", speed)
    return speeds(by_direction)


def _regular_of(text: str) -> Gauge:
    corners: Any = int(text) if text.isdecimal() else text
    return regular(corners)


_WITH_NUMBERS: dict[str, tuple[str, Callable[[str], Gauge]]] = {
    "lp": ("lp:P", lambda text: lp(number("p", text))),
    "regular": ("regular:N", _regular_of),
    "speed": ("speed:E=60,N=30,...", _speeds_of),
}


def parse(text: str) -> Gauge:
    """What the tool's option `--gauge` takes: `l1`, `linf`, `euclid`, `octagon`, `lp:1.5`,
    `regular:12`, `speed:E=60,N=30,W=60,S=30`. Files are for `read`.

    Raises
    ------
    ValueError
        If there is no such gauge.
    """
    name, colon, rest = text.partition(":") if isinstance(text, str) else ("", "", "")
    if name in _NAMED and not colon:
        return _NAMED[name]()
    if name not in _WITH_NUMBERS:
        known = ", ".join(["l1", "linf", "euclid", "octagon", *(f for f, _ in _WITH_NUMBERS.values())])
        raise ValueError(f"unknown gauge {text!r}: one of {known}")
    form, make = _WITH_NUMBERS[name]
    try:
        return make(rest)
    except ValueError as error:
        raise ValueError(f"gauge {text!r}: must be {form}: {error}") from None
