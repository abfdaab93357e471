"""Builds the extension module with the sources of the client library, for `pip install ./python`."""

import re
from pathlib import Path

from pybind11.setup_helpers import ParallelCompile, Pybind11Extension
from setuptools import setup

here = Path(__file__).parent
settings = (here / "../CMakeLists.txt").read_text()
version = re.search(r"project\(QRDserver VERSION ([0-9.]+)", settings).group(1)

ParallelCompile("NPY_NUM_BUILD_JOBS").install()
setup(
    version=version,
    ext_modules=[
        Pybind11Extension(
            "qrd._native",
            sorted(str(one) for folder in ("native", "../client") for one in Path(folder).glob("*.cpp")),
            include_dirs=["..", "../include"],
            define_macros=[("QRD_VERSION", f'"{version}"')],
            cxx_std=20,
        )
    ],
)
