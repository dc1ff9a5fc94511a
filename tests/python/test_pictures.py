"""What is seen: values as shades, figures over them, and curves as the plotter is told to draw them."""

import os
import struct
import subprocess
import zlib

import numpy as np
import pytest

import roi

COMMAND = os.path.join(os.path.dirname(os.path.realpath(roi._roi.__file__)), "roi")
GROUND = 90
IMAGE = np.full((80, 120), GROUND, np.uint8)


def shades(image):
    return roi.Set().draw(image)


def stretched(values, low, high):
    """As shades from `low`, which is black, to `high`, halves rounded up."""
    return np.floor(((values.astype(float) - low) * 255 / (high - low)).clip(0, 255) + 0.5)


def test_deep_values_are_stretched_between_their_thousandths():
    rng = np.random.default_rng(5)
    for kind in ("u2", "i2", "i4", "f4", "f8"):
        image = rng.permutation(np.arange(10001).repeat(2)).reshape(146, 137).astype(kind) * 3 + 200
        order = np.sort(image, axis=None)
        low, high = (order[round(share * (image.size - 1))] for share in (0.001, 0.999))
        assert (shades(image) == stretched(image, low, high)[..., None]).all(), kind
    colours = rng.integers(0, 60000, (90, 70, 3)).astype("u2")
    order = np.sort(colours, axis=None)
    low, high = (order[round(share * (colours.size - 1))] for share in (0.001, 0.999))
    assert (shades(colours) == stretched(colours, low, high)).all()


def test_what_is_no_number_is_dark_and_stretches_nothing():
    image = np.random.default_rng(2).uniform(-4, 9, (80, 120))
    image[0, :40], image[1, :40], image[2, :40] = np.inf, -np.inf, np.nan
    image[3, :2] = 1e30, -50
    order = np.sort(image[np.isfinite(image)])
    low, high = (order[round(share * (order.size - 1))] for share in (0.001, 0.999))
    assert (shades(image)[..., 0] == stretched(np.nan_to_num(image, nan=-99, posinf=99, neginf=-99), low, high)).all()
    for level in (np.full((20, 50), 700.25), np.full((20, 50), np.nan)):
        level[7, 9] = 900
        assert (shades(level) == 0).all()


def test_bytes_are_shown_as_they_are_and_bits_as_black_and_white(tmp_path):
    rng = np.random.default_rng(5)
    for shape in ((20, 30), (20, 30, 3)):
        image = rng.integers(3, 200, shape, dtype=np.uint8)
        assert (shades(image) == image.reshape(20, 30, -1)).all()
    alpha = rng.integers(3, 200, (20, 30, 4), dtype=np.uint8)
    assert (shades(alpha) == alpha[..., :3]).all()
    bits = rng.integers(0, 2, (20, 32))
    few = rng.integers(0, 16, (20, 32))
    packed = np.packbits(few.astype(np.uint8)[..., None] >> np.arange(3, -1, -1, dtype=np.uint8) & 1, axis=None)
    raw = b"".join(b"\0" + row.tobytes() for row in packed.reshape(20, 16))
    chunks = ((b"IHDR", struct.pack(">2I5B", 32, 20, 4, 0, 0, 0, 0)), (b"IDAT", zlib.compress(raw)), (b"IEND", b""))
    parts = (struct.pack(">I", len(d)) + kind + d + struct.pack(">I", zlib.crc32(kind + d)) for kind, d in chunks)
    (tmp_path / "few.png").write_bytes(b"\x89PNG\r\n\x1a\n" + b"".join(parts))
    assert (shades(tmp_path / "few.png") == 17 * few[..., None]).all()
    (tmp_path / "bits.pbm").write_bytes(b"P4 32 20\n" + np.packbits(1 - bits, axis=1).tobytes())
    assert (shades(tmp_path / "bits.pbm") == 255 * bits[..., None]).all()


def figures_of(*boxes):
    figures = roi.Set()
    for name, x, y, width, height in boxes:
        figures.add("ROIRectangle", name, CenterX=x, CenterY=y, Width=width, Height=height)
    return figures


