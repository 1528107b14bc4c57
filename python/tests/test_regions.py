"""Allowed and forbidden polygons, in every form in which they are given, against a grid."""

import json
import pickle

import numpy as np
import planloc
import pytest

SITES = np.random.default_rng(21).random((9, 2))
LAKE = np.array([(0.2, 0.2), (0.9, 0.3), (0.8, 0.8), (0.3, 0.7)])
ISLAND = np.array([(0.5, 0.4), (0.6, 0.4), (0.6, 0.45), (0.5, 0.45)])
COUNTY = np.array([(0.05, 0.0), (0.95, 0.0), (0.5, 1.0)])


def least_on_grid(problem, permits):
    steps = np.linspace(0, 1, 121)
    return min(problem.value(x, y) for x in steps for y in steps if permits(x, y))


@pytest.mark.parametrize("distance, objective", [("euclid", "median"), ("octagon", "centre"),
                                                 ("l1", "range"), ("l1", "trimmed:2,2")])
def test_answers_are_permitted_and_the_best_on_a_grid(distance, objective):
    geometry = pytest.importorskip("shapely.geometry")
    county, lake = geometry.Polygon(COUNTY), geometry.Polygon(LAKE, [ISLAND])
    answer = planloc.solve(SITES, gauge=distance, objective=objective, allow=COUNTY,
                           forbid=[[LAKE, ISLAND]])
    assert answer.status == "optimal" and answer.verify()
    assert pickle.loads(pickle.dumps(answer)).verify()
    here = geometry.Point(answer.point)
    assert county.distance(here) < 1e-9 and lake.buffer(-1e-9).contains(here) is False
    best = least_on_grid(answer.problem, lambda x, y: county.covers(geometry.Point(x, y))
                         and not lake.contains(geometry.Point(x, y)))
    assert answer.value <= best * (1 + 1e-12)
    assert best - answer.value <= 0.05 * best
    picture = answer._repr_svg_()
    assert picture.count("evenodd") == 2
    assert not answer.verify(planloc.Problem(SITES, gauge=distance, objective=objective))


def test_every_form_of_polygons_means_the_same():
    geometry = pytest.importorskip("shapely.geometry")
    frames = pytest.importorskip("geopandas")
    other = LAKE + 2
    shapes = [geometry.Polygon(LAKE, [ISLAND]), geometry.Polygon(other)]
    multi = geometry.MultiPolygon(shapes)
    forms = [
        [[LAKE, ISLAND], [other]], [[LAKE.tolist(), ISLAND.tolist()], [other.tolist()]],
        shapes, multi, [multi], frames.GeoSeries(shapes), frames.GeoDataFrame(geometry=[multi]),
        frames.GeoDataFrame(geometry=shapes, crs="EPSG:25830"),
    ]  # fmt: skip
    expected = planloc.solve(SITES, forbid=forms[0]).point
    assert [planloc.solve(SITES, forbid=form).point for form in forms] == [expected] * len(forms)
    flat = planloc.Problem(SITES, forbid=[LAKE, other])
    assert len(flat.forbid) == 2 and len(planloc.Problem(SITES, forbid=LAKE).forbid) == 1


def test_polygons_go_into_the_plane_of_the_sites():
    frames = pytest.importorskip("geopandas")
    geometry = pytest.importorskip("shapely.geometry")
    towns = frames.GeoDataFrame(crs="EPSG:4326", geometry=frames.points_from_xy(
        [-5.98, -4.42, -3.60, -4.78], [37.39, 36.72, 37.18, 37.88]))
    box = geometry.box(-5.2, 37.0, -4.2, 37.6)
    lonlat = frames.GeoDataFrame(geometry=[box], crs="EPSG:4326")
    answer = planloc.solve(towns, forbid=lonlat)
    found = answer.to_geodataframe().geometry[0]
    assert box.exterior.distance(found) < 2e-3  # sides are straight in the plane, not in degrees
    assert planloc.solve(towns, forbid=box).point == answer.point
    assert planloc.solve(towns, forbid=lonlat.to_crs("EPSG:25830")).point == pytest.approx(answer.point)
    assert [f["properties"]["kind"] for f in json.loads(answer.to_geojson())["features"]][-1] == "new"


def test_no_place_is_permitted():
    nowhere = planloc.solve(SITES, allow=[])
    assert nowhere.status == "infeasible" and np.isnan(nowhere.point).all()
    assert nowhere.verify() and "infeasible" in nowhere._repr_html_()


@pytest.mark.parametrize("given, text", [
    ([(0, 0), (1, 1), (1, 0), (0, 1)], "ring 0 of forbidden polygon 0 crosses itself"),
    ([(0, 0), (1, 1)], "corners"),
    ([(0, 0, 0), (1, 1, 1), (2, 2, 1)], "shape"),
    (3.0, "region"),
    ([1, 2], "corners"),
    ({"type": "Polygon"}, "corners"),
])  # fmt: skip
def test_bad_regions(given, text):
    with pytest.raises(ValueError, match=text):
        planloc.solve(SITES, forbid=given)


def test_points_are_no_region():
    geometry = pytest.importorskip("shapely.geometry")
    for shape in (geometry.Point(1, 2), [geometry.LineString([(0, 0), (1, 1)])], [None]):
        with pytest.raises(ValueError, match="geometry"):
            planloc.solve(SITES, forbid=shape)
