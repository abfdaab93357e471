"""Ground for the tests: copies of the sample database, and the programs of the build, which ctest puts into PATH."""

import os
import shutil
from pathlib import Path

import matplotlib
import pytest

import qrd

matplotlib.use("Agg")
SOURCE = Path(__file__).resolve().parents[2]
os.environ.setdefault("QRD_SYNC", "0")


@pytest.fixture
def root(tmp_path):
    copy = tmp_path / "root"
    shutil.copytree(SOURCE / "tests/data/root", copy, copy_function=shutil.copyfile)
    return copy


@pytest.fixture
def db(root):
    with qrd.open(root) as database:
        yield database


@pytest.fixture
def directory(db):
    """An empty directory."""
    return db["Holes"].create_directory("New")
