"""A scheduler and two workers on this machine, of which one is killed in the middle."""

import json
import os
import pathlib
import signal
import subprocess
import sys
import time

import numpy as np
import pytest

import roi

pytest.importorskip("distributed")
pandas = pytest.importorskip("pandas")
tifffile = pytest.importorskip("tifffile")

EXAMPLE = pathlib.Path(__file__).parents[2] / "examples" / "measure_on_dask.py"
IMAGES = 60


def wait_for(condition, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end
        time.sleep(0.02)


@pytest.fixture
def cluster(tmp_path):
    file = tmp_path / "scheduler.json"
    started = []

    def start(kind, *arguments):
        command = [sys.executable, "-m", f"distributed.cli.dask_{kind}", "--scheduler-file", file, "--no-dashboard"]
        started.append(subprocess.Popen([*command, *arguments], cwd=tmp_path, stderr=subprocess.DEVNULL))
        return started[-1]

    start("scheduler", "--host", "127.0.0.1", "--port", "0")
    wait_for(lambda: file.exists() and file.read_text().endswith("}"))
    workers = [start("worker", "--nthreads", "1", "--no-nanny", "--host", "127.0.0.1") for _ in range(2)]
    yield json.loads(file.read_text())["address"], workers
    for process in reversed(started):
        process.kill()
        process.wait()


def test_a_killed_worker_loses_no_row_and_doubles_none(cluster, every_class, tmp_path):
    address, workers = cluster
    folder = tmp_path / "plate"
    folder.mkdir()
    rng = np.random.default_rng(2)
    for i in range(IMAGES):
        image = rng.integers(0, 60000, (700, 900), dtype=np.uint16)
        tifffile.imwrite(folder / f"{i:03}.tif", image, compression="zlib")
    (folder / "010.tif").write_bytes(b"no image")
    every_class.save(tmp_path / "cells.roi")
    output = tmp_path / "rows.csv"
    run = subprocess.Popen([sys.executable, EXAMPLE, tmp_path / "cells.roi", folder, "-o", output, "--part", "3",
                            "--scheduler", address], stderr=subprocess.PIPE, text=True)
    wait_for(lambda: output.exists() and output.stat().st_size > 0 or run.poll() is not None)
    os.kill(workers[0].pid, signal.SIGKILL)
    assert run.poll() is None
    failures = run.communicate(timeout=120)[1]
    assert run.returncode == 7, failures
    assert [line for line in failures.splitlines() if line.startswith("error:")] == [
        f"error: cannot read image: {folder / '010.tif'}: not an image of a known format"
        + failures.partition("known format")[2].splitlines()[0]]
    tables = every_class.measure_files(sorted(folder.glob("*.tif")), failed=lambda path, error: None)
    expected = pandas.concat([pandas.DataFrame(table) for _, table in tables], ignore_index=True)
    assert len(expected) == (IMAGES - 1) * len(every_class)
    pandas.testing.assert_frame_equal(pandas.read_csv(output), expected, check_dtype=False)


def test_parquet_is_written_or_refused_before_anything_is_measured(every_class, tmp_path):
    tifffile.imwrite(tmp_path / "a.tif", np.arange(600 * 700, dtype=np.uint32).reshape(600, 700))
    every_class.save(tmp_path / "cells.roi")
    command = [sys.executable, EXAMPLE, tmp_path / "cells.roi", tmp_path / "a.tif", "--workers", "1", "-o"]
    done = subprocess.run([*command, tmp_path / "rows.parquet"], capture_output=True, text=True)
    try:
        frame = pandas.read_parquet(tmp_path / "rows.parquet")
    except ImportError:
        assert done.returncode == 2 and "name a .csv instead" in done.stderr
        return
    assert done.returncode == 0, done.stderr
    assert frame["mean"].tolist() == every_class.measure(tmp_path / "a.tif")["mean"].tolist()


def test_the_example_is_typed(tmp_path):
    pytest.importorskip("mypy")
    settings = tmp_path / "mypy.ini"
    settings.write_text("[mypy]\n[mypy-distributed.*,pandas.*]\nfollow_imports = skip\nignore_missing_imports = True\n")
    package = os.path.dirname(roi.__path__[0])
    done = subprocess.run([sys.executable, "-m", "mypy", "--cache-dir", os.devnull, "--config-file", settings, EXAMPLE],
                          capture_output=True, text=True, env={**os.environ, "MYPYPATH": package})
    assert done.returncode == 0, done.stdout + done.stderr
