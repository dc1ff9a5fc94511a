"""Pixels, numbers and arrays beside NumPy and scikit-image."""

import threading

import numpy as np
import pytest
from conftest import CLASSES, SHAPE

import roi

GRID = np.stack(np.meshgrid(np.arange(SHAPE[1]), np.arange(SHAPE[0])), axis=-1).reshape(-1, 2)


def test_a_pixel_belongs_when_its_centre_does(figure):
    mask = figure.mask(SHAPE + (3,))
    assert mask.dtype == bool and mask.shape == SHAPE and 0 < mask.sum() < mask.size
    assert (figure.contains(GRID).reshape(SHAPE) == mask).all()


def test_points_lie_inside_the_loops_of_the_outline(figure):
    draw = pytest.importorskip("skimage.measure")
    points = np.random.default_rng(5).uniform((0, 0), (130, 90), (20000, 2))
    outline = figure.outline()
    inside = np.zeros(len(points), bool)
    for loop in outline.outer:
        inside |= draw.points_in_poly(points, loop)
    for loop in outline.holes:
        inside &= ~draw.points_in_poly(points, loop)
    assert (figure.contains(points) != inside).mean() < 1e-3
    assert not figure.contains([(np.nan, 40), (61, np.inf), (-1e300, 1e300)]).any()
    assert figure.contains(np.empty((0, 2))).shape == (0,)


@pytest.mark.parametrize("scale", [1, 1e-3, 1e-310, 1e9, 1e306])
def test_many_points_are_answered_as_few_are(figure, scale):
    if figure.class_name == "ROIMask" and scale != 1:
        pytest.skip("an image has the size of its pixels")
    ell = roi.Figure("ROIShape", points=[(10, 10), (70, 10), (70, 31), (40, 31), (40, 80), (10, 80)])
    for tested in (figure, ell):
        tested = roi.Figure("ROIShape", points=tested.outline().outer[0] * scale) if scale != 1 else tested
        corners = np.concatenate(tested.outline().outer or [np.zeros((1, 2))])
        points = np.random.default_rng(9).uniform((0, 0), (130, 90), (6000, 2)) * scale
        points = np.concatenate([points, corners, corners[:, ::-1], [(np.nan, 5), (5, np.inf), (-np.inf, np.nan)]])
        few = [tested.contains(part) for part in np.array_split(points, 9)]
        assert (tested.contains(points) == np.concatenate(few)).all()


def test_hits_are_the_module_s():
    ellipse = roi.Figure("ROIEllipse", CenterX=20, CenterY=30, RadiusX=16, RadiusY=4)
    # The module tests an ellipse as the circle of the same area.
    points = [(27.9, 30), (28.1, 30), (20, 37.9), (35, 30)]
    assert ellipse.hits(points).tolist() == [True, False, True, False]
    assert ellipse.contains(points).tolist() == [True, True, False, True]


def test_coverage_is_the_exact_area(figure):
    coverage = figure.coverage(SHAPE)
    assert coverage.min() == 0 and coverage.max() == 1
    assert ((coverage > 0) | ~figure.mask(SHAPE)).all()
    fine = (np.arange(16) + 0.5) / 16 - 0.5
    sampled = np.mean([figure.contains(GRID + (dx, dy)) for dx in fine for dy in fine], axis=0).reshape(SHAPE)
    assert abs(coverage - sampled).max() < 0.07


@pytest.mark.parametrize("kind", "u1 i1 u2 i2 u4 i4 u8 i8 f2 f4 f8 g ? >u2 >f8".split())
@pytest.mark.parametrize("cut", [lambda a: a, lambda a: a[::-1, ::2], lambda a: a.T, np.asfortranarray,
                                 lambda a: np.broadcast_to(a[:, 3:4], a.shape)])
def test_numbers_are_those_of_numpy(every_class, kind, cut):
    values = np.random.default_rng(3).integers(0, 100, SHAPE)
    image = cut((values > 40 if kind == "?" else values).astype(kind))
    table = every_class.measure(image)
    for row, figure in enumerate(every_class.values()):
        inside = image[figure.mask(image.shape)].astype(float)
        assert table["pixels"][row] == inside.size
        expected = dict(mean=inside.mean(), std=inside.std(), min=inside.min(), max=inside.max())
        for column, value in expected.items():
            assert table[column][row] == pytest.approx(value, rel=1e-12, abs=1e-9)


def test_records_whose_values_are_out_of_line_are_copied(every_class):
    records = np.zeros(SHAPE, np.dtype([("flag", "u1"), ("value", "f8")]))
    records["value"] = np.arange(records.size).reshape(SHAPE) / 7
    table = every_class.measure(records["value"])
    assert (table["mean"] == every_class.measure(records["value"].copy())["mean"]).all()


def test_regions_are_those_of_scikit_image(every_class, image):
    measure = pytest.importorskip("skimage.measure")
    table = every_class.measure(image, columns=["pixels", "mean", "cx", "cy", "left", "top", "width", "height"])
    for row, figure in enumerate(every_class.values()):
        mask = figure.mask(image.shape)
        region = measure.regionprops(mask.astype(int), image)[0]
        assert table["pixels"][row] == region.area
        assert table["mean"][row] == pytest.approx(region.intensity_mean)
        assert (table["cy"][row], table["cx"][row]) == pytest.approx(region.centroid)
        top, left, bottom, right = region.bbox
        assert [table[c][row] for c in ("left", "top", "width", "height")] == [left, top, right - left, bottom - top]