def test_pixels_are_tinted_by_the_part_that_counts():
    figures = figures_of(("box", 60.25, 40, 40.5, 30))
    inside = [figures.draw(IMAGE, names=False, exact=exact)[40].astype(int) for exact in (False, True)]
    # Columns 41 to 79 count whole, 80 by the half of them that lies inside, 40 and 81 not at all.
    tint = inside[0][60] - GROUND
    assert (abs(tint) > 3).any() and (inside[0][50] == inside[0][70]).all()
    tinted = roi.Set()
    tinted.add("ROIEllipse", "e", CenterX=60, CenterY=40, RadiusX=0.3, RadiusY=0.4)
    share = tinted["e"].coverage(IMAGE.shape)[40, 60]
    assert 0.3 < share < 0.5
    close = tinted.draw(IMAGE, close_up="e", names=False, exact=True).astype(int)
    whole = figures_of(("e", 60, 40, 1, 1)).draw(IMAGE, close_up="e", names=False, exact=True).astype(int)
    assert close.shape == whole.shape
    middle = close.shape[0] // 2, close.shape[1] // 2
    assert close[middle] - GROUND == pytest.approx(share * (whole[middle] - GROUND), abs=1.5)


def test_a_picture_shows_every_figure_in_a_colour_of_its_own():
    figures = figures_of(*((f"box {i}", 10 + 13 * i, 40, 8, 50) for i in range(8)))
    drawn = figures.draw(IMAGE, names=False).astype(int)
    tints = {tuple(drawn[40, 10 + 13 * i]) for i in range(8)}
    assert len(tints) == 8 and (GROUND,) * 3 not in tints
    # A figure keeps its colour when it is drawn alone, and none else is drawn.
    alone = figures.draw(IMAGE, names=False, only=["box 5"]).astype(int)
    assert (alone[40, 75] == drawn[40, 75]).all()
    assert (alone[:, :66] == GROUND).all() and (alone[:, 85:] == GROUND).all()


def changed(figures, **options):
    """The rows and columns between which a picture differs from the bare image."""
    there = (figures.draw(IMAGE, **options) != GROUND).any(axis=2)
    rows, columns = np.flatnonzero(there.any(axis=1)), np.flatnonzero(there.any(axis=0))
    return (rows[0], rows[-1], columns[0], columns[-1]) if len(rows) else None


def test_lines_stand_around_the_pixels_that_count():
    for x, y, width, height in ((60, 40, 21, 11), (30, 20, 9, 17)):
        top, bottom, left, right = changed(figures_of(("box", x, y, width, height)), names=False)
        for side, edge in ((left, x - width / 2), (top, y - height / 2)):
            assert edge - 3 <= side <= edge
        for side, edge in ((right, x + width / 2), (bottom, y + height / 2)):
            assert edge <= side <= edge + 3
    middle = figures_of(("box", 59.5, 39.5, 20, 12)).draw(IMAGE, names=False)
    assert (middle == middle[::-1]).all() and (middle == middle[:, ::-1]).all() and middle[39, 49:51].std() > 20


def test_names_stand_below_or_above_and_within_the_picture():
    for y, place in ((25, "below"), (60, "above")):
        figures = figures_of(("a", 60, y, 60, 10))
        bare, named = changed(figures, names=False), changed(figures)
        grown = "below" if named[1] > bare[1] else "above"
        assert grown == place and (named[0] == bare[0]) == (place == "below")
    # Kept inside where the figure is not, and left out where it cannot be seen.
    for x in (2, 117):
        corner = figures_of(("a long name", x, 30, 4, 10))
        columns = changed(corner)[2:]
        assert columns[0] >= 0 and columns[1] <= 119 and columns[1] - columns[0] > 35
    assert changed(figures_of(("away", 300, 30, 40, 10))) is None
    # Names of figures in one place do not cover each other.
    twice = figures_of(("aaaa", 60, 36, 30, 6), ("aaaa2", 60, 36, 30, 6))
    once = figures_of(("aaaa", 60, 36, 30, 6))
    assert changed(twice)[0] < changed(once)[0] or changed(twice)[1] > changed(once)[1]


