"""Numbers as arguments: what is not one, or out of its range, is a ValueError that names it."""

from __future__ import annotations

import math
from collections.abc import Callable
from typing import Any

import numpy as np
import numpy.typing as npt

__all__ = ["array", "callback", "count", "counts", "limit", "number"]


def count(name: str, value: Any, least: int = 0, most: int = 2**31 - 1) -> int:
    """A whole number in a range."""
    try:
        found = int(value.__index__())
    except (AttributeError, TypeError):
        found = None
    if not isinstance(found, int) or not least <= found <= most:
        raise ValueError(f"{name} is {value!r}: must be a whole number from {least} to {most}")
    return found


def number(name: str, value: Any) -> float:
    """Any number."""
    try:
        return float(value)
    except (TypeError, ValueError, OverflowError):
        raise ValueError(f"{name} is {value!r}: must be a number") from None


def limit(name: str, value: Any) -> float:
    """A number from 0 on."""
    try:
        found = float(value)
    except (TypeError, ValueError, OverflowError):
        found = math.nan
    if not found >= 0:
        raise ValueError(f"{name} is {value!r}: must be a number from 0 on")
    return found


def array(name: str, given: Any) -> npt.NDArray[np.float64]:
    """Doubles in C order: the array itself where it is one."""
    try:
        if isinstance(given, np.ma.MaskedArray) and np.any(given.mask):
            raise ValueError("has masked entries")
        if np.iscomplexobj(given):
            raise ValueError("has complex numbers")
        return np.asarray(given, np.float64, order="C")
    except (TypeError, ValueError, OverflowError) as error:
        raise ValueError(f"{name} needs an array of numbers: {error}") from None


def counts(name: str, given: Any, kind: type[np.unsignedinteger[Any]]) -> npt.NDArray[Any]:
    """Whole numbers from 0 on, in C order."""
    try:
        numbers = np.asarray(given)
    except ValueError:
        numbers = np.empty(0)
    most = np.iinfo(kind).max
    if numbers.dtype.kind not in "iu" or ((numbers < 0) | (numbers > most)).any():
        raise ValueError(f"{name} needs whole numbers from 0 to {most}")
    return np.asarray(numbers, kind, order="C")


def callback(name: str, given: Callable[..., Any] | None) -> Callable[..., Any] | None:
    """A function, or none."""
    if given is not None and not callable(given):
        raise ValueError(f"{name} is {given!r}: must be a function")
    return given
