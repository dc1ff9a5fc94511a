"""Files of other programs, made and read byte by byte: where the numbers of each format lie and what they mean."""

import json
import struct
import warnings
import zipfile

import numpy as np
import pytest

import roi

RECTANGLE, OVAL, LINE, POLYLINE, FREEHAND, TRACED, POINT = 1, 2, 3, 5, 7, 8, 10
SUB_PIXEL = 128


def read(path, contents, format=""):
    """The figures of a file, and what is said about them."""
    path.write_bytes(contents if isinstance(contents, bytes) else json.dumps(contents).encode())
    with warnings.catch_warnings(record=True) as said:
        warnings.simplefilter("always")
        figures = roi.read(path, format)
    return figures, [str(warning.message) for warning in said]


def made_of(figure):
    """A figure's class and its numbers: points with thicknesses, or the values that are not zero."""
    if figure.class_name == "ROIProfile":
        return (*figure.points.ravel().tolist(), figure["Thickness1"], figure["Thickness2"])
    if figure.class_name == "ROIShape":
        return tuple(figure.points.ravel().tolist())
    return tuple(value for value in dict(figure).values() if value != 0)


def imagej(kind=0, box=(0, 0, 0, 0), line=None, numbers=(), exact=(), many=False, paths=(), stroke=0, width=0.0,
           subtype=0, options=0, across=None, corner=0, version=228, name="", group=0):
    """A file of ImageJ's; `box` is left, top, right, bottom, `numbers` and `exact` are points."""
    head = bytearray(64)
    struct.pack_into(">4sHB", head, 0, b"Iout", version, kind)
    struct.pack_into(">4h", head, 8, box[1], box[0], box[3], box[2])
    if line:
        struct.pack_into(">4f", head, 18, *line)
    struct.pack_into(">I" if many else ">H", head, 18 if many else 16, len(numbers))
    struct.pack_into(">hi", head, 34, stroke, len(paths))
    struct.pack_into(">hH", head, 48, subtype, options)
    if across is not None:
        struct.pack_into(">f", head, 52, across)
    else:
        struct.pack_into(">h", head, 54, corner)
    body = struct.pack(f">{2 * len(numbers)}h", *(p[axis] for axis in (0, 1) for p in numbers))
    body += struct.pack(f">{2 * len(exact)}f", *(p[axis] for axis in (0, 1) for p in exact))
    body += struct.pack(f">{len(paths)}f", *paths)
    struct.pack_into(">I", head, 60, 64 + len(body))
    text = name.encode("utf-16-be")
    second = bytearray(64)
    struct.pack_into(">2I", second, 16, 128 + len(body), len(text) // 2)
    struct.pack_into(">B5xf", second, 30, group, width)
    return bytes(head) + body + bytes(second) + text


CORNERS = [(0, 0), (31, 4), (12, 27)]
EXACT = [(100.25, 40.5), (131.75, 44.25), (112.5, 67.125)]
IMAGEJ = {
    "box": (imagej(RECTANGLE, (10, 20, 40, 61)), "ROIRectangle", (24.5, 40, 30, 41)),
    "oval": (imagej(OVAL, (10, 20, 40, 61)), "ROIEllipse", (24.5, 40, 15, 20.5)),
    "box of parts": (imagej(RECTANGLE, (9, 9, 9, 9), (10.25, 20.5, 30.5, 40.75), options=SUB_PIXEL),
                     "ROIRectangle", (25, 40.375, 30.5, 40.75)),
    "parts before there were any": (imagej(RECTANGLE, (10, 20, 40, 61), (1, 2, 3, 4), options=SUB_PIXEL, version=221),
                                    "ROIRectangle", (24.5, 40, 30, 41)),
    "line": (imagej(LINE, line=(3.5, 4.25, 20, 9.75), stroke=5), "ROIProfile", (3, 3.75, 19.5, 9.25, 2.5, 2.5)),
    "thin line": (imagej(LINE, line=(3.5, 4.25, 20, 9.75)), "ROIProfile", (3, 3.75, 19.5, 9.25, 0.5, 0.5)),
    "line of a part": (imagej(LINE, line=(3.5, 4.25, 20, 9.75), stroke=4, width=3.5),
                       "ROIProfile", (3, 3.75, 19.5, 9.25, 1.75, 1.75)),
    "polygon": (imagej(0, (100, 40, 131, 67), numbers=CORNERS), "ROIShape", (99.5, 39.5, 130.5, 43.5, 111.5, 66.5)),
    "negative": (imagej(TRACED, (-10, -20, 21, 7), numbers=CORNERS), "ROIShape", (-10.5, -20.5, 20.5, -16.5, 1.5, 6.5)),
    "exact": (imagej(FREEHAND, (100, 40, 132, 68), numbers=CORNERS, exact=EXACT, options=SUB_PIXEL),
              "ROIShape", (99.75, 40, 131.25, 43.75, 112, 66.625)),
    "many": (imagej(0, (100, 40, 131, 67), numbers=CORNERS, many=True),
             "ROIShape", (99.5, 39.5, 130.5, 43.5, 111.5, 66.5)),
    "polyline": (imagej(POLYLINE, (100, 40, 131, 67), numbers=CORNERS, stroke=3),
                 "ROIProfile", (99.5, 39.5, 130.5, 43.5, 111.5, 66.5, 1.5, 1.5)),
    "lying ellipse": (imagej(FREEHAND, numbers=CORNERS, line=(10.5, 30.5, 50.5, 30.5), subtype=3, across=0.25),
                      "ROIEllipse", (30, 30, 20, 5)),
    "standing ellipse": (imagej(FREEHAND, numbers=CORNERS, line=(31.5, 10.5, 31.5, 50.5), subtype=3, across=0.25),
                         "ROIEllipse", (31, 30, 5, 20)),
    "rolled box": (imagej(FREEHAND, numbers=CORNERS, line=(10.5, 30.5, 40.5, 70.5), subtype=5, across=12),
                   "ROIRectangle", (25, 50, 50, 12, np.degrees(np.arctan2(4, 3)))),
    "point": (imagej(POINT, (100, 40, 100, 40), numbers=[(5, 9)]), "ROIRectangle", (105, 49, 1, 1)),
    "exact point": (imagej(POINT, (105, 49, 105, 49), numbers=[(0, 0)], exact=[(105.75, 49.125)], options=SUB_PIXEL),
                    "ROIRectangle", (105, 49, 1, 1)),
}


@pytest.mark.parametrize("file, class_name, numbers", IMAGEJ.values(), ids=IMAGEJ)
def test_imagej_s_numbers_mean_what_they_do_there(file, class_name, numbers, tmp_path):
    figures, said = read(tmp_path / "f.roi", file)
    [figure] = figures.values()
    assert figure.class_name == class_name and said == []
    assert made_of(figure) == pytest.approx(numbers)


def test_imagej_s_rounded_boxes_have_quarters_of_ellipses(tmp_path):
    for corner, x, y in ((8, 4, 4), (30, 15, 10), (100, 20, 10)):
        figures, said = read(tmp_path / "f.roi", imagej(RECTANGLE, (10, 20, 50, 40), corner=corner))
        [loop] = figures["figure"].outline().outer
        area = 0.5 * abs(np.dot(loop[:, 0], np.roll(loop[:, 1], 1)) - np.dot(loop[:, 1], np.roll(loop[:, 0], 1)))
        assert area == pytest.approx(40 * 20 - (4 - np.pi) * x * y, abs=0.01 * x * y)
        assert (*loop.min(axis=0), *loop.max(axis=0)) == pytest.approx((9.5, 19.5, 49.5, 39.5))
        assert said == ["figure: a rounded rectangle becomes a polygon"]


def test_imagej_s_composites_are_closed_paths(tmp_path):
    # A triangle whose third side is a parabola, a box within it whose last corner ends a cubic, and a stroke.
    paths = [0, 2.5, 3.5, 1, 40.5, 3.5, 2, 99, 99, 2.5, 30.5, 4, 0, 6.5, 7.5, 1, 12.5, 7.5, 1, 12.5, 11.5,
             3, 99, 98, 97, 96, 6.5, 11.5, 4, 0, 60.5, 60.5, 1, 70.5, 60.5, 4]
    figures, said = read(tmp_path / "f.roi", imagej(RECTANGLE, (2, 3, 41, 31), paths=paths, name="hollow"))
    expected = np.zeros((40, 90), bool)
    for y, x in np.ndindex(expected.shape):
        inside = 2 <= x and 3 <= y and (x - 2) / 38 + (y - 3) / 27 < 1
        expected[y, x] = inside and not (6 <= x < 12 and 7 <= y < 11)
    assert (figures["hollow"].mask(expected.shape) == expected).all()
    assert figures["hollow"].image.shape == (28, 39)  # rows 3 to 30, columns 2 to 40
    assert said == ["hollow: a region of several outlines becomes a mask of its pixels"]


def test_imagej_s_archives_hold_names_of_all_planes_and_other_files(tmp_path):
    with zipfile.ZipFile(tmp_path / "set.zip", "w") as archive:
        archive.writestr("0001-0002.roi", imagej(OVAL, (10, 20, 40, 61), name="a\U0001F52C b", group=4))
        archive.writestr("notes.txt", "no figure")
        archive.writestr("0003-0004.roi", imagej(OVAL, (1, 2, 4, 6)))
    figures, said = read(tmp_path / "set.zip", (tmp_path / "set.zip").read_bytes())
    assert list(figures) == ["a\U0001F52C b", "0003-0004"]
    assert said == ["a\U0001F52C b: its group 4 is not kept"]


def polygon(*loops, **more):
    return {"type": "Polygon", "coordinates": [[*map(list, loop), list(loop[0])] for loop in loops], **more}


def feature(geometry, **properties):
    return {"type": "Feature", "geometry": geometry, "properties": properties}


BOX = [(10, 40), (10, 70), (52, 70), (52, 40)]
TRIANGLE = [(3, 4), (30.5, 7), (12, 41)]
GEOJSON = {
    "box": (polygon(BOX), [("figure", "ROIRectangle", (31, 55, 42, 30))]),
    "box by rows": (polygon(BOX[1:] + BOX[:1]), [("figure", "ROIRectangle", (31, 55, 42, 30))]),
    "ellipse": (polygon(BOX, isEllipse=True), [("figure", "ROIEllipse", (31, 55, 21, 15))]),
    "leaning": (polygon([(10, 40), (11, 70), (52, 70), (52, 40)]),
                [("figure", "ROIShape", (10, 40, 11, 70, 52, 70, 52, 40))]),
    "open ring": ({"type": "Polygon", "coordinates": [list(map(list, TRIANGLE))]},
                  [("figure", "ROIShape", (3, 4, 30.5, 7, 12, 41))]),
    "names": ([feature(polygon(TRIANGLE), name="cell"), feature(polygon(BOX), classification={"name": "Tumor"}),
               feature(None, name="nothing"), feature(polygon(BOX), classification="none")],
              [("cell", "ROIShape", (3, 4, 30.5, 7, 12, 41)), ("Tumor", "ROIRectangle", (31, 55, 42, 30)),
               ("figure", "ROIRectangle", (31, 55, 42, 30))]),
    "lines and points": ({"type": "FeatureCollection", "features": [
        feature({"type": "MultiLineString", "coordinates": [[[1, 2], [8, 5]], [[3, 9], [4, 30]]]}, name="line"),
        feature({"type": "MultiPoint", "coordinates": [[7, 12], [9, 30]]}, name="spot"),
        feature({"type": "Point", "coordinates": [2, 31, 7]})]},
        [("line", "ROIProfile", (1, 2, 8, 5, 0.5, 0.5)), ("line 2", "ROIProfile", (3, 9, 4, 30, 0.5, 0.5)),
         ("spot", "ROIRectangle", (7, 12, 1, 1)), ("spot 2", "ROIRectangle", (9, 30, 1, 1)),
         ("figure", "ROIRectangle", (2, 31, 1, 1))]),
    "collection": (feature({"type": "GeometryCollection", "geometries": [
        polygon(TRIANGLE), {"type": "LineString", "coordinates": [[1, 2], [8, 5]]}]}, name="both",
        roiValues={"class": "ROIProfile", "points": [[1, 2, 3, 4], [8, 5, 3, 4]]}),
        [("both", "ROIShape", (3, 4, 30.5, 7, 12, 41)), ("both 2", "ROIProfile", (1, 2, 8, 5, 0.5, 0.5))]),
}


@pytest.mark.parametrize("format, half", [("napari", 0.0), ("geojson", 0.5)])
@pytest.mark.parametrize("contents, expected", GEOJSON.values(), ids=GEOJSON)
def test_geojson_s_geometries_become_figures(contents, expected, format, half, tmp_path):
    figures, _ = read(tmp_path / "f.geojson", contents, format)
    for figure, (name, class_name, numbers) in zip(figures.values(), expected, strict=True):
        places = len(numbers) - (0 if class_name == "ROIShape" else 2)
        assert (figure.name, figure.class_name) == (name, class_name)
        assert made_of(figure) == pytest.approx([n - (half if i < places else 0) for i, n in enumerate(numbers)])


def test_regions_of_several_outlines_are_their_pixels(tmp_path):
    draw = pytest.importorskip("skimage.measure")
    rng = np.random.default_rng(12)
    grid = np.stack(np.meshgrid(np.arange(90), np.arange(70)), axis=-1).reshape(-1, 2)
    for _ in range(8):
        loops = [rng.uniform((-9, -7), (95, 76), (rng.integers(3, 9), 2)) for _ in range(3)]
        figures, _ = read(tmp_path / "f.geojson", polygon(*(loop.tolist() for loop in loops)), "napari")
        # By the even-odd rule.
        expected = np.logical_xor.reduce([draw.points_in_poly(grid, loop) for loop in loops])
        assert (figures["figure"].mask((70, 90)).ravel() == expected).all()


COCO = {
    "categories": [{"id": 7, "name": "cell"}, {"id": 9, "name": "vessel"}],
    "annotations": [
        {"category_id": 9, "bbox": [10, 20, 30, 41]},
        {"category_id": 7, "segmentation": [[3, 4, 30.5, 7, 12, 41]], "bbox": [0, 0, 1, 1]},
        {"segmentation": {"size": [3, 5], "counts": [4, 2, 3, 1, 5]}},
    ],
}
LABELME = {"shapes": [
    {"label": "disc", "shape_type": "circle", "points": [[20, 30], [23, 34]]},
    {"label": "box", "shape_type": "rectangle", "points": [[52, 70], [10, 40]]},
    {"label": "high", "shape_type": "rectangle", "points": [[52, 40], [10, 75]]},
    {"label": "spot", "shape_type": "point", "points": [[20.5, 31.5]]},
    {"label": "strip", "shape_type": "linestrip", "points": [[1, 2], [8, 5], [9, 30]]},
    {"label": "old", "points": [[3, 4], [30.5, 7], [12, 41]]},
]}


def test_annotations_become_figures(tmp_path):
    figures, said = read(tmp_path / "coco.json", COCO)
    assert [(f.name, f.class_name) for f in figures.values()] == [
        ("vessel", "ROIRectangle"), ("cell", "ROIShape"), ("figure", "ROIMask")]
    assert made_of(figures["vessel"]) == (24.5, 40, 30, 41)
    assert made_of(figures["cell"]) == (2.5, 3.5, 30, 6.5, 11.5, 40.5)
    # Down the columns: rows 1 and 2 of column 1, row 0 of column 3.
    assert np.argwhere(figures["figure"].mask((3, 5))).tolist() == [[0, 3], [1, 1], [2, 1]]
    figures, said = read(tmp_path / "labelme.json", LABELME)
    assert {f.name: (f.class_name, made_of(f)) for f in figures.values()} == {
        "disc": ("ROIEllipse", (19.5, 29.5, 5, 5)), "box": ("ROIRectangle", (30.5, 54.5, 42, 30)),
        "high": ("ROIRectangle", (30.5, 57, 42, 35)), "spot": ("ROIRectangle", (20, 31, 1, 1)),
        "strip": ("ROIProfile", (0.5, 1.5, 7.5, 4.5, 8.5, 29.5, 0.5, 0.5)),
        "old": ("ROIShape", (2.5, 3.5, 30, 6.5, 11.5, 40.5))}
    assert said == []


CSV = (b"\xef\xbb\xbfname,class,parameters,points,mask\r\n"
       b'"a ""b"", c",ROIEllipse,CenterX=3.25 RadiusX=9 RadiusY=4.5 CenterY=-7,,\r\n'
       b'line,ROIProfile,,"1,2,3,4 8,5",\r\n'
       b'"two\nlines",ROIShape,,"3,4 30.5,7 12,41"\r\n'
       b"dots,ROIMask,CenterX=11 CenterY=20.5 Width=2 Height=1,,3 2 1 2 2 1")


def test_rows_of_csv_are_read_as_programs_write_them(tmp_path):
    figures, said = read(tmp_path / "f.csv", CSV)
    assert list(figures) == ['a "b", c', "line", "two_lines", "dots"]
    assert dict(figures['a "b", c']) == {"CenterX": 3.25, "CenterY": -7, "RadiusX": 9, "RadiusY": 4.5}
    assert figures["line"].points.tolist() == [[1, 2], [8, 5]]
    figures["line"].name = "moved"
    figures.export(tmp_path / "g.csv")
    assert b'moved,ROIProfile,,"1,2,3,4 8,5,0.5,0.5",\n' in (tmp_path / "g.csv").read_bytes()
    assert np.argwhere(figures["dots"].mask((30, 30))).tolist() == [[20, 11], [20, 12], [21, 12]]
    assert said == ["two\\nlines: it is named two_lines in the set"]


REFUSED = {
    "fields.csv": (b"name,class\na,ROIDonut,,,,,\n", "a row has 7 fields"),
    "field.csv": (b"name,class\na\n", "a row has 1 fields"),
    "point.csv": (b'name,class,parameters,points\na,ROIShape,,"1,2,3"\n', "not a point: 1,2,3"),
    "number.csv": (b"name,class,parameters\na,ROIDonut,RadiusX1=3mm\n", "not a number: 3mm"),
    "counts.csv": (b"name,class,parameters,points,mask\na,ROIMask,,,3 2 1 -1 6\n", "counts do not fit"),
    "short.csv": (b"name,class,parameters,points,mask\na,ROIMask,,,3 2 1 2 2\n", "counts do not fit"),
    "flat.csv": (b"name,class,parameters,points,mask\na,ROIMask,,,3\n", "a mask without a size"),
    "bbox.json": ({"annotations": [{"bbox": [1, 2, 3]}]}, "without four numbers"),
    "size.json": ({"annotations": [{"segmentation": {"size": [3], "counts": []}}]}, "without a size"),
    "counts.json": ({"annotations": [{"segmentation": {"size": [3, 2], "counts": "11~"}}]}, "damaged"),
    "endless.json": ({"annotations": [{"segmentation": {"size": [3, 2], "counts": "P" * 30}}]}, "damaged"),
    "shape.json": ({"shapes": [{"label": "a", "shape_type": "mask", "points": [[1, 2]]}]}, "an unknown shape: mask"),
    "circle.json": ({"shapes": [{"label": "a", "shape_type": "circle", "points": [[1, 2]]}]}, "unknown shape: circle"),
    "type.geojson": ({"type": "Pentagon", "coordinates": []}, "an unknown geometry: Pentagon"),
    "empty.geojson": (polygon([(1.2, 2.2), (1.4, 9)]), "a region without pixels"),
    "curve.roi": (imagej(RECTANGLE, paths=[5, 1, 2]), "unknown part"),
    "kind.roi": (imagej(6, (1, 2, 3, 4)), "unknown type 6"),
    "nan.roi": (imagej(LINE, line=(1, 2, float("nan"), 4)), "a number that is none"),
    "cut.roi": (imagej(0, (1, 2, 9, 9), numbers=CORNERS)[:70], "cut short"),
}


@pytest.mark.parametrize("name", REFUSED)
def test_what_makes_no_figure_is_refused(name, tmp_path):
    contents, why = REFUSED[name]
    with pytest.raises(roi.Error, match=f"^cannot import: .*{name}: .*({why})"):
        read(tmp_path / name, contents)


def test_label_images_are_read_in_every_depth(tmp_path):
    tifffile = pytest.importorskip("tifffile")
    labels = np.zeros((9, 14), int)
    labels[2, 5:9] = 3
    labels[3, 1:7] = 3  # farther to the left than the row above
    labels[6:8, 12] = 90
    for depth in (np.uint8, np.int8, np.uint16, np.int16, np.uint32, np.int32):
        given = labels.astype(depth)
        given[0, 0] = -5 if np.issubdtype(depth, np.signedinteger) else 0
        tifffile.imwrite(tmp_path / "l.tif", given)
        figures, _ = read(tmp_path / "l.tif", (tmp_path / "l.tif").read_bytes(), "labels")
        assert list(figures) == ["label 3", "label 90"]
        for value in (3, 90):
            assert (figures[f"label {value}"].mask(labels.shape) == (labels == value)).all(), depth


@pytest.fixture
def drawn():
    figures = roi.Set()
    figures.add("ROIShape", "shape", points=[(2.5, 13.5), (30, 6.5), (11.5, 40.5)])
    figures.add("ROIProfile", "line", points=[(1, 12), (8, 5), (9, 30)], Thickness1=1.5, Thickness2=2.5)
    uneven = figures.add("ROIProfile", "uneven", points=[(1, 12), (8, 5), (30, 5)], Thickness1=2, Thickness2=2)
    uneven.drag("4:1", (20, 8.5))
    figures.add("ROIProfile", "straight", points=[(1, 12), (8, 5)], Thickness1=3, Thickness2=3)
    figures.add("ROIRectangle", "box", CenterX=20.25, CenterY=31, Width=9, Height=6)
    figures.add("ROIRectangle", "flat", CenterX=20, CenterY=31, Width=9, Height=6)
    figures.add("ROIEllipse", "oval", CenterX=20.5, CenterY=31, RadiusX=9, RadiusY=6.5)
    figures.add("ROIEllipse", "egg", CenterX=20.25, CenterY=31, RadiusX=9, RadiusY=6)
    figures.add("ROIDonut", "ring", CenterX=40, CenterY=50, RadiusX1=5, RadiusY1=7, RadiusX2=11, RadiusY2=16)
    figures.add("ROIShape", "none")
    return figures


def written(figures, path, format=""):
    with warnings.catch_warnings(record=True) as said:
        warnings.simplefilter("always")
        figures.export(path, format)
    return dict(str(warning.message).split(": ", 1) for warning in said)


def test_imagej_finds_its_numbers_in_what_is_written(drawn, tmp_path):
    said = written(drawn, tmp_path / "f.zip")
    assert said["none"] == "it encloses nothing and is left out"
    assert said["line"] == said["uneven"] == "ImageJ shows one width of a line, as wide on both sides"
    assert said["box"] == said["flat"] == "ImageJ shows the whole pixels of a rectangle"
    assert not {"straight", "oval"} & set(said) and dict(roi.read(tmp_path / "f.zip")["box"]) == dict(drawn["box"])
    with zipfile.ZipFile(tmp_path / "f.zip") as archive:
        files = {}
        for entry in archive.namelist():
            file = archive.read(entry)
            second = struct.unpack_from(">I", file, 60)[0]
            start, length = struct.unpack_from(">2I", file, second + 16)
            files[file[start:start + 2 * length].decode("utf-16-be")] = file, second
    heads = {name: (file[6], *struct.unpack_from(">4h", file, 8)) for name, (file, _) in files.items()}
    assert heads == {  # kind, top, left, bottom, right
        "shape": (0, 7, 3, 41, 31), "line": (POLYLINE, 5, 1, 31, 10), "straight": (LINE, 5, 1, 13, 9),
        "box": (RECTANGLE, 28, 16, 34, 25), "flat": (RECTANGLE, 28, 16, 34, 25), "uneven": (POLYLINE, 5, 1, 13, 31),
        "oval": (OVAL, 25, 12, 38, 30), "egg": (0, 25, 11, 38, 30),
        "ring": (RECTANGLE, 34, 29, 67, 52)}
    file, second = files["shape"]
    assert struct.unpack_from(">H", file, 16) == (3,)
    assert struct.unpack_from(">6h", file, 64) == (0, 27, 9, 7, 0, 34)
    assert struct.unpack_from(">6f", file, 76) == (3, 30.5, 12, 14, 7, 41)
    file, second = files["line"]
    assert struct.unpack_from(">h", file, 34) + struct.unpack_from(">f", file, second + 36) == (4, 4.0)
    assert struct.unpack_from(">4f", files["straight"][0], 18) == (1.5, 12.5, 8.5, 5.5)
    file, second = files["ring"]
    numbers = struct.unpack_from(f">{struct.unpack_from('>I', file, 36)[0]}f", file, 64)
    assert numbers[0] == 0 and numbers[-1] == 4 and numbers.count(4) >= 2


@pytest.mark.parametrize("format, half", [("napari", 0.0), ("geojson", 0.5)])
def test_geojson_shows_what_is_drawn(drawn, format, half, tmp_path):
    said = written(drawn, tmp_path / "f.geojson", format)
    assert said["none"] == "it encloses nothing and becomes no geometry"
    assert said["line"] == "GeoJSON does not show the thickness of a line" and not {"box", "egg", "shape"} & set(said)
    features = json.loads((tmp_path / "f.geojson").read_text())["features"]
    shown = {f["properties"]["name"]: f["geometry"] for f in features}
    assert shown["none"] is None
    assert shown["shape"] == polygon((np.array([(2.5, 13.5), (30, 6.5), (11.5, 40.5)]) + half).tolist())
    assert shown["line"]["coordinates"] == (np.array([(1, 12), (8, 5), (9, 30)]) + half).tolist()
    assert [name for name, geometry in shown.items() if geometry and "isEllipse" in geometry] == ["oval", "egg"]
    assert shown["oval"]["isEllipse"] is True
    outer, hole = (np.array(ring) - half for ring in shown["ring"]["coordinates"])
    for ring, x, y in ((outer, 11, 16), (hole, 5, 7)):
        assert np.hypot((ring[:, 0] - 40) / x, (ring[:, 1] - 50) / y) == pytest.approx(1)


def test_annotations_tell_area_and_box(drawn, tmp_path):
    said = written(drawn, tmp_path / "f.json", "coco")
    assert said["ring"] == "COCO shows the outer edge alone, and not the hole" and "none" in said
    whole = json.loads((tmp_path / "f.json").read_text())
    names = {category["id"]: category["name"] for category in whole["categories"]}
    shown = {names[a["category_id"]]: a for a in whole["annotations"]}
    expected = {
        "shape": ([3, 7, 27.5, 34], 0.5 * abs(27.5 * 27 - 9 * -7)), "box": ([16.25, 28.5, 9, 6], 54),
        "egg": ([11.75, 25.5, 18, 12], 54 * np.pi), "ring": ([29.5, 34.5, 22, 32], 176 * np.pi)}
    for name, (box, area) in expected.items():
        assert shown[name]["bbox"] == pytest.approx(box, abs=2e-3), name
        assert shown[name]["area"] == pytest.approx(area, rel=1e-3), name
    said = written(drawn, tmp_path / "f.json", "labelme")
    shapes = json.loads((tmp_path / "f.json").read_text())["shapes"]
    assert [s["label"] for s in shapes] == ["shape", "line", "uneven", "straight", "box", "flat", "oval", "egg", "ring"]
    assert shapes[1]["shape_type"] == "linestrip" and shapes[1]["points"] == [[1.5, 12.5], [8.5, 5.5], [9.5, 30.5]]
    masks = roi.Set()
    masks.add("ROIMask", "two runs", mask=[[1, 1, 0, 1]])
    masks.add("ROIMask", "one run", mask=[[0, 1, 1, 0]])
    written(masks, tmp_path / "f.json", "labelme")
    shapes = json.loads((tmp_path / "f.json").read_text())["shapes"]
    assert [(s["label"], "roiValues" in s) for s in shapes] == [("two runs", False)] * 2 + [("one run", True)]


def test_values_are_carried_as_long_as_nobody_moves_what_is_drawn(drawn, tmp_path):
    drawn.remove("none")
    written(drawn, tmp_path / "f.geojson", "napari")
    whole = json.loads((tmp_path / "f.geojson").read_text())
    for shift, kept in ((0.004, True), (0.2, False)):
        for feature_ in whole["features"]:
            rings = feature_["geometry"]["coordinates"]
            for point in rings if feature_["geometry"]["type"] == "LineString" else rings[0]:
                point[1] += shift
        figures, _ = read(tmp_path / "g.geojson", whole, "napari")
        assert (figures["ring"].class_name == "ROIDonut") == kept
        assert (made_of(figures["line"]) == made_of(drawn["line"])) == kept
        assert (made_of(figures["oval"])[1] == 31) == kept