def test_exact_areas_weigh_every_pixel(every_class, image):
    table = every_class.measure(image, columns=["name", "area", "sum"], exact=True)
    for row, figure in enumerate(every_class.values()):
        coverage = figure.coverage(image.shape)
        assert table["name"][row] == figure.name
        assert table["area"][row] == pytest.approx(coverage.sum())
        assert table["sum"][row] == pytest.approx((coverage * image).sum())


def test_colours_are_measured_on_their_luma_or_one_by_one(every_class):
    rgba = np.random.default_rng(1).integers(0, 255, SHAPE + (4,), dtype=np.uint8)
    luma = rgba[..., :3] @ [0.299, 0.587, 0.114]
    assert every_class.measure(rgba)["mean"] == pytest.approx(every_class.measure(luma)["mean"])
    planes = np.ascontiguousarray(np.moveaxis(rgba, 2, 0))
    table = every_class.measure(np.moveaxis(planes, 0, 2), channels=True, columns="name,channel,max")
    assert table["channel"].tolist() == ["R", "G", "B", "A"] * len(every_class)
    assert table["max"][1] == rgba[..., 1][every_class["Ellipse"].mask(SHAPE)].max()


def test_columns_are_all_those_of_the_command(every_class, image):
    names = [name.replace("pNN", "p90").replace("LOW-HIGH", "100-200.5") for name in roi.columns()]
    table = every_class.measure(image, columns=names)
    assert list(table) == names
    assert table["pixels"].dtype == np.int64 and table["mean"].dtype == np.float64
    every_class["Ellipse"].update(CenterX=-500)
    table = every_class.measure(image, columns=["status", "pixels", "mean", "left"])
    assert table["status"][0] == "outside" and table["pixels"][0] == 0
    assert np.isnan(table["mean"][0]) and np.isnan(table["left"][0])
    assert pytest.importorskip("pandas").DataFrame(table)["pixels"].sum() == table["pixels"].sum()


def test_figures_are_found_under_a_point_after_every_change(every_class):
    def ask(x, y, by="outline"):
        found = every_class.at((x, y), by=by)
        test = "contains" if by == "outline" else "hits"
        assert found == [f.name for f in every_class.values() if getattr(f, test)([(x, y)])[0]][::-1]
        return found

    center = every_class["Ellipse"].nodes[0]
    x, y = center.x, center.y
    assert "Ellipse" in ask(x, y) and "Ellipse" in ask(x, y, "module")
    every_class["Ellipse"]["CenterX"] = x + 1000
    assert "Ellipse" not in ask(x, y) and ask(x + 1000, y) == ["Ellipse"]
    every_class["Ellipse"].transform([[1, 0, 0], [0, 1, 500]])
    assert ask(x + 1000, y + 500) == ["Ellipse"]
    every_class.append(every_class["Ellipse"], "above")
    assert ask(x + 1000, y + 500) == ["above", "Ellipse"]
    del every_class["above"]
    every_class.rename("Ellipse", "egg")
    assert ask(x + 1000, y + 500) == ["egg"] and every_class.at((float("nan"), y)) == []


def test_labels_are_the_last_figure_s(every_class):
    with pytest.warns(roi.FigureWarning, match="of its pixels are labelled as a later figure"):
        labels = every_class.labels(SHAPE)
    expected = np.zeros(SHAPE, np.uint16)
    for number, figure in enumerate(every_class.values(), 1):
        expected[figure.mask(SHAPE)] = number
    assert labels.dtype == np.uint16 and (labels == expected).all()
    del every_class
    assert labels.max() == len(CLASSES)


def test_drawing_tints_the_pixels_and_leaves_the_image_alone(image):
    figures = roi.Set()
    figures.add("ROIRectangle", "box", CenterX=40, CenterY=30, Width=20, Height=10)
    before = image.copy()
    drawn = figures.draw(image, names=False)
    bare = roi.Set().draw(image)
    assert drawn.dtype == np.uint8 and drawn.shape == SHAPE + (3,) and (image == before).all()
    changed = (drawn != bare).any(axis=2)
    assert changed[30, 40] and not changed[:20].any() and not changed[:, 60:].any()


def test_profiles_are_sampled_along_their_length():
    x = np.arange(100.0)
    image = np.add.outer(3 * x, x)
    figure = roi.Figure("ROIProfile", points=[(10, 20), (40, 60)], Thickness1=2, Thickness2=2)
    curve = figure.profile(image)
    assert len(curve["distance"]) == 51
    assert curve["mean"] == pytest.approx(3 * curve["y"] + curve["x"])
    assert (curve["x"][50], curve["y"][50]) == pytest.approx((40, 60))


def test_masks_are_given_as_arrays():
    marks = np.zeros((5, 9), bool)
    marks[1:4, 2:8:2] = True
    assert (roi.Figure("ROIMask", mask=marks).mask((6, 12))[:5, :9] == marks).all()
    placed = roi.Figure("ROIMask", mask=marks[::-1, ::-1], CenterX=14, CenterY=12)
    assert (placed.mask((20, 30))[10:15, 10:19] == marks[::-1, ::-1]).all()


def test_threads_measure_while_others_change_and_drop_figures(every_class, image):
    large = np.tile(image, (8, 8))
    failures = []

    def work(task):
        try:
            for i in range(40):
                task(i)
        except Exception as failure:
            failures.append(failure)

    def edit(i):
        every_class.add("ROIEllipse", f"new {i}", CenterX=i)["RadiusX"] = 5
        every_class.remove(f"new {i}")

    tasks = [lambda i: every_class.measure(large), lambda i: every_class.draw(large[:300, :300]), edit,
             lambda i: roi.Figure("ROIDonut").contains(np.ones((10000, 2)))]
    threads = [threading.Thread(target=work, args=(task,)) for task in tasks]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures and len(every_class) == len(CLASSES)
