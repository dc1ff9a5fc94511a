#!/usr/bin/python3
"""Measures any number of images at the figures of one set on a Dask cluster.

    measure_on_dask.py cells.roi plate/ more.tif -o cells.csv --workers 2
    measure_on_dask.py cells.roi plate/ -o cells.parquet --scheduler tcp://10.0.0.1:8786

Rows come in the order of the images, folders in that of their names. The set travels once to each worker, images are
read where they are measured. A worker that dies loses no row: others measure its parts again, and a part is written
once. Images that fail are listed at the end, and the exit code is 7 then, as that of `roi measure --keep-going`.
"""

import argparse
import io
import pathlib
import sys
from typing import Dict, Iterator, List, Tuple

import pandas
from distributed import Client, WorkerPlugin, get_worker

import roi

Failures = List[str]


class Figures(WorkerPlugin):
    """Gives a set to every worker, to those that come later, too."""

    def __init__(self, figures: roi.Set):
        self.figures = figures

    def setup(self, worker) -> None:
        worker.figures = self.figures


def measure_part(paths: List[str], options: Dict) -> Tuple[pandas.DataFrame, Failures]:
    """On a worker: the rows of some images, of which two are in memory at a time, and why the others have none."""
    failures: Failures = []
    figures: roi.Set = getattr(get_worker(), "figures")
    tables = figures.measure_files(paths, jobs=1, failed=lambda path, error: failures.append(str(error)), **options)
    frames = [pandas.DataFrame(table) for _, table in tables]
    return pandas.concat(frames, ignore_index=True) if frames else pandas.DataFrame(), failures


def measure(
    client: Client, figures: roi.Set, paths: List[str], part: int, options: Dict
) -> Iterator[Tuple[pandas.DataFrame, Failures]]:
    """The results of all parts, in their order."""
    client.register_worker_plugin(Figures(figures), name="roi-figures")
    parts = [paths[start : start + part] for start in range(0, len(paths), part)]
    futures = client.map(measure_part, parts, options=options, pure=False, retries=2)
    for i in range(len(futures)):
        yield futures[i].result()
        futures[i] = None  # The worker may drop it.


def images_in(names: List[str]) -> List[str]:
    """Files as they are named and those of folders, as absolute paths: workers have directories of their own."""
    paths: List[pathlib.Path] = []
    for name in names:
        path = pathlib.Path(name).absolute()
        paths += sorted(file for file in path.iterdir() if file.is_file()) if path.is_dir() else [path]
    return [str(path) for path in paths]


def can_write_parquet() -> bool:
    """Whether pandas has an engine for it."""
    try:
        pandas.DataFrame({"row": [1]}).to_parquet(io.BytesIO())
    except ImportError:
        return False
    return True


class Rows:
    """Rows written as they come, or for Parquet at the end."""

    def __init__(self, path: str):
        self.path = path
        self.frames: List[pandas.DataFrame] = []
        self.file = None if path.endswith(".parquet") else open(path, "w", newline="")
        self.begun = False

    def add(self, frame: pandas.DataFrame) -> None:
        if self.file is None:
            self.frames.append(frame)
        elif not frame.empty:
            frame.to_csv(self.file, index=False, header=not self.begun)
            self.file.flush()
            self.begun = True

    def end(self) -> None:
        if self.file is None:
            pandas.concat(self.frames, ignore_index=True).to_parquet(self.path)
        else:
            self.file.close()


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("set", help="the figures, .roi or .xml")
    parser.add_argument("images", nargs="+", help="image files, and folders of them")
    parser.add_argument("-o", "--output", required=True, help="the rows, .csv or, where pandas can, .parquet")
    parser.add_argument("--scheduler", help="the address of a cluster; without it workers of this machine's own")
    parser.add_argument("--workers", type=int, default=2, help="how many of those")
    parser.add_argument("--part", type=int, default=16, help="how many images a worker takes at a time")
    parser.add_argument("--columns", help="a,b,c; see roi.columns()")
    parser.add_argument("--exact", action="store_true", help="count the parts of pixels inside the outlines")
    arguments = parser.parse_args()

    if arguments.output.endswith(".parquet") and not can_write_parquet():
        parser.error("pandas cannot write Parquet here: it wants pyarrow or fastparquet; name a .csv instead")

    options = {"columns": arguments.columns, "exact": arguments.exact}
    where = {"address": arguments.scheduler} if arguments.scheduler else {
        "n_workers": arguments.workers, "threads_per_worker": 1, "host": "127.0.0.1", "dashboard_address": None}
    failures: Failures = []
    rows = Rows(arguments.output)
    with Client(**where) as client:
        figures = roi.Set(arguments.set)
        for frame, failed in measure(client, figures, images_in(arguments.images), arguments.part, options):
            rows.add(frame)
            failures += failed
    rows.end()
    for failure in failures:
        print(f"error: {failure}", file=sys.stderr)
    return 7 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
