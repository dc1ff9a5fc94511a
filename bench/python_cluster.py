"""How measuring files grows: `roi measure --jobs` beside Dask workers, and the memory of a worker."""

import pathlib
import subprocess
import sys
import tempfile
import time

import numpy as np
from distributed import Client, LocalCluster
from skimage.io import imsave

import roi

ROOT = pathlib.Path(__file__).parents[1]
sys.path.insert(0, str(ROOT / "examples"))
import measure_on_dask  # noqa: E402

# Each file is measured as often as it takes.
FILES = 100


def worker_memory(dask_worker):
    """In MiB, what is resident of this process."""
    return int(pathlib.Path("/proc/self/statm").read_text().split()[1]) * 4096 / 2**20


def on_dask(figures, images, workers):
    cluster = LocalCluster(workers, threads_per_worker=1, host="127.0.0.1", dashboard_address=None)
    with cluster, Client(cluster) as client:
        rows = 0
        memory = []
        start = time.perf_counter()
        for i, (frame, failed) in enumerate(measure_on_dask.measure(client, figures, images, 16, {})):
            rows += len(frame)
            if i % max(1, len(images) // 16 // 4) == 0:
                memory.append(max(client.run(worker_memory).values()))
        taken = time.perf_counter() - start
        memory.append(max(client.run(worker_memory).values()))
    assert rows == len(images) * len(figures)
    return len(images) / taken, memory


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 2000
    with tempfile.TemporaryDirectory() as folder:
        rng = np.random.default_rng(1)
        files = [f"{folder}/{i:03}.png" for i in range(FILES)]
        for file in files:
            imsave(file, rng.integers(0, 60000, (600, 800), dtype=np.uint16), check_contrast=False)
        figures = roi.Set()
        for i in range(100):
            figures.add("ROIEllipse", str(i), CenterX=40 + 80 * (i % 10), CenterY=30 + 60 * (i // 10), RadiusX=35)
        figures.save(f"{folder}/cells.roi")
        images = (files * (count // FILES + 1))[:count]
        pathlib.Path(f"{folder}/list").write_text("\n".join(images))
        for jobs in (1, 2):
            start = time.perf_counter()
            subprocess.run([ROOT / "build/bin/roi", "measure", f"{folder}/cells.roi", "--from", f"{folder}/list",
                            "--format", "csv", "--jobs", str(jobs)], check=True, stdout=subprocess.DEVNULL)
            print(f"roi measure --jobs {jobs}   {count / (time.perf_counter() - start):8.1f} images a second")
        for workers in (1, 2):
            speed, memory = on_dask(figures, images, workers)
            print(f"Dask, {workers} {'worker ' if workers == 1 else 'workers'}        {speed:8.1f} images a second; "
                  f"a worker holds at most {' '.join(f'{m:.0f}' for m in memory)} MiB, from begin to end")


if __name__ == "__main__":
    main()
