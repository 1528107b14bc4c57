"""Location problems: sites, weights, gauges, order weights, regions."""

from __future__ import annotations

import os
from collections.abc import Sequence
from dataclasses import InitVar, dataclass, field
from typing import Any, TypeAlias, Union

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc import gauge as gauges_of_plane
from planloc import geo
from planloc import order as orders
from planloc.checks import array, counts, number
from planloc.gauge import Gauge
from planloc.order import Order
from planloc.region import Region, as_region

GaugeLike: TypeAlias = Union[str, Gauge, Sequence[Union[str, Gauge]]]
OrderLike: TypeAlias = Union[str, Order, npt.ArrayLike]


def _as_gauge(given: Any) -> Gauge:
    if isinstance(given, str):
        return gauges_of_plane.parse(given)
    if not isinstance(given, Gauge):
        raise ValueError(f"{given!r} is no gauge: see planloc.gauge")
    return given


def as_gauges(gauge: GaugeLike) -> list[Gauge]:
    """The gauges that are meant, by name, those of a file, or as they are."""
    given: Any = gauge
    if isinstance(gauge, str):
        try:
            return [gauges_of_plane.parse(gauge)]
        except ValueError:
            if not os.path.isfile(gauge):
                raise
            return gauges_of_plane.read(gauge)
    if isinstance(gauge, Gauge) or not np.iterable(gauge):
        given = [gauge]
    return [_as_gauge(g) for g in given]


def as_order(objective: OrderLike) -> Order:
    """The order weights that are meant, by name, as they are or as numbers."""
    if isinstance(objective, str):
        return orders.parse(objective)
    return objective if isinstance(objective, Order) else orders.given(objective)


def as_numbers(given: npt.ArrayLike | None, n: int) -> npt.NDArray[np.uint32]:
    """The gauge numbers of n sites; all 0 if none are given."""
    return np.zeros(n, np.uint32) if given is None else counts("gauge_column", given, np.uint32)


def as_places(sites: Any) -> tuple[npt.NDArray[np.float64], geo.Frame | None]:
    """The coordinates of an array or a frame, and where those of a frame come from."""
    if geo.is_frame(sites):
        return geo.read(sites)
    places = array("sites", sites)
    if not places.size:
        return np.empty((0, 2)), None
    if places.ndim != 2 or places.shape[1] != 2:
        raise ValueError(f"sites needs an array of shape (n, 2), not {places.shape}")
    return places, None


def as_column(sites: Any, name: str, given: Any) -> Any:
    """An array as it is, or the column of the frame that is named."""
    if not isinstance(given, str):
        return given
    if not geo.is_frame(sites):
        raise ValueError(f"{name} is the column {given!r}, but sites is not a GeoDataFrame")
    if given not in sites.columns:
        raise ValueError(f"{name} is the column {given!r}, which the frame does not have")
    return sites[given].to_numpy()


