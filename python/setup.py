"""Builds the extension module with the sources of the client library, for `pip install ./python`."""

import re
from pathlib import Path

from setuptools import Extension, setup

try:
    import pybind11

    headers = [pybind11.get_include()]
except ImportError:
    # Those of the distribution, which the compiler finds by itself.
    headers = []

settings = (Path(__file__).parent / "../CMakeLists.txt").read_text()
version = re.search(r"project\(QRDserver VERSION ([0-9.]+)", settings).group(1)

setup(
    version=version,
    ext_modules=[
        Extension(
            "qrd._native",
            sorted(str(one) for folder in ("native", "../client") for one in Path(folder).glob("*.cpp")),
            language="c++",
            include_dirs=["..", "../include", *headers],
            define_macros=[("QRD_VERSION", f'"{version}"')],
            extra_compile_args=["-std=c++20", "-O2", "-fvisibility=hidden"],
        )
    ],
)
