import copy
import gc
import os
import pickle
import subprocess
import sys

import numpy as np
import pytest
from conftest import CLASSES

import roi


def test_parameters_are_a_mapping():
    ellipse = roi.Figure("ROIEllipse", "nucleus", CenterX=428.5, CenterY=374.5, RadiusX=90, RadiusY=45)
    assert dict(ellipse) == {"CenterX": 428.5, "CenterY": 374.5, "RadiusX": 90.0, "RadiusY": 45.0}
    ellipse["RadiusX"] = np.float32(80.25)
    ellipse.update(CenterX=430, RadiusY=0.1)
    assert [ellipse[name] for name in ellipse] == [430.0, 374.5, 80.25, 0.1]
    assert "RadiusX" in ellipse and "Radius" not in ellipse and 7 not in ellipse and len(ellipse) == 4


def test_nodes_are_dragged():
    ellipse = roi.Figure("ROIEllipse", CenterX=428.5, CenterY=374.5, RadiusX=90, RadiusY=45)
    assert [(node.node, node.x, node.y) for node in ellipse.nodes] == [
        (1, 428.5, 374.5), (2, 518.5, 374.5), (3, 428.5, 329.5)]
    ellipse.drag(2, (490, 374.5), square=True)
    assert (ellipse["RadiusX"], ellipse["RadiusY"]) == (61.5, 61.5)
    profile = roi.Figure("ROIProfile", points=[(3, 4), (10, 28)])
    profile.drag("1:1", (12.5, 30))
    assert profile.points.tolist() == [[3, 4], [12.5, 30]]


def test_matrices_map_and_say_what_they_leave_out():
    rectangle = roi.Figure("ROIRectangle", CenterX=10, CenterY=20, Width=6, Height=4)
    rectangle.transform([[2, 0, 1], [0, 3, -2]])
    assert [rectangle[name] for name in ("CenterX", "CenterY", "Width", "Height")] == [21, 58, 12, 12]
    with pytest.warns(roi.FigureWarning, match="a rectangle does not lean"):
        rectangle.transform([[1, 0.5, 0], [0, 1, 0]])


def test_copies_are_equal_and_independent(figure):
    for made in (copy.copy(figure), copy.deepcopy(figure), pickle.loads(pickle.dumps(figure))):
        assert (made.class_name, made.name, dict(made)) == (figure.class_name, figure.name, dict(figure))
        assert made.points.tolist() == figure.points.tolist()
        assert (made.mask((90, 130)) == figure.mask((90, 130))).all()
        if "CenterX" in made:
            made["CenterX"] = 3
            assert figure["CenterX"] > 60


def test_figures_of_a_set_are_one_object_and_outlive_it(every_class):
    ring = every_class["Donut"]
    assert every_class["Donut"] is ring and list(every_class.values())[1] is ring
    ring.name = "washer"
    assert list(every_class)[1] == "washer" and every_class["washer"] is ring
    every_class["washer"]["RadiusX2"] = 41
    assert ring["RadiusX2"] == 41
    del every_class["washer"]
    assert "washer" not in every_class and ring["RadiusX2"] == 41
    ring.name = "alone"
    names = list(every_class)
    figures = list(every_class.values())
    del every_class
    gc.collect()
    assert [figure.name for figure in figures] == names


def test_sets_are_copied_whole(every_class):
    for made in (copy.copy(every_class), pickle.loads(pickle.dumps(every_class))):
        assert {name: dict(figure) for name, figure in made.items()} == {
            name: dict(figure) for name, figure in every_class.items()}
        made["Ellipse"]["RadiusX"] = 2
        assert every_class["Ellipse"]["RadiusX"] == CLASSES["ROIEllipse"]["RadiusX"]
    every_class.append(made["Ellipse"], "small")["RadiusY"] = 5
    assert (every_class["small"]["RadiusX"], made["Ellipse"]["RadiusY"]) == (2, 17.9)