@dataclass(frozen=True, eq=False, repr=False)
class Problem:
    """A location problem with one new facility.

    The distance of site i at a place x is weight[i] times the gauge of (x - sites[i]). The sorted
    distances, each times its order weight, are added up.

    Arrays of float64 in C order are read where they are; a problem keeps numbers of its own, which
    `sites`, `weight` and `gauge_column` show without a copy.

    Parameters
    ----------
    sites : array of shape (n, 2), or GeoDataFrame of points
        Longitude and latitude are projected, around the middle of the sites, to metres.
    weight : array of shape (n,), or a column of the frame, optional
        Positive; 1 if left out.
    gauge : str, Gauge, or a sequence of them
        See `planloc.gauge`; also the name of a gauge file.
    gauge_column : array of shape (n,), or a column of the frame, optional
        The number of each site's gauge among `gauge`, from 0; all 0 if left out.
    objective : str, Order or array of shape (n,)
        See `planloc.order`; an array holds the order weights.
    order_weights : array of shape (n,), optional
        In place of `objective`: the order weights, that of the smallest distance first.
    allow, forbid : polygons, optional
        Build nowhere but in, and nowhere inside: corners of shape (k, 2), a list of such polygons, a
        list of polygons as lists of rings (an outer one and holes), polygons of Shapely, or a
        GeoDataFrame. What has no reference system of its own is in that of `sites`. Borders may be
        built on.

    Raises
    ------
    ValueError
        If there is no site, a weight is not positive, a gauge is not convex around the origin, the
        order weights do not fit the number of sites, or a ring crosses itself. The text says which.

    Examples
    --------
    >>> import planloc
    >>> p = planloc.Problem([(0, 0), (4, 0), (1, 3)], objective="centre", gauge="l1")
    >>> p.value(1, 1), p.distances(1, 1)
    (4.0, array([2., 4., 2.]))
    """

    sites: npt.ArrayLike
    weight: npt.ArrayLike | str | None = None
    gauge: GaugeLike = "euclid"
    gauge_column: npt.ArrayLike | str | None = None
    objective: OrderLike = "median"
    order_weights: InitVar[npt.ArrayLike | None] = None
    allow: Any = None
    forbid: Any = None
    core: _core.Problem = field(init=False, repr=False)
    frame: geo.Frame | None = field(default=None, init=False)

    def __post_init__(self, order_weights: npt.ArrayLike | None) -> None:
        objective: OrderLike = self.objective
        if order_weights is not None:
            if not isinstance(objective, str) or objective != "median":
                raise ValueError("objective and order_weights say the same: give one of them")
            objective = order_weights
        sites, frame = as_places(self.sites)
        n = len(sites)
        weight = as_column(self.sites, "weight", self.weight)
        chosen = as_column(self.sites, "gauge_column", self.gauge_column)
        self._set(
            sites,
            np.ones(n) if weight is None else array("weight", weight),
            tuple(as_gauges(self.gauge)),
            as_numbers(chosen, n),
            as_order(objective),
            None if self.allow is None else as_region(self.allow, frame),
            () if self.forbid is None else as_region(self.forbid, frame),
            frame,
        )

    @classmethod
    def of(cls, sites: Any, **given: Any) -> Problem:
        """The problem itself, or one of these sites.

        Raises
        ------
        ValueError
            If something is given that a problem has already.
        """
        if not isinstance(sites, cls):
            return cls(sites, **given)
        for name, value in given.items():
            if value is not cls.__dict__[name]:
                raise ValueError(f"{name} is given, but the problem has its own")
        return sites

    def _set(
        self,
        sites: npt.NDArray[np.float64],
        weight: npt.NDArray[np.float64],
        gauge: tuple[Gauge, ...],
        gauge_column: npt.NDArray[np.uint32],
        objective: Order,
        allow: Region | None,
        forbid: Region,
        frame: geo.Frame | None,
    ) -> None:
        core = _core.Problem(
            sites, weight, gauge_column, [g.core for g in gauge], objective.core(), allow, forbid
        )
        self.__dict__.update(
            sites=core.positions, weight=core.weights[:, 0], gauge=gauge,
            gauge_column=core.gauge_of[:, 0], objective=objective, allow=allow, forbid=forbid,
            core=core, frame=frame,
        )  # fmt: skip

    def __len__(self) -> int:
        return len(self.core)

    def __getstate__(self) -> tuple[Any, ...]:
        return (self.sites, self.weight, self.gauge, self.gauge_column, self.objective, self.allow,
                self.forbid, self.frame)  # fmt: skip

    def __setstate__(self, state: tuple[Any, ...]) -> None:
        if not isinstance(state, tuple) or len(state) != 8:
            raise ValueError(
                "a Problem was pickled by a version of planloc that "
                f"{_core.__version__} cannot read"
            )
        self._set(*state)

    def __repr__(self) -> str:
        assert isinstance(self.gauge, tuple) and isinstance(self.objective, Order)
        gauges = ", ".join(sorted({g.name for g in self.gauge if isinstance(g, Gauge)}))
        within = ", with regions" if self.allow is not None or self.forbid else ""
        return f"Problem({len(self)} sites, {self.objective}, {gauges}{within})"

    def value(self, x: float, y: float) -> float:
        """The objective at (x, y)."""
        return self.core.value(number("x", x), number("y", y))

    def distances(self, x: float, y: float) -> npt.NDArray[np.float64]:
        """The weighted distance of every site at (x, y)."""
        return self.core.distances(number("x", x), number("y", y))