def test_a_close_up_has_a_margin_and_every_pixel_as_a_square():
    image = np.random.default_rng(1).integers(0, 255, (400, 500), dtype=np.uint8)
    for (x, y, width, height), (left, top, right, bottom) in (
            ((250, 150, 100, 60), (188, 108, 312, 192)), ((40, 385, 10, 20), (27, 367, 53, 399))):
        shown = figures_of(("box", x, y, width, height)).draw(image, close_up="box", names=False)
        scale = -(-600 // max(right - left + 1, bottom - top + 1))
        assert shown.shape[:2] == ((bottom - top + 1) * scale, (right - left + 1) * scale)
        squares = shown.reshape(bottom - top + 1, scale, right - left + 1, scale, 3)
        window = image[top:bottom + 1, left:right + 1]
        assert (squares[:3] == window[:3, None, :, None, None]).all()
        assert (squares[:, :, :3] == window[:, None, :3, None, None]).all()
        differs = (shown != window.repeat(scale, 0).repeat(scale, 1)[..., None]).any(axis=2)
        rows, columns = np.flatnonzero(differs.any(axis=1)), np.flatnonzero(differs.any(axis=0))
        assert abs(rows[0] - (y - height / 2 - top + 0.5) * scale) < 2 + scale
        assert abs(columns[0] - (x - width / 2 - left + 0.5) * scale) < 2 + scale


def test_a_profile_shows_its_axis_and_the_numbers_of_few_nodes():
    line = roi.Set()
    line.add("ROIProfile", "line", points=[(20, 60), (100, 20)], Thickness1=9, Thickness2=9)
    drawn = line.draw(IMAGE, names=False).astype(int)
    # Halfway between axis and edge the tint alone shows.
    tint, axis = drawn[44, 62], drawn[40, 60]
    assert abs(axis - tint).max() > 50 and abs(tint - GROUND).max() < 50
    for count, numbered in ((12, True), (60, False)):
        long = roi.Set()
        long.add("ROIProfile", "line", points=[(20 + 900 * i / count, 400 + 90 * (i % 2)) for i in range(count)])
        ground = np.full((800, 1000), GROUND, np.uint8)
        plain, nodes = long.draw(ground, names=False), long.draw(ground, names=False, nodes=True)
        far = (plain != nodes).any(axis=2)
        for node in long["line"].nodes:
            x, y = round(node.x), round(node.y)
            far[max(y - 6, 0):y + 7, max(x - 6, 0):x + 7] = False
        assert far.any() == numbered


@pytest.fixture
def told(tmp_path):
    """Runs a command whose plotter hands its script back as the picture."""
    (tmp_path / "gnuplot").write_text("#!/bin/sh\nexec cat\n")
    (tmp_path / "gnuplot").chmod(0o755)

    def run(*arguments):
        environment = {**os.environ, "PATH": f"{tmp_path}:{os.environ['PATH']}"}
        plot = tmp_path / (arguments[0] + ".svg")
        done = subprocess.run([COMMAND, *arguments, "-o", plot], cwd=tmp_path, env=environment, capture_output=True)
        assert done.returncode == 0, done.stderr
        return plot.read_text()

    return run


def blocks(script):
    """The numbers of each table of data; a blank line is a gap."""
    lines = iter(script.splitlines())
    return [[[float(word) for word in line.split()] for line in iter(lambda: next(lines), "END")]
            for start in lines if start.endswith("<< END")]


def test_the_plotter_is_told_curves_with_gaps_and_bins_as_steps(told, tmp_path):
    figures = roi.Set()
    figures.add("ROIProfile", "it's", points=[(2, 4), (14, 4)], Thickness1=1, Thickness2=2)
    figures.save(tmp_path / "s.roi")
    figures_of(("box", 5, 4, 5.5, 3.5)).save(tmp_path / "b.roi")
    ramp = np.add.outer(7 * np.arange(9), np.arange(12) ** 2)
    np.savetxt(tmp_path / "i.pgm", ramp, "%d", header="P2 12 9 255", comments="")
    script = told("profile", "s.roi", "it's", "i.pgm")
    [curve] = blocks(script)
    # Rows 3 to 6; the image ends with column 11.
    expected = [[d, (d + 2) ** 2 + 31.5] for d in range(10)]
    deviation = 7 * np.sqrt(1.25)
    assert curve[10:] == [[], [], []]
    assert np.array(curve[:10]) == pytest.approx(np.array([[d, m, m - deviation, m + deviation] for d, m in expected]))
    assert "set xrange [0:12]" in script and "set title 'it''s" in script
    script = told("histogram", "b.roi", "i.pgm", "--bins", "4")
    [steps] = blocks(script)
    values = ramp[3:6, 3:8]  # columns 3 to 7, rows 3 to 5
    width = (values.max() - values.min()) // 4 + 1
    edges = values.min() + width * np.arange(len(steps) // 2 + 1)
    counts = np.histogram(values, bins=edges)[0]
    assert steps == [[edge, count] for i, count in enumerate(counts) for edge, count in
                     ((edges[i], count), (edges[i + 1], count))]
    assert counts.sum() == 15