ERRORS = [
    (lambda f: f["elipse"], roi.UnknownNameError, "unknown figure: elipse: the nearest is Ellipse"),
    (lambda f: f["Ellipse"]["Radius"], roi.UnknownNameError, "unknown parameter: Radius: the nearest is RadiusX"),
    (lambda f: f["Ellipse"].update(RadiusX=-1), roi.UsageError, "negative radius: RadiusX=-1: a radius is 0 or more"),
    (lambda f: f["Ellipse"].update(RadiusX=float("nan")), roi.UsageError, "not a number"),
    (lambda f: f.add("ROIElipse", "e"), roi.UsageError, "unknown class: ROIElipse: the nearest is ROIEllipse"),
    (lambda f: f.add("ROIEllipse", "Donut"), roi.Error, "name taken: Donut"),
    (lambda f: f.add("ROIEllipse", "a/b"), roi.UsageError, "bad figure name: a/b"),
    (lambda f: f.add("ROIEllipse", "e", points=[(1, 2)]), roi.UsageError, "cannot take points: ROIEllipse"),
    (lambda f: f.add("ROIShape", "s", points=[1, 2]), roi.UsageError, r"not points: array of shape \(2,\)"),
    (lambda f: f.add("ROIEllipse", "e", mask=np.ones((2, 3))), roi.UsageError, "only ROIMask has an image"),
    (lambda f: f["Ellipse"].drag(9, (1, 2)), roi.UsageError, "cannot drag node: 9: a ROIEllipse has nodes 1 to 3"),
    (lambda f: f["Ellipse"].transform(np.zeros((2, 3))), roi.UsageError, "it is singular"),
    (lambda f: f["Ellipse"].transform(np.eye(2)), roi.UsageError, "not a matrix"),
    (lambda f: f["Ellipse"].profile(np.ones((9, 9))), roi.UsageError, "not a profile: Ellipse"),
    (lambda f: f["Ellipse"].mask((3,)), roi.UsageError, "not a shape"),
    (lambda f: f["Ellipse"].mask((-3, 5)), roi.UsageError, "not a shape"),
    (lambda f: f.labels((1 << 16, 1 << 15)), roi.UsageError, "shape too large"),
    (lambda f: f["Ellipse"].coverage(None), roi.UsageError, "not a shape"),
    (lambda f: f["Ellipse"].coverage((2.5, 7)), roi.UsageError, "not a shape"),
    (lambda f: f["Ellipse"].contains(np.ones((4, 3))), roi.UsageError, "not points"),
    (lambda f: f["Ellipse"].contains(["a"]), ValueError, ""),
    (lambda f: f["Ellipse"].mask((9, 9), by="hand"), roi.UsageError, "unknown rule: hand"),
    (lambda f: f.measure(np.ones((9, 9)), by="module", exact=True), roi.UsageError, "unknown rule"),
    (lambda f: f.measure(np.ones(9)), roi.UsageError, r"array of float64 and shape \(9,\)"),
    (lambda f: f.measure(np.ones((0, 9))), roi.UsageError, "it has no pixels"),
    (lambda f: f.measure(np.ones((9, 9), complex)), roi.UsageError, "real numbers"),
    (lambda f: f.measure(np.array([["a", "b"]])), roi.UsageError, "real numbers"),
    (lambda f: f.measure(np.array([[None, {}]])), roi.UsageError, "real numbers"),
    (lambda f: f.measure(None), roi.UsageError, "real numbers"),
    (lambda f: f.measure("none.png"), roi.MissingFileError, "none.png"),
    (lambda f: f.measure(np.ones((9, 9)), columns=["maen"]), roi.UsageError, "column: maen: the nearest is mean"),
    (lambda f: f.measure(np.ones((9, 9)), columns=[]), roi.UsageError, "no columns"),
    (lambda f: f.measure(np.ones((9, 9)), columns=[3]), TypeError, ""),
    (lambda f: f.draw(np.ones((9, 9)), only=["x"]), roi.UnknownNameError, "unknown figure"),
    (lambda f: f.rename("Ellipse", "Donut"), roi.Error, "name taken"),
    (lambda f: f.remove("Ellipse", "x"), roi.UnknownNameError, "unknown figure: x"),
    (lambda f: f.save("a.png"), roi.UsageError, "end the name in .roi or .xml"),
    (lambda f: f.export("a.abc"), roi.UsageError, "unknown format"),
    (lambda f: f.measure_files(["a.png"], jobs=0), roi.UsageError, "unknown number of jobs"),
    (lambda f: f.measure_files([3]), TypeError, ""),
    (lambda f: roi.Set("none.roi"), roi.MissingFileError, "none.roi"),
    (lambda f: roi.Set("a\0b.roi"), ValueError, "null"),
    (lambda f: roi.read(3.5), TypeError, ""),
    (lambda f: pickle.loads(pickle.dumps(f).replace(b"figures.json", b"figures.jsen")), roi.Error, ""),
]


@pytest.mark.parametrize("call, kind, message", ERRORS)
def test_errors_have_the_words_of_the_command(every_class, call, kind, message):
    before = pickle.dumps(every_class)
    with pytest.raises(kind, match=message):
        call(every_class)
    assert pickle.dumps(every_class) == before


def test_errors_are_of_the_kinds_that_python_has():
    assert issubclass(roi.UsageError, ValueError) and issubclass(roi.UnknownNameError, KeyError)
    assert issubclass(roi.MissingFileError, FileNotFoundError)


LEAVING = """
import sys, numpy, roi
figures = roi.Set()
{}
sys.exit(7)
"""


@pytest.mark.parametrize("last", [
    "figure = figures.add('ROIDonut', 'ring'); figures = None",
    "figure = figures.add('ROIProfile', 'scan', points=[(1, 2), (7, 9)]); sys.modules['kept'] = figure",
    "labels = figures.labels((5, 6)); roi.kept = figures, labels",
    "numpy.kept = figures.measure_files(['a.png'] * 50, jobs=2)",
    "numpy.kept = figures.measure_files(['a.png'] * 50, jobs=2, failed=print); next(numpy.kept, None)",
])
def test_the_interpreter_ends_in_any_order(last):
    done = subprocess.run([sys.executable, "-c", LEAVING.format(last)], stdout=subprocess.DEVNULL)
    assert done.returncode == 7


def test_imports_from_anywhere_and_works_after_chdir(tmp_path):
    text = "import cv2, os, roi; os.chdir('/'); print(roi.Figure('ROIMask', mask=[[0, 1]]).image)"
    package = os.path.dirname(os.path.dirname(roi.__file__))
    done = subprocess.run([sys.executable, "-c", text], cwd=tmp_path, capture_output=True, text=True,
                          env={**os.environ, "PYTHONPATH": os.path.relpath(package, tmp_path)})
    assert done.stdout == "[[  0 255]]\n", done.stderr
