"""The Python package, built by CMake: pip install --no-build-isolation ."""

import os
import pathlib
import re
import subprocess
import sys

import setuptools
from setuptools.command.build_ext import build_ext

SOURCE = pathlib.Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    """Builds the modules and puts them, and the package's own files, where the extension belongs."""

    def build_extension(self, extension):
        folder = pathlib.Path(self.get_ext_fullpath(extension.name)).resolve().parent
        build = pathlib.Path(self.build_temp).resolve()
        options = ["-DCMAKE_BUILD_TYPE=Release", "-DROI_PYTHON=ON", "-DROI_TESTS=OFF"]
        options.append(f"-DPython_EXECUTABLE={sys.executable}")
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count()))
        for command in (
            ["cmake", "-S", SOURCE, "-B", build, *options],
            ["cmake", "--build", build, "--target", "python_roi", "--parallel", jobs],
            ["cmake", "--install", build, "--component", "Python", "--prefix", folder.parent, "--strip"],
        ):
            subprocess.run([str(word) for word in command], check=True)


setuptools.setup(
    name="roi",
    version=re.search(r"project\(ROI VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text())[1],
    description="Regions of interest on NumPy images",
    python_requires=">=3.9",
    install_requires=["numpy"],
    packages=["roi"],
    package_dir={"roi": "python/roi"},
    ext_modules=[setuptools.Extension("roi._roi", [])],
    cmdclass={"build_ext": CMakeBuild},
    zip_safe=False,
)
