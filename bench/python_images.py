"""How many images a second `roi measure` measures, beside scikit-image, OpenCV in Python and ImageJ without windows."""

import csv
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import cv2
import numpy as np
from skimage import draw, io, measure

import roi

ROOT = pathlib.Path(__file__).parents[1]
ELLIPSES = [(100 + 200 * (i % 5), 125 + 250 * (i // 5), 90 - 3 * i, 60 + 2 * i) for i in range(20)]
SIDE = 1000
# Each file is measured as often as it takes.
FILES = 50


def write_images(folder, suffix):
    """Photograph-like images: smooth, with some noise."""
    rng = np.random.default_rng(1)
    files = []
    for i in range(FILES):
        coarse = rng.uniform(20, 230, (12, 12)).astype(np.float32)
        image = cv2.resize(coarse, (SIDE, SIDE), interpolation=cv2.INTER_CUBIC) + rng.normal(0, 3, (SIDE, SIDE))
        files.append(f"{folder}/{i:02}{suffix}")
        io.imsave(files[-1], np.clip(image, 0, 255).astype(np.uint8), check_contrast=False)
    return files


def by_skimage(images):
    labels = np.zeros((SIDE, SIDE), np.int32)
    for i, (x, y, rx, ry) in enumerate(ELLIPSES, 1):
        labels[draw.ellipse(y, x, ry, rx, labels.shape)] = i
    for image in images:
        measure.regionprops_table(labels, io.imread(image), ("area", "intensity_mean", "intensity_min", "intensity_max"))


def by_opencv(images):
    masks = []
    for x, y, rx, ry in ELLIPSES:
        masks.append(np.zeros((SIDE, SIDE), np.uint8))
        cv2.ellipse(masks[-1], (x, y), (rx, ry), 0, 0, 360, 255, -1)
    for image in images:
        pixels = cv2.imread(image, cv2.IMREAD_UNCHANGED)
        for mask in masks:
            cv2.meanStdDev(pixels, mask=mask)
            cv2.minMaxLoc(pixels, mask=mask)


def run(command):
    return subprocess.run([str(part) for part in command], check=True, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL).stdout


def row(what, images, work):
    start = time.perf_counter()
    work(images)
    speed = len(images) / (time.perf_counter() - start)
    print(f"{what:44} {speed:8.1f} images a second", flush=True)
    return speed


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 1000
    for suffix in (".png", ".tif"):
        with tempfile.TemporaryDirectory() as folder:
            files = write_images(folder, suffix)
            images = (files * (count // FILES + 1))[:count]
            figures = roi.Set()
            for i, (x, y, rx, ry) in enumerate(ELLIPSES):
                figures.add("ROIEllipse", str(i), CenterX=x, CenterY=y, RadiusX=rx, RadiusY=ry)
            figures.save(f"{folder}/figures.roi")
            run([ROOT / "build/bin/roi", "export", f"{folder}/figures.roi", f"{folder}/figures.zip"])

            def by_roi(jobs):
                def work(images):
                    pathlib.Path(f"{folder}/list").write_text("\n".join(images))
                    text = run([ROOT / "build/bin/roi", "measure", f"{folder}/figures.roi", "--from", f"{folder}/list",
                                "--format", "csv", "--jobs", jobs])
                    assert len(list(csv.reader(text.decode().splitlines()))) == 1 + len(images) * len(ELLIPSES)

                return work

            def by_imagej(images):
                run(["java", "-Djava.awt.headless=true", "-cp", "/usr/share/java/ij.jar",
                     ROOT / "tests/peers/ImageJPeer.java", "measure", f"{folder}/figures.zip", *images])

            os.sync()
            run([ROOT / "build/bin/read_image", *files])  # What was just written is neither being stored nor unread.
            print(f"{count} {suffix[1:]} images of {SIDE} x {SIDE}, {len(ELLIPSES)} figures")
            own = row(f"roi measure, {os.cpu_count()} jobs", images, by_roi(os.cpu_count()))
            one = row("roi measure, 1 job", images, by_roi(1))
            alone = row("reading alone, 1 thread", images, lambda images: run([ROOT / "build/bin/read_image", *images]))
            print(f"  {own / one:.2f} times as fast as one job, which takes {alone / one:.2f} times as long as reading")
            for name, work in (("scikit-image", by_skimage), ("OpenCV in Python", by_opencv), ("ImageJ", by_imagej)):
                print(f"  {own / row(name, images, work):.1f} times as fast")


if __name__ == "__main__":
    main()
