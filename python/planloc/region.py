"""Regions: where a new facility may be built, as polygons of any library."""

from __future__ import annotations

from collections.abc import Iterable, Iterator
from typing import Any, TypeAlias

import numpy as np
import numpy.typing as npt

from planloc import geo
from planloc.checks import array

__all__ = ["Region", "as_region"]

Places = npt.NDArray[np.float64]
Region: TypeAlias = tuple[tuple[Places, ...], ...]


def as_region(given: Any, frame: geo.Frame | None) -> Region:
    """The polygons that are meant, each as its rings, in the plane of the problem.

    Parameters
    ----------
    given
        An array of shape (k, 2), the corners of one polygon; a sequence of those; a sequence of
        polygons that are sequences of rings, an outer one and holes; a polygon of Shapely or a
        sequence of them, or anything with `__geo_interface__`; a GeoDataFrame or GeoSeries.
    frame : Frame, optional
        Where the sites come from. A frame is brought into its reference system, and all else is
        taken to be in that.

    Raises
    ------
    ValueError
        If something in it is not a polygon.
    """
    if hasattr(given, "to_crs"):
        shapes = given.geometry
        if frame is not None and frame.planar is not None and shapes.crs is not None:
            shapes = shapes.to_crs(frame.planar)
            frame = None
        given = list(shapes)
    polygons = _polygons(given)
    if frame is not None:
        polygons = [[frame.to_planar(ring) for ring in rings] for rings in polygons]
    return tuple(tuple(rings) for rings in polygons)


def _polygons(given: Any) -> list[list[Places]]:
    if given is None:
        raise ValueError("a region has a geometry that is missing")
    if hasattr(given, "__geo_interface__"):
        return list(_of_geojson(given.__geo_interface__))
    if isinstance(given, np.ndarray) and given.ndim == 2:
        return [[_ring(given)]]
    parts = list(given) if np.iterable(given) else [given]
    if any(hasattr(part, "__geo_interface__") or part is None for part in parts):
        return [polygon for part in parts for polygon in _polygons(part)]
    depth = _depth(parts)
    if depth == 2:
        return [[_ring(parts)]]
    if depth == 3:
        return [[_ring(part)] for part in parts]
    if depth == 4:
        return [[_ring(ring) for ring in part] for part in parts]
    if not parts:
        return []
    raise ValueError("a region is corners (x, y), a list of those, or a list of lists of rings")


def _depth(value: Any) -> int:
    """How many subscripts lead to a number."""
    depth = 0
    while isinstance(value, (list, tuple, np.ndarray)) and len(value):
        value, depth = value[0], depth + 1
    return depth


def _ring(corners: Any) -> Places:
    places = array("the ring of a region", corners)
    if places.ndim != 2 or places.shape[1] != 2:
        raise ValueError("the ring of a region needs an array of shape (k, 2)")
    return places


def _of_geojson(shape: Any) -> Iterator[list[Places]]:
    kind = shape["type"]
    if kind == "Polygon":
        yield [_ring([corner[:2] for corner in ring]) for ring in shape["coordinates"]]
    elif kind == "MultiPolygon":
        for rings in shape["coordinates"]:
            yield from _of_geojson({"type": "Polygon", "coordinates": rings})
    elif kind in ("Feature", "FeatureCollection", "GeometryCollection"):
        inside: Iterable[Any] = (
            [shape["geometry"]] if kind == "Feature"
            else shape.get("features", shape.get("geometries", []))
        )  # fmt: skip
        for part in inside:
            yield from _of_geojson(part)
    else:
        raise ValueError(f"a region has the geometry {kind}: expected polygons")
