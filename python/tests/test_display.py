"""Answers as tables, pictures and GeoJSON, and frames of GeoPandas in and out."""

import json
import xml.etree.ElementTree as xml

import numpy as np
import planloc
import pytest

SITES = [(0.0, 0.0), (4.0, 0.0), (1.0, 3.0)]
ANSWERS = [
    (lambda: planloc.solve(SITES, weight=[1, 1, 2], gauge="l1"), 1, "LineString"),
    (lambda: planloc.compare(SITES, weights=[[3, 1, 1], [1, 3, 1]]), 0, "LineString"),
    (lambda: planloc.depots(SITES, new=2), 2, None),
    (lambda: planloc.tied(SITES, share=np.ones((2, 3)), flow=np.ones((2, 2)), gauge="l1"), 2, None),
]


@pytest.mark.parametrize("make, new, shape", ANSWERS)
def test_pictures_tables_and_geojson(make, new, shape):
    answer = make()
    ns = "{http://www.w3.org/2000/svg}"
    picture = xml.fromstring(answer._repr_svg_())
    assert len(picture.findall(ns + "circle")) == 3
    assert len(picture.findall(ns + "path")) == new
    assert answer.status in answer._repr_html_()
    found = json.loads(answer.to_geojson())["features"]
    assert [f["geometry"]["coordinates"] for f in found[:3]] == [list(p) for p in SITES]
    kinds = [f["properties"]["kind"] for f in found]
    assert kinds.count("new") == new
    assert shape is None or shape in {f["geometry"]["type"] for f in found if "set" in
                                      f["properties"]["kind"]}


def test_plot_draws_on_the_axes_that_are_given():
    pyplot = pytest.importorskip("matplotlib.pyplot")
    pyplot.switch_backend("agg")
    axes = pyplot.subplots()[1]
    depots = planloc.depots(SITES, new=2, existing=[(9, 9)])
    assert depots.plot(axes) is axes
    assert len(axes.collections) == 3 and len(axes.lines) == 3
    assert depots._repr_svg_().count("h10v10h-10z") == 1


@pytest.fixture
def towns():
    pandas = pytest.importorskip("geopandas")
    lon, lat = [-5.98, -4.42, -3.60], [37.39, 36.72, 37.18]
    return pandas.GeoDataFrame({"people": [7.0, 5.8, 2.3]}, crs="EPSG:4326",
                               geometry=pandas.points_from_xy(lon, lat))


def test_degrees_are_projected_and_come_back(towns):
    answer = planloc.solve(towns, weight="people", objective="centre")
    utm = towns.to_crs("EPSG:25830")
    beside = planloc.solve(utm, weight="people", objective="centre")
    assert answer.value == pytest.approx(beside.value, rel=2e-3)  # of the projections
    frame = answer.to_geodataframe()
    assert frame.crs == towns.crs and frame.kind.tolist() == ["new"]
    there = beside.to_geodataframe()
    assert there.crs == utm.crs
    assert frame.to_crs(utm.crs).distance(there).max() < 500
    coordinates = json.loads(beside.to_geojson())["features"][-1]["geometry"]["coordinates"]
    assert coordinates == pytest.approx([frame.geometry.x[0], frame.geometry.y[0]], abs=0.01)
    depots = planloc.depots(towns, new=1, weight="people", existing=towns[:1])
    assert depots.assignment[0] == 1
    assert planloc.compare(towns, weights=["people", [1, 1, 1]]).verify()


def test_frames_that_do_not_fit(towns):
    for call, text in [(lambda: planloc.solve(towns, weight="cars"), "'cars'"),
                       (lambda: planloc.solve(SITES, weight="people"), "not a GeoDataFrame"),
                       (lambda: planloc.solve(towns.set_geometry(towns.buffer(1))), "a point")]:
        with pytest.raises(ValueError, match=text):
            call()
