"""Location problems: sites, weights, gauges, order weights."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass, field
from functools import cached_property
from typing import Any, TypeAlias, Union

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc import gauge as gauges_of_plane
from planloc import geo
from planloc import order as orders
from planloc.gauge import Gauge
from planloc.order import Order

GaugeLike: TypeAlias = Union[str, Gauge, Sequence[Union[str, Gauge]]]
OrderLike: TypeAlias = Union[str, Order, npt.ArrayLike]


def as_gauges(gauge: GaugeLike) -> list[Gauge]:
    """The gauges that are meant, by name or as they are."""
    given = [gauge] if isinstance(gauge, (str, Gauge)) else list(gauge)
    return [gauges_of_plane.parse(g) if isinstance(g, str) else g for g in given]


def as_order(objective: OrderLike) -> Order:
    """The order weights that are meant, by name, as they are or as numbers."""
    if isinstance(objective, str):
        return orders.parse(objective)
    return objective if isinstance(objective, Order) else orders.given(objective)


def as_numbers(values: npt.ArrayLike, n: int) -> npt.NDArray[np.uint32]:
    """The gauge numbers of n sites."""
    numbers = np.asarray(values)
    if numbers.shape != (n,) or numbers.dtype.kind not in "iu" or (numbers < 0).any():
        raise ValueError(f"gauge_of has to hold a number from 0 on for each of {n} sites")
    return np.ascontiguousarray(numbers, np.uint32)


def as_places(sites: Any) -> tuple[npt.NDArray[np.float64], geo.Frame | None]:
    """The coordinates of an array or a frame, and where those of a frame come from."""
    if geo.is_frame(sites):
        return geo.read(sites)
    return np.ascontiguousarray(sites, float).reshape(-1, 2), None


def as_column(sites: Any, name: str, given: Any) -> Any:
    """An array as it is, or the column of the frame that is named."""
    if not isinstance(given, str):
        return given
    if not geo.is_frame(sites):
        raise ValueError(f"{name} is the column {given!r}, but sites is not a GeoDataFrame")
    if given not in sites.columns:
        raise ValueError(f"{name} is the column {given!r}, which the frame does not have")
    return sites[given].to_numpy()


@dataclass(frozen=True, eq=False)
class Problem:
    """A location problem with one new facility.

    The distance of site i at a place x is weight[i] times the gauge of (x - sites[i]). The sorted
    distances, each times its order weight, are added up.

    Parameters
    ----------
    sites : array of shape (n, 2), or GeoDataFrame of points
        Longitude and latitude are projected, around the middle of the sites, to metres.
    weight : array of shape (n,), or a column of the frame, optional
        Positive; 1 if left out.
    gauge : str, Gauge, or a sequence of them
        See `planloc.gauge`.
    gauge_of : array of shape (n,), or a column of the frame, optional
        The number of each site's gauge among `gauge`, from 0; all 0 if left out.
    objective : str, Order or array of shape (n,)
        See `planloc.order`; an array holds the order weights.

    Raises
    ------
    ValueError
        If there is no site, a weight is not positive, a gauge is not convex around the origin, or
        the order weights do not fit the number of sites. The text says which.
    """

    sites: npt.ArrayLike
    weight: npt.ArrayLike | str | None = None
    gauge: GaugeLike = "euclid"
    gauge_of: npt.ArrayLike | str | None = None
    objective: OrderLike = "median"
    frame: geo.Frame | None = field(default=None, init=False)

    def __post_init__(self) -> None:
        sites, frame = as_places(self.sites)
        n = len(sites)
        weight = as_column(self.sites, "weight", self.weight)
        weight = np.ones(n) if weight is None else np.ascontiguousarray(weight, float)
        chosen = as_column(self.sites, "gauge_of", self.gauge_of)
        chosen = np.zeros(n, np.uint32) if chosen is None else as_numbers(chosen, n)
        for name, value in (
            ("sites", sites),
            ("weight", weight),
            ("gauge", tuple(as_gauges(self.gauge))),
            ("gauge_of", chosen),
            ("objective", as_order(self.objective)),
            ("frame", frame),
        ):
            object.__setattr__(self, name, value)
        self.core  # refuses what is wrong

    @cached_property
    def core(self) -> _core.Problem:
        """What the compiled half takes."""
        assert isinstance(self.objective, Order)
        assert isinstance(self.gauge, tuple)
        return _core.Problem(
            np.asarray(self.sites), np.asarray(self.weight), np.asarray(self.gauge_of, np.uint32),
            [g.core for g in self.gauge], self.objective.core(),
        )  # fmt: skip

    def __len__(self) -> int:
        return len(self.core)

    def __getstate__(self) -> dict[str, Any]:
        return {k: v for k, v in self.__dict__.items() if k != "core"}

    def __setstate__(self, state: dict[str, Any]) -> None:
        self.__dict__.update(state)

    def value(self, x: float, y: float) -> float:
        """The objective at (x, y)."""
        return self.core.value(x, y)

    def distances(self, x: float, y: float) -> npt.NDArray[np.float64]:
        """The weighted distance of every site at (x, y)."""
        return self.core.distances(x, y)
