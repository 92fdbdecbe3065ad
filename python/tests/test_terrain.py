"""Terrain: heights of grids, lines of sight on them, and values that an independent program walked down to."""

import csv
from collections import defaultdict

import numpy as np
import pytest

import orbmath
from orbmath import Model, State, Terrain, TerrainState, Visibility

#: Ground points on a DEM are met within this many metres (the tables are sure to 1e-4).
TABLE_M = 1e-3
METRES_A_DEGREE = 111_320.0


def hill(columns=121, rows=101):
    """A hill of 300 m on a plain of 400 m over the shipped scene: heights and transform, rows from north to south."""
    lon, lat = np.linspace(8.38, 8.62, columns), np.linspace(47.38, 47.23, rows)
    away = ((lon - 8.5) / 0.02) ** 2 + ((lat[:, None] - 47.30) / 0.015) ** 2
    step = (lon[1] - lon[0], lat[1] - lat[0])
    return 400 + 300 * np.exp(-away), (step[0], 0, lon[0] - step[0] / 2, 0, step[1], lat[0] - step[1] / 2)


def test_heights_are_those_of_the_posts_and_bilinear_between():
    heights, (a, _, c, _, e, f) = hill()
    terrain = Terrain(heights, (a, 0, c, 0, e, f))
    lat, lon = f + e * (np.array([10, 57]) + 0.5), c + a * (np.array([3, 100]) + 0.5)
    np.testing.assert_allclose(terrain.height(lat, lon), heights[[10, 57], [3, 100]], rtol=0, atol=1e-9)
    between = terrain.height(f + e * 11.0, c + a * 4.25)
    expected = 0.5 * (heights[10:12, 3] * 0.25 + heights[10:12, 4] * 0.75).sum()
    assert between == pytest.approx(expected, abs=1e-9)
    assert np.isnan(terrain.height(0.0, 0.0))
    assert terrain.height(lat[0], lon[0] + 360) == pytest.approx(heights[10, 3], abs=1e-8)


def test_sums_voids_and_fillings():
    heights, transform = hill()
    masked = np.ma.masked_greater(heights, 650)
    terrain = Terrain(masked, transform)
    assert np.isnan(terrain.height(47.30, 8.5)) and (terrain + Terrain.constant(50)).height(47.36, 8.4) > 449
    assert terrain.filled(Terrain.constant(7)).height(47.30, 8.5) == 7
    assert Terrain(masked, transform, void_height=9).height(47.30, 8.5) == 9
    with_value = Terrain(masked.filled(-32768), transform, nodata=-32768)
    assert np.isnan(with_value.height(47.30, 8.5))
    for bad in ({"interpolation": "nearest"}, {"transform": (0, 0, 1, 0, 0, 1)}):
        with pytest.raises(ValueError):
            Terrain(heights, **{"transform": transform, **bad})


def test_lines_of_sight_meet_the_hill(left):
    terrain = Terrain(*hill())
    line, sample = np.mgrid[1000:15000:2333, 500:15500:2999]
    found = left.locate(line, sample, terrain=terrain)
    assert np.all(found.state == TerrainState.FOUND) and np.ptp(found.height) > 100
    np.testing.assert_allclose(found.height, terrain.height(found.lat, found.lon), rtol=0, atol=1e-4)
    back = left.project(found.lat, found.lon, found.height)
    np.testing.assert_allclose(back, (line, sample), rtol=0, atol=1e-6)
    assert (terrain.visibility(left, found.lat, found.lon, found.height) == Visibility.VISIBLE).all()
    assert terrain.visibility(left, 47.30, 8.5, 600.0) == Visibility.HIDDEN
    single = left.locate(int(line[2, 3]), float(sample[2, 3]), terrain=terrain)
    assert single == tuple(values[2, 3] for values in found)
    ring = left.footprint(terrain=terrain)
    np.testing.assert_allclose(terrain.height(ring.lat, ring.lon), ring.height, rtol=0, atol=1e-4)
    for wrong in ({}, {"height": 400.0, "terrain": terrain}):
        with pytest.raises(TypeError):
            left.locate(1.0, 2.0, **wrong)


