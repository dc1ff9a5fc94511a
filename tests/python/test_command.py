"""What the command prints: numbers for people and for programs, and what it tells of many images."""

import json
import os
import subprocess

import numpy as np
import pytest

import roi

COMMAND = os.path.join(os.path.dirname(os.path.realpath(roi._roi.__file__)), "roi")


@pytest.fixture
def run(tmp_path):
    def run(*arguments, code=0):
        done = subprocess.run([COMMAND, *arguments], cwd=tmp_path, capture_output=True, text=True)
        assert done.returncode == code, done.stderr
        return done.stdout, done.stderr

    return run


# Four digits of the largest number, two decimals at least and six at most, without those that are 0 in every row.
ROUNDED = [
    ([1234.5678, 7], ["1234.57", "7.00"]),
    ([-12345.678, 7.25], ["-12345.68", "7.25"]),
    ([1.23456, 7], ["1.235", "7.000"]),
    ([-1.23456, 0.5], ["-1.235", "0.500"]),
    ([0.0123456, 0.5], ["0.0123", "0.5000"]),
    ([0.000012345, 0], ["0.000012", "0.000000"]),
    ([0.0000001, 0], ["1e-07", "0.000000"]),
    ([1e15, 2.5], ["1e+15", "2.50"]),
    ([9e14, 2.5], ["900000000000000.0", "2.5"]),
    ([1e-4, 300], ["0.0001", "300.00"]),
    ([20, 30], ["20", "30"]),
    ([20, 30.5], ["20.0", "30.5"]),
    ([20.25, 30.5], ["20.25", "30.50"]),
    ([99.996, 3.5], ["100.0", "3.5"]),
]


@pytest.mark.parametrize("numbers, shown", ROUNDED)
def test_people_get_few_digits_in_line_and_programs_all(run, tmp_path, numbers, shown):
    figures = roi.Set()
    for name, number in zip(("\u5b54 1", "cell, \u00e9"), numbers):
        figures.add("ROIEllipse", name, CenterX=number, CenterY=-0.0)
    figures.save(tmp_path / "s.roi")
    lines = run("list", "s.roi")[0].splitlines()
    width = max(len(text) for text in (*shown, "cx"))
    for line, name, text in zip(lines[1:], ("\u5b54 1    ", "cell, \u00e9"), shown, strict=True):
        assert line.startswith(f"{name}  ROIEllipse  {text:>{width}}   0  CenterX=")
    assert lines[0].startswith(f"name     class       {'cx':>{width}}  cy  parameters")
    rows = json.loads(run("list", "s.roi", "--format", "json")[0])
    assert [row["cx"] for row in rows] == numbers and all(str(row["cy"]) == "0.0" for row in rows)
    csv = run("list", "s.roi", "--format", "csv")[0].splitlines()
    assert csv[2].startswith('"cell, \u00e9",ROIEllipse,')
    assert [float(line.rsplit("ROIEllipse,", 1)[1].split(",")[0]) for line in csv[1:]] == numbers


def test_names_of_images_are_told_apart_from_rows_and_colours(run, tmp_path):
    figures = roi.Set()
    figures.add("ROIRectangle", "box", CenterX=2, CenterY=1, Width=2.5, Height=1.5)
    figures.save(tmp_path / "s.roi")
    names = ["a\nb.pgm", "a\rb.pgm", 'a"b.pgm', "a\x1b[1mb.pgm"]
    for name in names:
        (tmp_path / name).write_bytes(b"P5 5 4 255\n" + bytes(range(20)))
    arguments = ["measure", "s.roi", *names, "--columns", "image,max"]
    with subprocess.Popen([COMMAND, *arguments, "--format", "csv"], cwd=tmp_path, stdout=subprocess.PIPE) as process:
        csv = process.communicate()[0].decode()
    assert csv == 'image,max\n"a\nb.pgm",8\n"a\rb.pgm",8\n"a""b.pgm",8\na\x1b[1mb.pgm,8\n'
    assert [row["image"] for row in json.loads(run(*arguments, "--format", "json")[0])] == names
    people = run(*arguments)[0]
    assert "\x1b" not in people and len(people.splitlines()) == 5 and "a\\nb.pgm" in people


def test_columns_and_talk_follow_what_is_asked_for(run, tmp_path):
    tifffile = pytest.importorskip("tifffile")
    figures = roi.Set()
    figures.add("ROIRectangle", "box", CenterX=20, CenterY=10, Width=6.5, Height=3)
    figures.save(tmp_path / "s.roi")
    image = np.zeros((20, 30), np.uint8)
    for name, size in (("a", (1000, 500)), ("b", (1000, 500)), ("c", (500, 500)), ("d", None)):
        options = {"resolution": size, "resolutionunit": "CENTIMETER"} if size else {}
        tifffile.imwrite(tmp_path / f"{name}.tif", image, **options)
    tifffile.imwrite(tmp_path / "stack.tif", np.zeros((3, 20, 30), np.uint8), photometric="minisblack")

    def head(*arguments):
        return run("measure", "s.roi", *arguments, "--format", "csv")[0].splitlines()[0]

    plain = "image,name,status,pixels,mean,std,min,max,cx,cy"
    assert head("d.tif") == plain and head("stack.tif:2") == plain
    assert head("d.tif", "--exact") == plain.replace("pixels,", "pixels,area,unit,")
    assert head("d.tif", "--pixel-size", "3mm") == plain.replace("pixels,", "pixels,area,unit,")
    assert head("stack.tif") == head("d.tif", "--pages", "1") == plain.replace("image,", "image,page,")
    assert head("d.tif", "--columns", "name,feret") == "name,feret,unit"
    assert head("d.tif", "--columns", "unit,name,feret") == "unit,name,feret"
    # A size of pixels is told where it is another than before, and where lengths are asked for.
    talk = run("measure", "s.roi", "a.tif", "b.tif", "c.tif", "d.tif", "a.tif", "--columns", "image,area")[1]
    assert [line.split()[2:3] + line.split()[12:16] for line in talk.splitlines()] == [
        [f"{name}.tif:", x, "x", y, "um"] for name, x, y in (("a", "10", "20"), ("c", "20", "20"), ("a", "10", "20"))]
    assert run("measure", "s.roi", "a.tif", "--columns", "image,mean")[1] == ""
    assert run("measure", "s.roi", "a.tif", "--columns", "area", "--pixel-size", "1um")[1] == ""
    # Images are counted and not their pages.
    failed = run("measure", "s.roi", "stack.tif", "none.tif", "d.tif", "--keep-going", code=7)[1]
    assert failed.splitlines()[-1] == "roi: error: not all images measured: 1 of 3 failed: the rows of the others stand"
