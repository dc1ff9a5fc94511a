"""What the package takes beside scikit-image, OpenCV, Matplotlib, shapely and a property of pybind11's."""

import statistics
import time
import timeit

import cv2
import numpy as np
import shapely
from conftest import CLASSES
from matplotlib.path import Path
from shapely.geometry import Polygon
from shapely.ops import unary_union
from skimage import draw, measure

import roi

try:
    from shapely import contains_xy
except ImportError:  # Before shapely 2.
    from shapely import prepared, vectorized

    def contains_xy(region, x, y):
        return vectorized.contains(prepared.prep(region), x, y)


def seconds(work, passes=7):
    """The median of some runs, after one that does not count."""
    work()
    times = []
    for _ in range(passes):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return statistics.median(times)


def row(what, own, peer, name):
    print(f"{what:46} {own * 1e3:10.3f} ms  {name:34} {peer * 1e3:10.3f} ms  {peer / own:8.1f} times")


def measuring():
    """A hundred ellipses side by side on 2000 x 2000 pixels of 16 bits."""
    image = np.random.default_rng(1).integers(0, 60000, (2000, 2000), dtype=np.uint16)
    ellipses = [(100 + 200 * (i % 10), 100 + 200 * (i // 10), 50 + i % 40, 90 - i % 45) for i in range(100)]
    figures = roi.Set()
    for i, (x, y, rx, ry) in enumerate(ellipses):
        figures.add("ROIEllipse", str(i), CenterX=x, CenterY=y, RadiusX=rx, RadiusY=ry)

    def by_skimage():
        labels = np.zeros(image.shape, np.int32)
        for i, (x, y, rx, ry) in enumerate(ellipses, 1):
            labels[draw.ellipse(y, x, ry, rx, labels.shape)] = i
        return measure.regionprops_table(
            labels, image, ("area", "intensity_mean", "intensity_min", "intensity_max", "centroid", "bbox"))

    def by_opencv(cut):
        for x, y, rx, ry in ellipses:
            left, top, right, bottom = (x - rx, y - ry, x + rx + 1, y + ry + 1) if cut else (0, 0, *image.shape)
            part = image[top:bottom, left:right]
            mask = np.zeros(part.shape, np.uint8)
            cv2.ellipse(mask, (x - left, y - top), (rx, ry), 0, 0, 360, 255, -1)
            cv2.meanStdDev(part, mask=mask)
            cv2.minMaxLoc(part, mask=mask)
            cv2.moments(mask, binaryImage=True)

    own = seconds(lambda: figures.measure(image))
    row("measure 100 figures on 2000 x 2000", own, seconds(by_skimage), "skimage draw, regionprops_table")
    row("", own, seconds(lambda: by_opencv(False), 3), "OpenCV, masks of the image's size")
    row("", own, seconds(lambda: by_opencv(True)), "OpenCV, masks of the figure's size")


def points():
    """A million points in and around a figure of every class, beside the polygon of its outline."""
    for class_name, values in CLASSES.items():
        figure = roi.Figure(class_name, **values)
        xy = np.random.default_rng(2).uniform((0, 0), (130, 90), (1_000_000, 2))
        x, y = xy.T.copy()
        outer, holes = figure.outline()
        path = Path.make_compound_path(*(Path(np.vstack([loop, loop[:1]]), closed=True) for loop in outer + holes))
        region = unary_union([Polygon(loop) for loop in outer]) - unary_union([Polygon(loop) for loop in holes])
        own = seconds(lambda: figure.contains(xy))
        row(f"contains, a million points, {class_name}", own, seconds(lambda: path.contains_points(xy), 3),
            "Matplotlib contains_points")
        row("", own, seconds(lambda: contains_xy(region, x, y), 3), f"shapely {shapely.__version__}, vectorised")


def parameters():
    """A parameter read, known and after a change, and set, beside a property that pybind11 makes."""
    figure = roi.Figure("ROIEllipse")
    calls = 100_000

    def single(work):
        return min(timeit.repeat(work, number=calls, repeat=9)) / calls * 1e9

    peer = single(lambda: figure.class_name)

    def change_and_read():
        figure["RadiusX"] = 80
        return figure["RadiusX"]

    for what, work in (("read a parameter", lambda: figure["RadiusX"]), ("set it and read it", change_and_read)):
        own = single(work)
        print(f"{what:46} {own:10.0f} ns  {'a property of pybind11':34} {peer:10.0f} ns  {own - peer:+8.0f} ns")


if __name__ == "__main__":
    measuring()
    points()
    parameters()
