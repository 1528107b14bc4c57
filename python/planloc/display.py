"""Small pictures and tables of answers, for notebooks."""

from __future__ import annotations

import html
import importlib
import json
from abc import ABC, abstractmethod
from collections.abc import Iterable, Iterator, Sequence
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from planloc.geo import Frame, mapping, shape_of
from planloc.region import Region

Places = npt.NDArray[np.float64]

# Of a picture, in pixels.
SIZE = 360
MARGIN = 24
# Of a map of density, along each side.
CELLS = 40


def table(rows: Iterable[tuple[str, object]]) -> str:
    """Names and values as a table of HTML."""
    cells = "".join(
        f"<tr><th style='text-align:left'>{html.escape(name)}</th>"
        f"<td style='text-align:left'>{html.escape(str(value))}</td></tr>"
        for name, value in rows
    )
    return f"<table>{cells}</table>"


class Picture:
    """A map as SVG: sites as dots by weight, shapes, places."""

    def __init__(self, *extent: Places) -> None:
        places = np.vstack([e for e in extent if len(e)])
        self.low, high = places.min(axis=0), places.max(axis=0)
        self.scale = (SIZE - 2 * MARGIN) / max(float((high - self.low).max()), 1e-300)
        self.height = 2 * MARGIN + self.scale * float(high[1] - self.low[1])
        self.parts: list[str] = []

    def _at(self, place: Sequence[float] | Places) -> tuple[float, float]:
        x, y = (np.asarray(place) - self.low) * self.scale
        return MARGIN + float(x), self.height - MARGIN - float(y)

    def sites(self, places: Places, weights: Places) -> None:
        """Dots whose area follows the weight."""
        for place, weight in zip(places, weights, strict=True):
            x, y = self._at(place)
            r = 2 + 5 * float(np.sqrt(weight / weights.max()))
            self.parts.append(f"<circle cx='{x:.1f}' cy='{y:.1f}' r='{r:.1f}' fill='#7a8ca0'/>")

    def lines(self, pairs: Iterable[tuple[Places, Places]]) -> None:
        """Thin lines, from sites to what serves them."""
        for a, b in pairs:
            (x1, y1), (x2, y2) = self._at(a), self._at(b)
            self.parts.append(
                f"<line x1='{x1:.1f}' y1='{y1:.1f}' x2='{x2:.1f}' y2='{y2:.1f}' stroke='#c9d1da'/>"
            )

    def shape(self, corners: Places) -> None:
        """A set of places: an edge or a polygon."""
        if len(corners) < 2:
            return
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in map(self._at, corners))
        self.parts.append(
            f"<polygon points='{path}' fill='#d1495b' fill-opacity='0.3' stroke='#d1495b' "
            "stroke-width='3' stroke-linejoin='round'/>"
        )

    def region(self, polygons: Region, style: str) -> None:
        """Polygons with their holes."""
        for rings in polygons:
            path = "".join(
                "M" + "L".join(f"{x:.1f} {y:.1f}" for x, y in map(self._at, ring)) + "z"
                for ring in rings
            )
            self.parts.append(f"<path d='{path}' fill-rule='evenodd' {style}/>")

    def density(self, density: Density) -> None:
        """Squares, the darker the fuller."""
        for corners, share in density.squares():
            (x1, y1), (x2, y2) = self._at(corners[3]), self._at(corners[1])
            self.parts.append(
                f"<rect x='{x1:.1f}' y='{y1:.1f}' width='{x2 - x1:.2f}' height='{y2 - y1:.2f}' "
                f"fill='#d1495b' fill-opacity='{np.sqrt(share):.2f}'/>"
            )

    def squares(self, places: Places) -> None:
        """Open squares where facilities exist."""
        for place in places:
            x, y = self._at(place)
            self.parts.append(
                f"<path d='M{x - 5:.1f} {y - 5:.1f}h10v10h-10z' fill='none' stroke='#d1495b' "
                "stroke-width='2'/>"
            )

    def places(self, places: Places) -> None:
        """Crosses where the new facilities go."""
        for place in places:
            x, y = self._at(place)
            self.parts.append(
                f"<path d='M{x - 6:.1f} {y:.1f}h12M{x:.1f} {y - 6:.1f}v12' stroke='#d1495b' "
                "stroke-width='3'/>"
            )

    def svg(self) -> str:
        """The whole picture."""
        return (
            f"<svg xmlns='http://www.w3.org/2000/svg' width='{SIZE}' height='{self.height:.0f}'>"
            f"<rect width='100%' height='100%' fill='white'/>{''.join(self.parts)}</svg>"
        )


@dataclass(frozen=True)
class Density:
    """How many places lie in each square of a grid over them."""

    counts: Places
    xs: Places
    ys: Places

    @staticmethod
    def of(places: Places) -> Density | None:
        """Over the middle 99.8 % of the places, in either direction; None if there are none."""
        if not len(places):
            return None
        low, high = np.quantile(places, [0.001, 0.999], axis=0)
        half = max(float((high - low).max()), 1e-9 * float(np.abs(high).max()), 1e-300) / 2
        x, y = (low + high) / 2
        ends = [[x - half, x + half], [y - half, y + half]]
        return Density(*np.histogram2d(places[:, 0], places[:, 1], bins=CELLS, range=ends))

    def squares(self) -> Iterator[tuple[Places, float]]:
        """The corners of each square that is not empty, with its share of the fullest one."""
        for i, j in np.argwhere(self.counts):
            x, y = self.xs[i : i + 2], self.ys[j : j + 2]
            corners = np.array([(x[0], y[0]), (x[1], y[0]), (x[1], y[1]), (x[0], y[1])])
            yield corners, float(self.counts[i, j] / self.counts.max())


