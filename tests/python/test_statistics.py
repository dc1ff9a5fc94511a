"""What is measured beside NumPy, SciPy and scikit-image: weighted values, moments, profiles and histograms."""

import json
import os
import subprocess

import numpy as np
import pytest
from conftest import SHAPE

import roi

COMMAND = os.path.join(os.path.dirname(os.path.realpath(roi._roi.__file__)), "roi")
ROWS, COLUMNS = np.indices(SHAPE)


def rows(folder, *arguments):
    done = subprocess.run([COMMAND, *arguments, "--format", "json"], cwd=folder, capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    return json.loads(done.stdout)


def quantile(values, weights, share):
    """The value below which a share of the weights lies, where none parts them exactly."""
    order = np.argsort(values, kind="stable")
    below = np.cumsum(weights[order])
    return values[order][np.searchsorted(below, share * below[-1], side="right").clip(max=len(order) - 1)]


def weighed(image, weights):
    """Every column of values, in the plainest way."""
    inside = weights > 0
    number = inside & ~np.isnan(image.astype(float))
    v, w, x, y = image[number].astype(float), weights[number], COLUMNS[number], ROWS[number]
    mean = np.average(v, weights=w)
    second, third, fourth = (np.average((v - mean) ** power, weights=w) for power in (2, 3, 4))
    levels, which = np.unique(v, return_inverse=True)
    return {
        "pixels": inside.sum(), "area": weights.sum(), "nan": weights[inside & ~number].sum(), "sum": (v * w).sum(),
        "mean": mean, "std": np.sqrt(second), "min": v.min(), "max": v.max(), "skewness": third / second**1.5,
        "kurtosis": fourth / second**2 - 3, "mx": (v * w * x).sum() / (v * w).sum(),
        "my": (v * w * y).sum() / (v * w).sum(), "mode": levels[np.bincount(which, w).argmax()],
        "threshold=-20-35": w[(v >= -20) & (v <= 35)].sum(), "p0": v.min(), "p100": v.max(),
        "p12.375": quantile(v, w, 0.12375), "p99.25": quantile(v, w, 0.9925),
    }


@pytest.mark.parametrize("exact", [False, True])
@pytest.mark.parametrize("kind", "u1 i1 u2 i2 u4 i4 f4 f8".split())
def test_every_column_weighs_every_pixel(every_class, kind, exact):
    rng = np.random.default_rng(17)
    low = 0 if kind[0] == "u" else -37
    for figure in every_class.values():
        weights = figure.coverage(SHAPE) if exact else figure.mask(SHAPE).astype(float)
        # Skewed, and beyond all others where a part of a pixel counts alone.
        image = rng.gamma(2.0, 9.0, SHAPE).clip(0, 90) + low
        parts = (weights > 0) & (weights < 1)
        image[parts] = rng.choice([low - 9 if low else 0, 35, 117], parts.sum())
        image = image.astype(kind)
        if kind[0] == "f":
            image[ROWS % 7 + COLUMNS % 5 == 3] = np.nan
        expected = weighed(image, weights)
        one = roi.Set()
        one.append(figure)
        table = one.measure(image, columns=list(expected), exact=exact)
        for column, value in expected.items():
            assert table[column][0] == pytest.approx(value, rel=1e-9, abs=1e-9), (figure.class_name, column)


def test_halves_of_the_area_are_parted_between_two_values(every_class):
    rng = np.random.default_rng(4)
    names = ["p0", "p1", "p12.5", "p25", "median", "p75", "p90", "p100"]
    shares = [0, 1, 12.5, 25, 50, 75, 90, 100]
    for width, height in ((8, 6), (10, 10), (20, 16), (4, 2)):
        box = roi.Set()
        box.add("ROIRectangle", "box", CenterX=40.5, CenterY=30.5, Width=width - 0.5, Height=height - 0.5)
        for kind in ("u1", "i2", "f4"):
            image = rng.integers(0, 60, SHAPE).astype(kind)
            inside = image[box["box"].mask(SHAPE)]
            table = box.measure(image, columns=names)
            expected = np.percentile(inside.astype(float), shares, method="averaged_inverted_cdf")
            assert [table[name][0] for name in names] == expected.tolist()


@pytest.mark.parametrize("exact", [False, True])
def test_axes_are_those_of_the_second_moments(every_class, image, exact):
    every_class.add("ROIRectangle", "high", CenterX=30.5, CenterY=40.5, Width=4, Height=30)
    every_class.add("ROIRectangle", "one", CenterX=30, CenterY=40, Width=0.5, Height=0.25)
    table = every_class.measure(image, columns="name,cx,cy,major,minor,angle", exact=exact)
    for row, figure in enumerate(every_class.values()):
        weights = figure.coverage(SHAPE) if exact else figure.mask(SHAPE).astype(float)
        places = np.stack([COLUMNS.ravel(), ROWS.ravel()])
        middle = np.average(places, axis=1, weights=weights.ravel())
        moments = np.cov(places, aweights=weights.ravel(), ddof=0) + np.eye(2) / 12
        (small, large), axes = np.linalg.eigh(moments)
        assert (table["cx"][row], table["cy"][row]) == pytest.approx(middle)
        assert (table["major"][row], table["minor"][row]) == pytest.approx((4 * large**0.5, 4 * small**0.5))
        if figure.name == "one":
            assert np.isnan(table["angle"][row])
        else:
            degrees = np.degrees(np.arctan2(axes[1, 1], axes[0, 1]))
            assert -90 < table["angle"][row] <= 90
            assert (table["angle"][row] - degrees) % 180 == pytest.approx(0, abs=1e-6) or (
                table["angle"][row] - degrees) % 180 == pytest.approx(180, abs=1e-6)


def test_a_circle_has_no_direction_and_what_is_longer_has_one():
    image = np.zeros((400, 400), np.uint8)
    figures = roi.Set()
    for radius, name in ((90, "circle"), (90.03, "nearly"), (90.3, "longer")):
        figures.add("ROIEllipse", name, CenterX=200, CenterY=190, RadiusX=90, RadiusY=radius)
    angles = figures.measure(image, columns="angle", exact=True)["angle"]
    assert np.isnan(angles[:2]).all() and angles[2] == pytest.approx(90, abs=1)


@pytest.mark.parametrize("kind, low, high", [("u1", 0, 256), ("u2", 0, 65536), ("i2", -32768, 32768), ("f4", -5, 5)])
def test_long_rows_are_summed_to_their_end(kind, low, high):
    image = np.random.default_rng(8).uniform(low, high, (3, 70000)).astype(kind)
    image[:, 35000:] = high - 1
    box = roi.Set()
    box.add("ROIRectangle", "box", CenterX=35000, CenterY=1, Width=69000, Height=2)
    inside = image[:2, 500:69500].astype(float)
    table = box.measure(image, columns="pixels,sum,mean,std,skewness")
    assert table["pixels"][0] == inside.size
    assert [table[c][0] for c in ("sum", "mean", "std")] == pytest.approx([inside.sum(), inside.mean(), inside.std()])
    stats = pytest.importorskip("scipy.stats")
    assert table["skewness"][0] == pytest.approx(stats.skew(inside, axis=None))


def test_values_that_are_large_and_alike_keep_their_digits(every_class):
    stats = pytest.importorskip("scipy.stats")
    small = np.random.default_rng(6).gamma(2.0, 1.0, SHAPE)
    table = every_class.measure(small + 2.0**33, columns="std,skewness,kurtosis")
    for row, figure in enumerate(every_class.values()):
        inside = small[figure.mask(SHAPE)]
        assert table["std"][row] == pytest.approx(inside.std(), rel=1e-5)
        assert table["skewness"][row] == pytest.approx(stats.skew(inside), rel=1e-4)
        assert table["kurtosis"][row] == pytest.approx(stats.kurtosis(inside), rel=1e-4)


def test_lengths_and_areas_follow_the_size_of_a_pixel(tmp_path):
    np.savetxt(tmp_path / "i.pgm", np.full((90, 130), 7, int), "%d", header="P2 130 90 255", comments="")
    figures = roi.Set()
    figures.add("ROIRectangle", "box", CenterX=60.5, CenterY=40.5, Width=80, Height=20)
    figures.add("ROIShape", "slope", points=[(10.5, 10.5), (70.5, 10.5), (10.5, 55.5)])
    figures.save(tmp_path / "s.roi")
    table = rows(tmp_path, "measure", "s.roi", "i.pgm", "--exact", "--pixel-size", "0.5x3mm", "--columns",
                 "area,intden,perimeter,feret,circularity,major,minor,angle,threshold=7-9,cx,left")
    slant = np.hypot(30, 135)
    expected = {  # 40 x 60 and, half a box, 30 x 135 millimetres
        "area": (2400, 2025), "intden": (16800, 14175), "threshold=7-9": (2400, 2025), "perimeter": (200, 165 + slant),
        "feret": (np.hypot(40, 60), slant), "circularity": (0.24 * np.pi, 8100 * np.pi / (165 + slant) ** 2),
        "cx": (60.5, 30.5)}
    for column, values in expected.items():
        assert [row[column] for row in table] == pytest.approx(values, rel=1e-3), column
    moments = np.array([[30**2, -30 * 135 / 2], [-30 * 135 / 2, 135**2]]) / 18  # of a triangle, about its centroid
    (small, large), axes = np.linalg.eigh(moments)
    assert (table[1]["major"], table[1]["minor"]) == pytest.approx((4 * large**0.5, 4 * small**0.5), rel=5e-3)
    assert table[1]["angle"] == pytest.approx(np.degrees(np.arctan(axes[1, 1] / axes[0, 1])), abs=0.2)
    assert table[0]["left"] == 21 and table[0]["unit"] == "mm"


@pytest.mark.parametrize("column", ["p100.5", "p-1", "p", "pNN", "p1e", "threshold=9-3", "threshold=7", "threshold="])
def test_numbers_of_columns_are_sound(every_class, image, column):
    with pytest.raises(roi.UsageError, match=f"unknown column: {column}"):
        every_class.measure(image, columns=[column])


def sampled(image, points, thicknesses):
    """Distance, mean, deviation and count along a band, one sample to a pixel across."""
    ndimage = pytest.importorskip("scipy.ndimage")
    ends = np.array(points, float)
    lengths = np.hypot(*np.diff(ends, axis=0).T)
    starts = np.concatenate([[0], np.cumsum(lengths)])
    curve = []
    for distance in range(int(starts[-1]) + 1):
        last = max(i for i in range(len(lengths)) if lengths[i] > 0)
        i = next((i for i in range(len(lengths)) if starts[i] <= distance < starts[i + 1]), last)
        along = (ends[i + 1] - ends[i]) / lengths[i]
        first, end = sorted((-thicknesses[i][0], thicknesses[i][1]))
        across = np.arange(np.ceil(first), np.floor(end) + 1)
        across = across if len(across) else np.array([(first + end) / 2])
        x, y = (ends[i] + (distance - starts[i]) * along)[:, None] + np.outer([-along[1], along[0]], across)
        seen = (x >= 0) & (y >= 0) & (x <= image.shape[1] - 1) & (y <= image.shape[0] - 1)
        values = ndimage.map_coordinates(image.astype(float), [y[seen], x[seen]], order=1)
        curve.append((distance, values.mean() if len(values) else np.nan, values.std() if len(values) else np.nan,
                      len(values)))
    return np.array(curve).T


@pytest.mark.parametrize("points, thicknesses", [
    ([(12.2, 60.1), (50.3, 22.8), (98.6, 31.9)], [(2.5, 4.25), (6, 1.5)]),
    ([(12, 60), (12, 20), (12, 20), (42, 20)], [(3, 1), (9, 9), (2, 5)]),
    ([(3, 86), (33, 86), (126, 89)], [(1, 7), (1, 7)]),
    ([(129, 10), (129, 70)], [(4, 0.5)]),
    ([(-5, 30), (20, 42)], [(0.25, 0.75)]),
    ([(12, 30), (40, 51), (40, 51)], [(-0.25, 0.75), (5, 5)]),
])
@pytest.mark.parametrize("kind", ["u1", "f8"])
def test_profiles_are_bilinear_samples_of_their_band(points, thicknesses, kind, tmp_path):
    image = np.random.default_rng(13).integers(0, 250, SHAPE).astype(kind)
    ends = thicknesses + [(1, 1)]
    texts = " ".join(",".join(map(repr, map(float, (*p, *t)))) for p, t in zip(points, ends))
    (tmp_path / "p.csv").write_text(f'name,class,parameters,points\np,ROIProfile,,"{texts}"\n')
    curve = roi.read(tmp_path / "p.csv")["p"].profile(image)
    distance, mean, deviation, samples = sampled(image, points, thicknesses)
    assert curve["distance"] == pytest.approx(distance) and curve["samples"].tolist() == samples.tolist()
    assert curve["mean"] == pytest.approx(mean, nan_ok=True)
    assert curve["std"] == pytest.approx(deviation, nan_ok=True, abs=1e-9)


def test_values_without_weight_are_not_looked_at():
    image = np.arange(9.0 * 14).reshape(9, 14)
    image[6], image[:, 11] = np.nan, np.nan
    for points, expected in (([(2, 5), (10, 5)], image[5, 2:11]), ([(10, 1), (10, 5)], image[1:6, 10]),
                             ([(2, 8), (10, 8)], image[8, 2:11]), ([(13, 7), (13, 8)], image[7:, 13])):
        line = roi.Figure("ROIProfile", points=points, Thickness1=0.25, Thickness2=0.25)
        assert line.profile(image)["mean"].tolist() == expected.tolist()


def test_histograms_hold_all_numbers_there_are(tmp_path):
    tifffile = pytest.importorskip("tifffile")
    figures = roi.Set()
    figures.add("ROIRectangle", "box", CenterX=6, CenterY=3, Width=11.5, Height=5.5)
    figures.save(tmp_path / "s.roi")
    rng = np.random.default_rng(2)
    cases = {name: rng.normal(5, 2, (9, 14)) for name in ("plain", "endless", "vast")}
    cases["endless"][2:4, 3:8] = [[np.inf, -np.inf, np.nan, np.inf, 4]] * 2
    cases["vast"][2:4, 3] = -1.5e308, 1.5e308
    for name, image in cases.items():
        tifffile.imwrite(tmp_path / "i.tif", image)
        table = rows(tmp_path, "histogram", "s.roi", "i.tif", "--bins", "7")
        inside = image[1:6, 1:12]
        inside = inside[np.isfinite(inside)]
        low, high = inside.min(), inside.max()
        edges = [low * (1 - i / 7) + high * (i / 7) for i in range(8)]
        assert [row["from"] for row in table] == pytest.approx(edges[:-1]), name
        assert table[-1]["to"] == high
        expected = np.histogram(inside / 2, bins=np.array(edges) / 2)[0]
        assert [row["area"] for row in table] == expected.tolist(), name
