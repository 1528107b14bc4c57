"""Frames of GeoPandas: coordinates, columns and reference systems in, answers out."""

from __future__ import annotations

import importlib
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

Places = npt.NDArray[np.float64]


def is_frame(sites: Any) -> bool:
    """Whether it is a GeoDataFrame, or works like one."""
    return hasattr(sites, "geometry") and hasattr(sites, "to_crs")


@dataclass(frozen=True)
class Frame:
    """Where coordinates come from.

    Attributes
    ----------
    crs
        The reference system of the frame, None if it has none.
    planar
        The one in which distances are taken: that of the frame if it is planar, else an azimuthal
        equidistant projection in metres around the middle of the sites.
    """

    crs: Any
    planar: Any

    def to_planar(self, places: Places) -> Places:
        """Places in the reference system of the frame, as an array in the planar one."""
        if self.crs == self.planar:
            return np.ascontiguousarray(places, float)
        transformer = importlib.import_module("pyproj").Transformer
        change = transformer.from_crs(self.crs, self.planar, always_xy=True)
        return np.column_stack(change.transform(*np.asarray(places, float).T))

    def to_geometry(self, shapes: list[Any], crs: Any = None) -> Any:
        """Planar shapes as a GeoSeries in `crs`, by default that of the frame."""
        own = importlib.import_module("shapely.geometry").shape
        pandas = importlib.import_module("geopandas")
        series = pandas.GeoSeries([own(s) for s in shapes], crs=self.planar)
        target = crs or self.crs
        return series if target is None or target == self.planar else series.to_crs(target)


def coordinates(frame: Any) -> Places:
    """Those of a frame of points, as they are.

    Raises
    ------
    ValueError
        If a geometry is missing or not a point.
    """
    kinds = set(frame.geometry.geom_type.dropna())
    if kinds - {"Point"} or frame.geometry.isna().any() or frame.geometry.is_empty.any():
        raise ValueError("each row needs a point as its geometry")
    return np.column_stack([frame.geometry.x, frame.geometry.y]).astype(float)


def read(frame: Any) -> tuple[Places, Frame]:
    """The planar coordinates of a frame of points, and where they come from."""
    crs = planar = frame.crs
    places = coordinates(frame)
    if crs is not None and crs.is_geographic:
        west, south, east, north = frame.total_bounds
        planar = (
            f"+proj=aeqd +lat_0={(south + north) / 2} +lon_0={(west + east) / 2} +units=m +type=crs"
        )
    origin = Frame(crs, planar)
    return origin.to_planar(places), origin


@dataclass(frozen=True)
class Shape:
    """A geometry without any library, as GeoJSON has it."""

    kind: str
    coordinates: Any

    @property
    def __geo_interface__(self) -> dict[str, Any]:
        return {"type": self.kind, "coordinates": self.coordinates}


def shape_of(corners: Places) -> Shape:
    """A point, a segment or a polygon by the number of corners."""
    places = corners.tolist()
    if len(places) == 1:
        return Shape("Point", places[0])
    if len(places) == 2:
        return Shape("LineString", places)
    return Shape("Polygon", [[*places, places[0]]])


def mapping(shape: Any) -> dict[str, Any]:
    """The geometry of GeoJSON of anything that has one."""
    interface: dict[str, Any] = shape.__geo_interface__
    return interface
