"""Pictures with matplotlib."""

from __future__ import annotations

from typing import Any, TYPE_CHECKING

import numpy as np

from ._optional import package_for
from ._scale import Scale

if TYPE_CHECKING:
    from ._file import File


def colours_of(scale: Scale) -> tuple[Any, Any]:
    """The colours of a scale, and the norm that finds the class of a value."""
    colors = package_for("Scale.to_matplotlib", "matplotlib", "colors").colors
    missing, below, above = (None if min(one) < 0 else np.array(one) / 255 for one in scale.special)
    colours = colors.ListedColormap(scale.class_colours / 255, scale.palette)
    if scale.kind == "facies":
        # What is in no interval has one colour.
        above = below
    colours.set_extremes(bad=missing, under=below, over=above)
    if scale.kind in ("automatic", "classes"):
        return colours, colors.Normalize()
    if scale.kind == "manual":
        return colours, colors.BoundaryNorm(scale.bounds, scale.classes)

    class Intervals(colors.Normalize):
        """Puts a value into the class of its interval, and one outside of all beyond the last class."""

        def __call__(self, value: Any, clip: bool | None = None) -> Any:
            values = np.ma.masked_invalid(np.ma.asarray(value, dtype=float))
            found = np.full(values.shape, scale.classes)
            for low, high, place in reversed(scale.intervals):
                found[(values.filled(np.nan) >= low) & (values.filled(np.nan) <= high)] = place
            result = np.ma.array(found, mask=np.ma.getmaskarray(values))
            return result if result.ndim > 0 else result[()]

    return colours, Intervals(0, scale.classes)


def _scale_of(file: File, scale: str | Scale | None) -> Scale | None:
    if scale is None or isinstance(scale, Scale):
        return scale
    if not isinstance(scale, str):
        raise TypeError(f"a scale is a name or a qrd.Scale, not {type(scale).__name__}")
    return file.directory.study.scale(scale)


def _label(axis: str, unit: str) -> str:
    return f"{axis} [{unit}]" if unit else axis


def plot_file(file: File, name: str | None, scale: str | Scale | None, level: int | None, ax: Any,
              style: dict[str, Any]) -> Any:
    matplotlib = package_for("File.plot", "matplotlib", "collections", "colors")
    if ax is None:
        from matplotlib import pyplot

        ax = pyplot.subplots(layout="constrained")[1]
    info = file._info()
    units = file._session.coordinate_units(file._place)
    variable = None if name is None else file[name]
    if variable is not None and variable.dtype == object:
        raise TypeError(f"the variable {name!r} holds texts, which have no colour")
    chosen = _scale_of(file, scale)
    if chosen is not None:
        style["cmap"], style["norm"] = colours_of(chosen)
    if info["kind"] == "grid":
        drawn = _plot_grid(file, variable, level, ax, style)
    elif info["has_polygons"] and info["samples"] == 0 or (info["has_polygons"] and name is None):
        drawn = _plot_polygons(file, ax, style)
    elif info["kind"] in ("lines", "core lines"):
        drawn = _plot_lines(file, variable, matplotlib.collections.LineCollection, ax, style)
    else:
        places = file.coordinates()
        style.setdefault("s", 12)
        colours = {} if variable is None else {"c": np.asarray(variable[:], float)}
        drawn = ax.scatter(places[:, 0], places[:, 1], **colours, **style)
    ax.set_aspect("equal")
    ax.ticklabel_format(style="plain", useOffset=False)
    ax.set_xlabel(_label("East", units[0] if units else ""))
    ax.set_ylabel(_label("North", units[1] if len(units) > 1 else ""))
    ax.set_title(file.name)
    if drawn is not None and variable is not None:
        _add_bar(ax, drawn, chosen, _label(name, variable.unit))
    return ax


def _add_bar(ax: Any, drawn: Any, scale: Scale | None, label: str) -> None:
    extend = "neither"
    if scale is not None and scale.kind == "facies":
        # A patch for each class.
        from matplotlib.patches import Patch

        patches = [Patch(color=np.array(colour) / 255, label=text) for text, colour in scale.facies]
        ax.legend(handles=patches, title=label)
        return
    bar = ax.figure.colorbar(drawn, ax=ax, extend=extend)
    bar.set_label(label)


def _plot_grid(file: File, variable: Any, level: int | None, ax: Any, style: dict[str, Any]) -> Any:
    geometry = file.geometry
    nx, ny, nz = geometry.nodes
    if variable is None:
        raise TypeError("a grid is drawn by one of its variables: its name is not given")
    if level is None:
        level = 0
    elif isinstance(level, bool) or not isinstance(level, (int, np.integer)):
        raise TypeError(f"a level is a whole number, not {level!r}")
    if not -nz <= level < nz:
        raise IndexError(f"there is no level {level}: the grid has {nz}")
    layer = np.asarray(variable.grid(), float).reshape(nz, ny, nx)[level]
    # The corners of the cells around the nodes; turned about the first node.
    x = (np.arange(nx + 1) - 0.5) * geometry.mesh[0]
    y = (np.arange(ny + 1) - 0.5) * geometry.mesh[1]
    across, along = np.meshgrid(x, y)
    angle = np.radians(geometry.angles[0])
    east = geometry.origin[0] + across * np.cos(angle) - along * np.sin(angle)
    north = geometry.origin[1] + across * np.sin(angle) + along * np.cos(angle)
    return ax.pcolormesh(east, north, np.ma.masked_invalid(layer), **style)


def _plot_lines(file: File, variable: Any, collection: Any, ax: Any, style: dict[str, Any]) -> Any:
    info = file._info()
    if info["kind"] == "core lines":
        ends = file.read(info["begins"][:2] + info["ends"][:2], selection="")
        pieces = np.stack(list(ends.values()), axis=1).reshape(-1, 2, 2)
    else:
        # Each sample half of the way to its neighbours.
        places = file.coordinates()[:, :2]
        pieces = np.empty((len(places), 2, 2))
        for line in file.lines():
            trace = places[line.slice]
            edges = np.concatenate([trace[:1], (trace[1:] + trace[:-1]) / 2, trace[-1:]])
            pieces[line.slice, 0], pieces[line.slice, 1] = edges[:-1], edges[1:]
    style.setdefault("linewidths", 2.5)
    drawn = collection(pieces, **style)
    if variable is not None:
        drawn.set_array(np.ma.masked_invalid(np.asarray(variable.read(compress=False), float)))
    ax.add_collection(drawn)
    ax.autoscale_view()
    return drawn


def _plot_polygons(file: File, ax: Any, style: dict[str, Any]) -> Any:
    from matplotlib.patches import PathPatch
    from matplotlib.path import Path

    for number, polygon in enumerate(file.polygons()):
        rings = []
        for contour in polygon.contours:
            closed = np.concatenate([contour.vertices, contour.vertices[:1]])
            codes = [Path.MOVETO] + [Path.LINETO] * (len(closed) - 2) + [Path.CLOSEPOLY]
            rings.append(Path(closed, codes))
        look = {"alpha": 0.5, "facecolor": f"C{number % 10}", "edgecolor": "black", "label": polygon.name, **style}
        ax.add_patch(PathPatch(Path.make_compound_path(*rings), **look))
    ax.autoscale_view()
    ax.legend()
    return None
