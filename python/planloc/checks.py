"""Numbers as arguments: what is not one, or out of its range, is a ValueError that names it."""

from __future__ import annotations

import math
from typing import Any

__all__ = ["count", "limit"]


def count(name: str, value: Any, least: int = 0, most: int = 2**31 - 1) -> int:
    """A whole number in a range."""
    try:
        number = value.__index__()
    except AttributeError:
        number = None
    if not isinstance(number, int) or not least <= number <= most:
        raise ValueError(f"{name} is {value!r}: must be a whole number from {least} to {most}")
    return number


def limit(name: str, value: Any) -> float:
    """A number from 0 on."""
    try:
        number = float(value)
    except (TypeError, ValueError):
        number = math.nan
    if not number >= 0:
        raise ValueError(f"{name} is {value!r}: must be a number from 0 on")
    return number
