"""Order weights: what the sorted distances count, the smallest distance first.

>>> from planloc import order
>>> order.k_centrum(2).weights(5)
array([0., 0., 0., 1., 1.])
>>> order.parse("trimmed:1,2").weights(5)
array([0., 1., 1., 0., 0.])
"""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc.checks import array, count, number

__all__ = [
    "Order", "anti_centrum", "cent_dian", "centre", "given", "k_centrum", "median",
    "order_statistic", "parse", "quantile", "range", "trimmed",
]  # fmt: skip


@dataclass(frozen=True)
class Order:
    """Order weights by name; those of `given` fit one number of sites, the others any."""

    name: str
    arguments: tuple[float, ...] = ()

    def __str__(self) -> str:
        numbers = self.arguments if self.name != "given" else ()
        return f"{self.name}({', '.join(f'{a:g}' for a in numbers)})" if numbers else self.name

    def core(self) -> _core.OrderWeights:
        """What the compiled half takes."""
        if self.name == "given":
            return _core.OrderWeights(list(self.arguments))
        make: Callable[..., _core.OrderWeights] = getattr(_core.OrderWeights, self.name)
        return make(*self.arguments)

    def weights(self, n: int) -> npt.NDArray[np.float64]:
        """One order weight for each of n sites."""
        places = np.zeros((count("n", n), 2))
        places[:, 0] = np.arange(n)
        p = _core.Problem(
            places, np.ones(n), np.zeros(n, np.uint32), [_core.Gauge.l1()], self.core(), None, []
        )
        return np.array(p.order_weights)


def median() -> Order:
    """The sum of the distances."""
    return Order("median")


def centre() -> Order:
    """The largest distance."""
    return Order("centre")


def k_centrum(k: int) -> Order:
    """The sum of the k largest distances."""
    return Order("k_centrum", (count("k", k),))


def cent_dian(alpha: float) -> Order:
    """(1 - alpha) times the mean of the distances, and alpha times the largest."""
    return Order("cent_dian", (number("alpha", alpha),))


def trimmed(low: int, high: int) -> Order:
    """The sum without the `low` smallest and the `high` largest distances."""
    return Order("trimmed_mean", (count("low", low), count("high", high)))


def anti_centrum(k: int) -> Order:
    """The sum of the k smallest distances."""
    return Order("anti_centrum", (count("k", k),))


def range() -> Order:
    """The largest distance less the smallest."""
    return Order("range")


def order_statistic(k: int) -> Order:
    """The k-th smallest distance, k from 1."""
    return Order("order_statistic", (count("k", k),))


def quantile(q: float) -> Order:
    """The smallest distance within which a share q of the sites lies."""
    return Order("quantile", (number("q", q),))


def given(weights: npt.ArrayLike) -> Order:
    """These weights, one for each site, the one of the smallest distance first."""
    row = array("order_weights", weights)
    if row.ndim != 1:
        raise ValueError("order_weights needs one number for each site")
    return Order("given", tuple(row.tolist()))


_NAMED: dict[str, tuple[Callable[..., Order], tuple[type, ...]]] = {
    "median": (median, ()),
    "centre": (centre, ()),
    "center": (centre, ()),
    "k-centrum": (k_centrum, (int,)),
    "cent-dian": (cent_dian, (float,)),
    "trimmed": (trimmed, (int, int)),
    "anti-centrum": (anti_centrum, (int,)),
    "range": (range, ()),
    "order-statistic": (order_statistic, (int,)),
    "quantile": (quantile, (float,)),
}


def parse(text: str) -> Order:
    """What the tool's option `--objective` takes: `median`, `k-centrum:5`, `trimmed:2,3`, and
    `weights:FILE` with order weights between blanks.

    Raises
    ------
    ValueError
        If the name is unknown, or does not go with the numbers behind it.
    """
    name, _, rest = text.partition(":") if isinstance(text, str) else ("", "", "")
    if name == "weights" and rest:
        with open(rest, encoding="utf-8") as file:
            return given(file.read().split())
    if name not in _NAMED:
        known = ", ".join(known for known in _NAMED if known != "center")
        raise ValueError(f"unknown objective {text!r}: one of {known}, weights:FILE")
    make, kinds = _NAMED[name]
    fields = rest.split(",") if rest else []
    try:
        return make(*(kind(field) for kind, field in zip(kinds, fields, strict=True)))
    except ValueError as error:
        takes = ",".join("N" if kind is int else "NUMBER" for kind in kinds)
        form = f"{name}:{takes}" if kinds else name
        raise ValueError(f"objective {text!r}: must be {form}") from error
