"""A tour of the sample database in four pictures.

    python3 python/examples/tour.py [FOLDER]

Works on a copy of tests/data/root; the pictures go into the folder, else the current one.
"""

import shutil
import sys
import tempfile
from pathlib import Path

import matplotlib

matplotlib.use("Agg")

import numpy as np
from matplotlib import pyplot

import qrd

sample = Path(__file__).resolve().parents[2] / "tests/data/root"
folder = Path(sys.argv[1] if len(sys.argv) > 1 else ".")


def save(figure, name):
    """Saves a picture; of a map the part around most of the holes, some of which are far away."""
    for axes in figure.axes:
        if axes.get_xlabel() == "East [ft]":
            axes.set(xlim=(2299700, 2302800), ylim=(417800, 420700))
    figure.savefig(folder / name, dpi=80)
    pyplot.close(figure)
    print(folder / name)


def holes(db):
    """Collars and traces in plan, with the classes of a colour scale of the database."""
    drilling = db["Holes/Drilling"]
    figure, axes = pyplot.subplots(figsize=(7, 5.5), layout="constrained")
    drilling["cores"].plot("Cu", scale="Copper manual", ax=axes, linewidths=4)
    drilling["collars"].plot(ax=axes, color="black", s=8)
    axes.set_title("Drill holes")
    save(figure, "python-holes.png")


def histogram(db):
    """Copper, with each bar in the colour of its class."""
    scale = db["Holes"].scale("Copper manual")
    colours, norm = scale.to_matplotlib()
    copper = db["Holes/Drilling/cores"]["Cu"]
    values = copper[:]
    values = values[~np.isnan(values)]
    figure, axes = pyplot.subplots(figsize=(7, 5.5), layout="constrained")
    counts, edges, bars = axes.hist(values, bins=np.linspace(0, 2.5, 51), edgecolor="white", linewidth=0.5)
    for left, bar in zip(edges, bars):
        bar.set_facecolor(colours(norm(left)))
    axes.set_xlabel(f"Cu [{copper.unit}]")
    axes.set_ylabel("Samples")
    axes.set_title(f"{len(values)} assays, {int((values > edges[-1]).sum())} beyond {edges[-1]} {copper.unit}")
    save(figure, "python-histogram.png")


def grid(db):
    """How deep the holes are on average: a grid that is made, read again and drawn."""
    drilling = db["Holes/Drilling"]
    collars = drilling["collars"]
    places = collars.coordinates()[:, :2]
    depths = collars["depth"].read(unit="ft")
    mesh = 100.0
    low = np.floor(places.min(axis=0) / mesh) * mesh
    nx, ny = (np.ceil((places.max(axis=0) - low) / mesh) + 1).astype(int)
    x, y = np.meshgrid(low[0] + np.arange(nx) * mesh, low[1] + np.arange(ny) * mesh)
    squares = (x[..., None] - places[:, 0]) ** 2 + (y[..., None] - places[:, 1]) ** 2
    weights = 1 / (squares + mesh**2) ** 2
    mean = (weights * depths).sum(axis=-1) / weights.sum(axis=-1)
    mean[squares.min(axis=-1) > (6 * mesh) ** 2] = np.nan
    made = drilling.create_grid("depths", (ny, nx), origin=low, mesh=(mesh, mesh), unit="ft",
                                variables={"depth": qrd.New(mean, bits=32, unit="ft")})
    figure, axes = pyplot.subplots(figsize=(7, 5.5), layout="constrained")
    made.plot("depth", ax=axes, cmap="viridis", vmin=1200)
    collars.plot(ax=axes, color="white", edgecolors="black", s=20)
    axes.set_title("Depth of the holes")
    save(figure, "python-grid.png")


def domains(db):
    """The polygons, with the collars."""
    drilling = db["Holes/Drilling"]
    figure, axes = pyplot.subplots(figsize=(7, 5.5), layout="constrained")
    drilling["domains"].plot(ax=axes, alpha=0.35)
    drilling["collars"].plot(ax=axes, color="black", s=8)
    axes.set_title("Domains")
    save(figure, "python-domains.png")


with tempfile.TemporaryDirectory() as scratch:
    copy = Path(scratch) / "root"
    shutil.copytree(sample, copy, copy_function=shutil.copyfile)
    with qrd.open(copy) as database:
        for draw in (holes, histogram, grid, domains):
            draw(database)
