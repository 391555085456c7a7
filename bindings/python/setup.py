"""The wheel "bvschema", with the server in it. BVSCHEMA_BUILD names a build to take it from; else one is made."""

import os
import pathlib
import re
import sys

import setuptools
from setuptools.command.build_ext import build_ext
from setuptools.command.build_py import build_py

HERE = pathlib.Path(__file__).resolve().parent
# A build that copies its sources elsewhere says where they are.
ROOT = pathlib.Path(os.environ.get("BVSCHEMA_SOURCE", HERE.parents[1]))
VERSION = re.search(r"project\(BVSchema VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())[1]


class BuildByCMake(build_ext):
    """Installs what CMake has built where the wheel is put together."""

    def run(self):
        built = os.environ.get("BVSCHEMA_BUILD")
        if not built:
            built = pathlib.Path(self.build_temp).resolve()
            options = ["-DBV_TESTS=OFF", "-DBV_SAMPLES=OFF", f"-DPython_EXECUTABLE={sys.executable}"]
            self.spawn(["cmake", "-G", "Ninja", "-S", os.fspath(ROOT), "-B", os.fspath(built), *options])
            self.spawn(["cmake", "--build", os.fspath(built), "--target", "BVSchema", "bvschema_python"])
        folder = HERE if self.inplace else pathlib.Path(self.build_lib).resolve()
        install = ["cmake", "--install", os.fspath(built), "--component", "wheel", "--strip"]
        self.spawn([*install, "--prefix", os.fspath(folder)])


class NoSources(build_py):
    """The Python part comes with the rest."""

    def run(self):
        pass


setuptools.setup(
    version=VERSION,
    packages=["bvschema"],
    ext_modules=[setuptools.Extension("bvschema._bvschema", [])],
    cmdclass={"build_ext": BuildByCMake, "build_py": NoSources},
    zip_safe=False,
)
