"""Builds the extension module with the project's own CMake build (the library's objects are
compiled into it), so pip installs one self-contained package."""

import os
import pathlib
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent


class CMakeExtension(Extension):
    def __init__(self, name):
        super().__init__(name, sources=[])


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve()
        build = pathlib.Path(self.build_temp).resolve() / "cmake"
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", "2")
        subprocess.run(
            ["cmake", "-S", str(ROOT), "-B", str(build), "-DCMAKE_BUILD_TYPE=Release",
             "-DCNCPROBE_BUILD_PYTHON=ON", "-DCNCPROBE_BUILD_TESTS=OFF",
             "-DCNCPROBE_BUILD_TOOLS=OFF", "-DCNCPROBE_BUILD_FUZZ=OFF",
             f"-DPython3_EXECUTABLE={sys.executable}"],
            check=True)
        subprocess.run(["cmake", "--build", str(build), "--target", "cncprobe_python", "-j", jobs],
                       check=True)
        built = next((build / "python" / "cncprobe").glob("_cncprobe*.so"))
        target.parent.mkdir(parents=True, exist_ok=True)
        self.copy_file(str(built), str(target))


setup(ext_modules=[CMakeExtension("cncprobe._cncprobe")], cmdclass={"build_ext": CMakeBuild})