def test_single_points_have_named_states(left):
    terrain = Terrain(*hill())
    assert left.locate(8000, 7000, terrain=terrain).state is TerrainState.FOUND
    assert left.locate(-1e5, 7000, terrain=terrain).state is not TerrainState.FOUND
    assert terrain.visibility(left, 47.36, 8.4, 450) is Visibility.VISIBLE


def test_a_mapping_may_be_any_callable(left):
    heights, (a, _, c, _, e, f) = hill()
    scaled = Terrain(heights, (a * 10, 0, c * 10, 0, e * 10, f * 10), mapping=lambda lon, lat: (lon * 10, lat * 10))
    plain = Terrain(heights, (a, 0, c, 0, e, f))
    here, there = (left.locate([8000, 9000], [7000, 3000], terrain=t) for t in (plain, scaled))
    np.testing.assert_allclose(here.height, there.height, rtol=0, atol=1e-4)

    def broken(lon, lat):
        raise ValueError("no")

    state = left.locate(8000.0, 7000.0, terrain=Terrain(heights, (a, 0, c, 0, e, f), mapping=broken)).state
    assert state not in (TerrainState.FOUND, TerrainState.FOUND_AFTER_VOID) and TerrainState(state).sentence


def test_real_terrain_is_met_where_other_programs_met_it(real_files):
    rasterio = pytest.importorskip("rasterio")
    pytest.importorskip("pyproj")
    folder = real_files.parent / "terrain"
    if not folder.is_dir():
        pytest.skip(f"no terrain beside {real_files}")
    with rasterio.open(folder / "egm96_15.gtx") as dataset:
        geoid = Terrain.from_rasterio(dataset, ellipsoidal=True)
    rows = defaultdict(list)
    with open(folder / "expected_image_to_dem.csv", newline="") as lines:
        for row in csv.DictReader(lines):
            rows[row["case"], row["model"], row["dem"]].append(row)
    for (case, model_name, dem), of_case in rows.items():
        of_case = [row for row in of_case if row["status"] in ("ok", "ok_after_nodata")]
        with rasterio.open(folder / dem) as dataset:
            terrain = Terrain.from_rasterio(dataset, **({"ellipsoidal": True} if case == "A" else {"geoid": geoid}))
        columns = {
            key: np.array([float(row[key]) for row in of_case]) for key in ("line", "sample", "lat", "lon", "height")
        }
        found = Model.open(folder / model_name).locate(columns["line"], columns["sample"], terrain=terrain)
        north = (found.lat - columns["lat"]) * METRES_A_DEGREE
        east = (found.lon - columns["lon"]) * METRES_A_DEGREE * np.cos(np.radians(columns["lat"]))
        off = np.sqrt(north**2 + east**2 + (found.height - columns["height"]) ** 2)
        assert np.nanmax(off) < TABLE_M and not np.isnan(off).any(), (case, model_name)
        states = np.array([row["status"] == "ok" for row in of_case])
        np.testing.assert_array_equal(found.state == TerrainState.FOUND, states, err_msg=case)


def test_an_unsaid_vertical_reference_is_warned_of(tmp_path, left):
    rasterio = pytest.importorskip("rasterio")
    heights, transform = hill()
    path = tmp_path / "dem.tif"
    shape = {"width": heights.shape[1], "height": heights.shape[0], "count": 1, "dtype": "float64"}
    with rasterio.open(
        path, "w", driver="GTiff", crs="EPSG:4326", transform=rasterio.Affine(*transform), **shape
    ) as new:
        new.write(heights, 1)
    with rasterio.open(path) as dataset, pytest.warns(UserWarning, match="ellipsoid"):
        terrain = Terrain.from_rasterio(dataset)
    assert left.locate(8000.0, 7000.0, terrain=terrain).state == State.CONVERGED == TerrainState.FOUND
    assert orbmath.Terrain is Terrain