@dataclass(frozen=True)
class Map:
    """What an answer shows: the sites, the new places, sets of places, lines, and its figures."""

    sites: Places
    weights: Places
    places: Places
    shapes: Sequence[Places]
    lines: Sequence[tuple[Places, Places]]
    figures: Sequence[tuple[str, object]]
    frame: Frame | None
    allow: Region | None = None
    forbid: Region = ()
    density: Density | None = None
    existing: Places | None = None


class Shown(ABC):
    """An answer that notebooks show and that goes out as GeoJSON."""

    @abstractmethod
    def _map(self) -> Map: ...

    def _repr_html_(self) -> str:
        return f"<div>{table(self._map().figures)}{self._repr_svg_()}</div>"

    def _repr_svg_(self) -> str:
        m = self._map()
        existing = np.empty((0, 2)) if m.existing is None else m.existing
        picture = Picture(m.sites, m.places, existing, *m.shapes)
        picture.region(m.allow or (), "fill='#eef5ea' stroke='#7fa66b'")
        picture.region(m.forbid, "fill='#cfe0ee' stroke='#7b9cb8'")
        picture.lines(m.lines)
        picture.sites(m.sites, m.weights)
        for corners in m.shapes:
            picture.shape(corners)
        if m.density:
            picture.density(m.density)
        picture.squares(existing)
        picture.places(m.places)
        return picture.svg()

    def plot(self, ax: Any = None) -> Any:
        """The map on axes of Matplotlib, its own if `ax` is None; returns the axes."""
        m = self._map()
        if ax is None:
            ax = importlib.import_module("matplotlib.pyplot").subplots()[1]
        _draw_region(ax, m.allow or (), facecolor="#eef5ea", edgecolor="#7fa66b")
        _draw_region(ax, m.forbid, facecolor="#cfe0ee", edgecolor="#7b9cb8")
        for a, b in m.lines:
            ax.plot(*np.array([a, b]).T, c="#c9d1da", zorder=0)
        ax.scatter(*m.sites.T, s=20 + 100 * m.weights / m.weights.max(), c="#7a8ca0", label="sites")
        for corners in m.shapes:
            if len(corners) > 1:
                ax.fill(*corners.T, facecolor="#d1495b40", edgecolor="#d1495b")
        if m.density:
            d = m.density
            shown = np.where(d.counts, np.sqrt(d.counts / d.counts.max()), np.nan)
            ax.pcolormesh(d.xs, d.ys, shown.T, cmap="Reds", vmin=0)
        if m.existing is not None and len(m.existing):
            ax.scatter(*m.existing.T, marker="s", s=80, facecolors="none", edgecolors="#d1495b",
                       linewidths=2, label="existing")  # fmt: skip
        if len(m.places):
            ax.scatter(*m.places.T, marker="+", s=120, c="#d1495b", linewidths=3, label="new")
        ax.set_aspect("equal")
        ax.legend()
        return ax

    def to_geojson(self) -> str:
        """Sites, new places and sets of places as GeoJSON: in degrees where the sites came from a
        frame with a reference system, else in the coordinates of the problem."""
        m = self._map()
        kinds, shapes = self._shapes()
        outward = shapes
        if m.frame is not None and m.frame.crs is not None:
            outward = list(m.frame.to_geometry(shapes, "EPSG:4326"))
        weights = [*m.weights.tolist(), *[None] * (len(shapes) - len(m.weights))]
        features = [
            {
                "type": "Feature",
                "geometry": mapping(shape),
                "properties": {"kind": kind} | ({"weight": w} if w is not None else {}),
            }
            for kind, shape, w in zip(kinds, outward, weights, strict=True)
        ]
        return json.dumps({"type": "FeatureCollection", "features": features})

    def to_geodataframe(self) -> Any:
        """The new places and sets of places, with the column `kind`, in the reference system of
        the frame that the sites came from."""
        kinds, shapes = self._shapes()
        n = len(self._map().sites)
        pandas = importlib.import_module("geopandas")
        frame = self._map().frame or Frame(None, None)
        return pandas.GeoDataFrame({"kind": kinds[n:]}, geometry=frame.to_geometry(shapes[n:]))

    def _shapes(self) -> tuple[list[str], list[Any]]:
        m = self._map()
        squares = [corners for corners, _ in m.density.squares()] if m.density else []
        kinds = ["site"] * len(m.sites) + ["new"] * len(m.places) + ["set"] * len(m.shapes)
        kinds += ["density"] * len(squares)
        outlines = [*m.sites[:, None], *m.places[:, None], *m.shapes, *squares]
        return kinds, [shape_of(corners) for corners in outlines]


def _draw_region(ax: Any, polygons: Region, **style: str) -> None:
    paths = importlib.import_module("matplotlib.path").Path
    patches = importlib.import_module("matplotlib.patches")
    for rings in polygons:
        closed = [paths(np.vstack([ring, ring[:1]]), closed=True) for ring in rings]
        ax.add_patch(patches.PathPatch(paths.make_compound_path(*closed), zorder=-1, **style))
