import itertools
import os
import subprocess
import sys

import numpy as np
import pytest
from conftest import SHAPE

import roi

tifffile = pytest.importorskip("tifffile")


@pytest.fixture
def plate(tmp_path):
    """Twelve images, of which the fifth is missing and the ninth is broken."""
    rng = np.random.default_rng(11)
    paths = [tmp_path / f"image {i}.tif" for i in range(12)]
    for i, path in enumerate(paths):
        if i != 4:
            tifffile.imwrite(path, rng.integers(0, 60000, SHAPE if i % 2 else (50, 160), dtype=np.uint16))
    paths[8].write_bytes(paths[8].read_bytes()[:200])
    return paths


def test_sets_are_saved_whole_and_keep_their_history(every_class, tmp_path):
    path = tmp_path / "every class.roi"
    every_class.save(path)
    every_class["Ellipse"]["RadiusX"] = 12.5
    every_class.save(path)
    again = roi.Set(path)
    assert {n: dict(f) for n, f in again.items()} == {n: dict(f) for n, f in every_class.items()}
    command = os.path.join(os.path.dirname(os.path.realpath(roi._roi.__file__)), "roi")
    subprocess.run([command, "undo", path], check=True, capture_output=True)
    assert roi.Set(path)["Ellipse"]["RadiusX"] == 33.2
    with pytest.warns(roi.FigureWarning, match="XML does not keep"):
        every_class.save(str(tmp_path / "every class.xml"))


def test_other_programs_files_are_read_and_written(tmp_path):
    figures = roi.Set()
    figures.add("ROIEllipse", "cell", CenterX=30, CenterY=20, RadiusX=10, RadiusY=7)
    figures.add("ROIRectangle", "box", CenterX=50, CenterY=40, Width=20, Height=10)
    with pytest.warns(roi.FigureWarning, match="box: ImageJ"):
        figures.export(tmp_path / "RoiSet.zip")
    read = roi.read(tmp_path / "RoiSet.zip")
    assert list(read) == ["cell", "box"] and read["cell"]["RadiusX"] == 10
    figures.save(tmp_path / "cells.roi")
    assert dict(roi.read(os.fspath(tmp_path / "cells.roi").encode())["box"]) == dict(figures["box"])


def test_files_stream_in_order_whatever_the_jobs(every_class, plate):
    expected = {}
    for path in plate:
        try:
            expected[str(path)] = every_class.measure(path)
        except roi.Error as error:
            expected[str(path)] = str(error)
    for jobs in (1, 3):
        failed = {}
        tables = dict(every_class.measure_files(iter(plate), jobs=jobs, failed=lambda p, e: failed.update({p: str(e)})))
        assert list(tables) == [str(path) for i, path in enumerate(plate) if i not in (4, 8)]
        for path, table in tables.items():
            for column, values in table.items():
                np.testing.assert_array_equal(values, expected[path][column])
        assert failed == {path: text for path, text in expected.items() if isinstance(text, str)}


def test_a_stream_raises_where_nobody_takes_failures_and_goes_on(every_class, plate):
    tables = every_class.measure_files(plate[3:6])
    assert next(tables)[0] == str(plate[3])
    every_class.remove(*every_class)
    with pytest.raises(roi.MissingFileError, match="image 4.tif"):
        next(tables)
    assert len(next(tables)[1]["name"]) == 8
    with pytest.raises(StopIteration):
        next(tables)


def test_a_stream_may_be_left_at_any_time(every_class, plate):
    # Of two sizes by turns: threads wait for the figures' pixels when it ends.
    for jobs, taken in itertools.product((1, 2, 5), range(4)):
        tables = every_class.measure_files(plate[:4] * 3, jobs=jobs)
        paths = [path for path, _ in itertools.islice(tables, taken)]
        assert paths == [str(path) for path in plate[:taken]]
        del tables


def test_warnings_of_files_are_warnings(every_class, tmp_path):
    tifffile.imwrite(tmp_path / "two.tif", np.ones((2, 20, 30), np.uint8))
    with pytest.warns(roi.FigureWarning, match="the first of its 2 pages is taken"):
        every_class.measure(tmp_path / "two.tif")


def test_every_page_of_a_file_has_rows(every_class, tmp_path):
    tifffile.imwrite(tmp_path / "two.tif", np.stack([np.full((40, 50), 3, np.uint8), np.full((40, 50), 8, np.uint8)]))
    [(_, table)] = every_class.measure_files([tmp_path / "two.tif"], columns=["page", "name", "max"])
    count = len(every_class)
    assert table["page"].tolist() == count * [1] + count * [2]
    assert {p: np.nanmax(table["max"][table["page"] == p]) for p in (1, 2)} == {1: 3, 2: 8}
    with pytest.raises(roi.Error, match="it has several pages"):
        list(every_class.measure_files([tmp_path / "two.tif"]))


def test_notebooks_show_sets_and_figures(every_class):
    every_class.add("ROIEllipse", "<&>")
    assert "&lt;&amp;&gt;" in every_class._repr_html_() and "data:image/png" in every_class._repr_html_()
    assert every_class._repr_png_().startswith(b"\x89PNG") and every_class["Donut"]._repr_png_().startswith(b"\x89PNG")
    assert "RadiusX2" in every_class["Donut"]._repr_html_()
    assert roi.Set()._repr_png_() is None and "<table>" in roi.Set()._repr_html_()


def test_stubs_are_what_the_package_is():
    pytest.importorskip("mypy")
    # The metaclass is pybind11's, and only a set makes a FileTables.
    done = subprocess.run([sys.executable, "-m", "mypy.stubtest", "roi", "--ignore-missing-stub",
                           "--allowlist", "/dev/stdin"],
                          input="roi.Figure\nroi.FileTables.__init__", capture_output=True, text=True,
                          env={**os.environ, "MYPYPATH": os.path.dirname(roi.__path__[0])})
    assert done.returncode == 0, done.stdout + done.stderr
