"""Files as tables, and their variables as arrays."""

from __future__ import annotations

import threading
from collections.abc import Iterator, Mapping, Sequence
from contextlib import contextmanager
from dataclasses import dataclass
from typing import Any, TYPE_CHECKING

import numpy as np

from . import _native
from ._errors import NotFound, Refused
from ._objects import Fault, Faults, Polygon, Wireframe, faults_of, polygons_of, told_faults, wireframes_of
from ._values import (Format, New, by_axis, coordinates_of, flat_of, holds_texts, name_of, numbers_of, point_of, texts_of,
                      told_variable)

if TYPE_CHECKING:
    import matplotlib.axes
    import pandas

    from ._database import Directory


class _Current(threading.local):
    """The selection of a ``with``, of each thread its own."""

    selection = ""
    compress = False


def _array_of(values: Any) -> np.ndarray:
    if isinstance(values, np.ndarray):
        return values
    array = np.empty(len(values), object)
    array[:] = values
    return array


def _bound(value: Any) -> int | None:
    if value is None:
        return None
    try:
        return value.__index__()
    except AttributeError:
        raise TypeError(f"a sample is counted with whole numbers, not {value!r}") from None


@dataclass(frozen=True)
class Grid:
    """The geometry of a grid in the unit of its coordinates: nodes (nx, ny, nz), origin, mesh, angles in degrees.

    >>> db["Archive/Old data/cube"].geometry.nodes
    (2, 3, 4)
    """

    nodes: tuple[int, int, int]
    origin: tuple[float, float, float]
    mesh: tuple[float, float, float]
    angles: tuple[float, float, float]


@dataclass(frozen=True)
class Line:
    """A line of a file: ``name`` ("" if the file has none), and its samples ``first`` to ``last``, ``last`` excluded.

    >>> line = db["Holes/Drilling/cores"].lines()[1]
    >>> line.name, line.first, line.last, line.length
    ('B1-116', 91, 162, 71)
    """

    file: File
    name: str
    first: int
    last: int

    @property
    def length(self) -> int:
        """How many samples it has.

        >>> db["Holes/Drilling/cores"].lines()[0].length
        91
        """
        return self.last - self.first

    @property
    def slice(self) -> slice:
        """Its samples, to index a variable with.

        >>> cores = db["Holes/Drilling/cores"]
        >>> cores["hole"][cores.lines()[1].slice][0]
        'B1-116'
        """
        return slice(self.first, self.last)

    @property
    def trace(self) -> np.ndarray:
        """Where its samples are: (n, dimension), in the unit of the coordinates. Read at each call.

        >>> db["Holes/Drilling/cores"].lines()[0].trace.shape
        (91, 3)
        """
        return self.file.coordinates(self.first, self.last)


class File:
    """A file: a table with a row for each sample, and a mapping of names of variables to `Variable`.

    Nothing of it is kept in memory: each use asks the server. ``file["x"]``, ``["y"]`` and ``["z"]`` are the coordinates.

    >>> cores = db["Holes/Drilling/cores"]
    >>> cores.kind, cores.dimension, cores.shape, len(cores)
    ('core lines', 3, (3762,), 3762)
    """

    def __init__(self, directory: Directory, name: str) -> None:
        self.directory = directory
        self.name = name
        self._session = directory._session
        self._place = directory._place(name)
        self._current = _Current()
        self._info()

    def _info(self) -> dict[str, Any]:
        return self._session.file_info(self._place)

    @property
    def path(self) -> str:
        """The names of the study, the directory and the file.

        >>> cores.path
        'Holes/Drilling/cores'
        """
        return f"{self.directory.study.name}/{self.directory.name}/{self.name}"

    @property
    def kind(self) -> str:
        """"points", "lines", "core lines" or "grid".

        >>> db["Archive/Old data/cube"].kind
        'grid'
        """
        return self._info()["kind"]

    @property
    def dimension(self) -> int:
        """2 or 3.

        >>> cores.dimension
        3
        """
        return self._info()["dimension"]

    @property
    def shape(self) -> tuple[int, ...]:
        """(samples,); of a grid (ny, nx) or (nz, ny, nx).

        >>> db["Archive/Old data/cube"].shape
        (4, 3, 2)
        """
        return self._shape(self._info())

    @staticmethod
    def _shape(info: dict[str, Any]) -> tuple[int, ...]:
        if info["kind"] != "grid":
            return (info["samples"],)
        return tuple(reversed(info["nodes"][: info["dimension"]]))

    @property
    def geometry(self) -> Grid:
        """Where the nodes of a grid are. Of another file a TypeError.

        >>> db["Archive/Old data/cube"].geometry.mesh
        (1.0, 2.0, 3.0)
        """
        info = self._info()
        if info["kind"] != "grid":
            raise TypeError(f"{self.path} is no grid: it has {info['kind']}")
        return Grid(info["nodes"], info["origin"], info["mesh"], info["angles"])

    @property
    def link(self) -> str | None:
        """The name of the file that is linked: of lines the points where they begin, of points the lines.

        >>> cores.link
        'collars'
        """
        return self._info()["link"]

    @property
    def comment(self) -> str:
        """The comment on the file. Can be set.

        >>> cores.comment = "Assays of 2003"
        >>> cores.comment
        'Assays of 2003'
        """
        return self._session.comment(self._place, "").removesuffix("\n")

    @comment.setter
    def comment(self, comment: str) -> None:
        self._session.set_comment(self._place, "", _comment(comment))

    def variables(self) -> list[str]:
        """The names of the variables; a macro variable has one, which ends with "[xxxxx]".

        >>> db["Holes/Drilling/collars"].variables()[:3]
        ['SN+ Sample Number (READONLY)', 'X+ Gravity Center', 'Y+ Gravity Center']
        """
        return self._session.names(self._place)

    keys = variables

    def __iter__(self) -> Iterator[str]:
        return iter(self.variables())

    def __len__(self) -> int:
        return self._info()["samples"]

    def __bool__(self) -> bool:
        # A file without samples is there too.
        return True

    def __contains__(self, name: object) -> bool:
        if not isinstance(name, str):
            return False
        try:
            self[name]
        except NotFound:
            return False
        return True

    def __getitem__(self, name: str) -> Any:
        if _native.is_macro_name(name_of(name, "variable")):
            return MacroVariable(self, name)
        return Variable(self, self._session.open(self._place, name))

    def __delitem__(self, name: str) -> None:
        self._session.remove(self._place, name_of(name, "variable"))

    @contextmanager
    def selection(self, name: str, compress: bool = False) -> Iterator[File]:
        """Within the ``with`` and in this thread, variables of this object are read and written under a selection.

        What it leaves out is read as nan, "" or False and keeps its values when it is written; with ``compress`` it is left
        out of the arrays. A name that no selection has raises `NotFound` at the first reading.

        >>> cores = db["Holes/Drilling/cores"]
        >>> with cores.selection("ore", compress=True):
        ...     len(cores["Cu"][:])
        1627
        """
        before = self._current.selection, self._current.compress
        self._current.selection, self._current.compress = name_of(name, "selection"), bool(compress)
        try:
            yield self
        finally:
            self._current.selection, self._current.compress = before

    def selections(self) -> list[str]:
        """The names of the selections.

        >>> db["Holes/Drilling/cores"].selections()
        ['ore', 'sampled']
        """
        return self._session.selections(self._place)

    def read(self, names: Sequence[str] | None = None, *, start: int | None = 0, stop: int | None = None,
             selection: str | None = None, compress: bool | None = None, unit: str = "") -> dict[str, np.ndarray]:
        """Several variables, or all with the columns of macro variables: names and arrays, as `Variable.read` gives them.

        >>> some = db["Holes/Drilling/cores"].read(["hole", "from", "Cu", "ore"], stop=3)
        >>> some["hole"][0], some["Cu"].round(2), some["ore"]
        ('B1-105', array([ nan, 0.02, 0.97]), array([False, False,  True]))
        """
        if isinstance(names, str):
            raise TypeError(f"names are a list of str, not the str {names!r}")
        if names is None:
            columns = {one.title: one for one in self._session.columns(self._place)}
        else:
            columns = {}
            for name in names:
                if _native.is_macro_name(name_of(name, "variable")):
                    columns.update((one.title, one) for one in self._session.open_all(self._place, name))
                else:
                    columns[name] = self._session.open(self._place, name)
        how = dict(start=start, stop=stop, selection=selection, compress=compress, unit=unit)
        return {name: Variable(self, column).read(**how) for name, column in columns.items()}

    def coordinates(self, start: int | None = 0, stop: int | None = None) -> np.ndarray:
        """Where the samples are: (n, dimension), in the unit of the coordinates.

        >>> db["Holes/Drilling/collars"].coordinates(stop=2).shape
        (2, 3)
        """
        axes = "xyz"[: self.dimension]
        columns = [self._session.open(self._place, axis) for axis in axes]
        arrays = [Variable(self, one).read(start=start, stop=stop, selection="") for one in columns]
        return np.stack(arrays, axis=1)

    def to_pandas(self, names: Sequence[str] | None = None, **how: Any) -> pandas.DataFrame:
        """A DataFrame of variables, or of all; ``how`` as for `read`. Needs pandas.

        The index counts the samples from 0; ``attrs["units"]`` has the units of the columns that have one.

        >>> frame = db["Holes/Drilling/cores"].to_pandas(["hole", "Cu"], start=1, stop=3)
        >>> list(frame.index), frame.attrs["units"]
        ([1, 2], {'Cu': '%'})
        """
        from ._frames import frame_of

        return frame_of(self, names, how)

    def lines(self) -> list[Line]:
        """The lines of a file of lines, in their order; none of another file.

        >>> len(db["Holes/Drilling/cores"].lines())
        50
        """
        return [Line(self, *one) for one in self._session.lines(self._place)]

    def create_variable(self, name: str, values: Any = None, *, bits: int | None = None, unit: str = "",
                        comment: str = "", format: Format | None = None) -> Variable:
        """Makes a variable of numbers, or with a name like "sim[3]" or "sim{low}" a column of a macro variable.

        ``values``: one for each sample, of a grid in its shape too; nan is missing, and so are all without them. ``bits``,
        ``unit``, ``comment``, ``format``: as in `New`. Nothing is left of it if a value doesn't fit.

        >>> collars = db["Holes/Drilling/collars"]
        >>> collars.create_variable("depth of water", [3] * 50, bits=32, unit="m")
        <qrd.Variable depth of water: 32 bits, m>
        """
        return self._make(name, New(values, bits, unit, comment, format))

    def create_text(self, name: str, values: Sequence[str | None] | None = None, *, characters: int | None = None,
                    comment: str = "") -> Variable:
        """Makes a variable of texts. ``characters``: its width in bytes; without it, that of the longest text.

        >>> collars.create_text("driller", ["Ada"] * 50)
        <qrd.Variable driller: 3 characters>
        """
        if values is None and characters is None:
            raise ValueError(f"without values the characters of the variable {name!r} have to be given")
        texts = None if values is None else _array_of(texts_of(values))
        width = characters if characters is not None or len(texts) > 0 else 1
        if texts is not None and characters is None:
            width = max([1] + [len(one.encode("utf-8", "surrogateescape")) for one in texts])
        return self._make(name, New(texts, None, "", comment, None, width))

    def create_selection(self, name: str, mask: Any = None, *, comment: str = "") -> Variable:
        """Makes a selection: a variable of 1 bit. ``mask``: a boolean for each sample; without it none is selected.

        >>> collars.create_selection("deep", collars["depth"][:] > 2000)
        <qrd.Variable deep: selection>
        """
        if mask is not None:
            mask = _booleans(mask)
        else:
            mask = np.zeros(len(self), bool)
        return self._make(name, New(mask, 1, "", comment))

    def _make(self, name: str, new: New) -> Variable:
        info = self._info()
        shape = self._shape(info)
        told = told_variable(name, new, shape)
        if told[-1] is not None and len(told[-1]) != info["samples"]:
            raise ValueError(f"{len(told[-1])} values of {name!r} for {info['samples']} samples")
        self._session.make_variable(self._place, told)
        return self[name]

    def append(self, coordinates: Any, variables: Mapping[str, Any] | None = None, *,
               start: Sequence[float] | None = None) -> None:
        """New samples at the end: to points, or to lines a line of them; a line of cores with the point of its ``start``.

        ``coordinates``: (n, dimension) in the unit of the file's own. ``variables``: n values for variables of the
        file; the others are missing there, or what the server fills 2 bits with. A link of the file is given up. Wrong values raise before anything is sent.

        >>> made = db["Holes/Drilling"].create_points("q", [[1, 2]], {"a": [5]})
        >>> made.append([[3, 4]], {"a": [6]})
        >>> made["a"][:]
        array([5., 6.])
        """
        xyz = coordinates_of(coordinates)
        info = self._info()
        if info["kind"] == "grid":
            raise TypeError(f"{self.path} is a grid, which has all its samples from the start")
        if xyz.shape[1] != info["dimension"]:
            raise ValueError(f"{self.path} has {info['dimension']} dimensions: coordinates have the shape "
                             f"(n, {info['dimension']}), not {xyz.shape}")
        if (start is not None) != (info["kind"] == "core lines") and not (info["kind"] == "lines" and info["samples"] == 0):
            raise ValueError(f"{self.path} has {info['kind']}: " + ("no start" if start is not None else "a start is needed"))
        begin = None if start is None else point_of(start, "start", info["dimension"])
        told = []
        for name, values in (variables or {}).items():
            given = self[name]._values_of(values)
            if len(given) != len(xyz):
                raise ValueError(f"{len(given)} values of {name!r} for {len(xyz)} samples")
            told.append((name, given))
        if len(xyz) == 0:
            return
        self._session.append(self._place, info["dimension"], by_axis(xyz), begin, told)

    def link_lines(self, points: str, names: str = "") -> None:
        """Links a file of lines with a file of points of its directory that has a sample for each line.

        ``names``: the variable of texts there that names the lines.

        >>> directory = db["Holes/Drilling"]
        >>> holes = directory.create_lines("holes", [[[0, 0], [1, 0]], [[5, 5]]])
        >>> directory.create_points("tops", [[0, 0], [5, 5]], {"hole": ["A", "B"]})
        <qrd.File Holes/Drilling/tops>
        >>> holes.link_lines("tops", names="hole")
        >>> [line.name for line in holes.lines()]
        ['A', 'B']
        """
        self._session.link(self._place, name_of(points, "file"), names)

    def polygons(self) -> list[Polygon]:
        """The polygons of the file, in the unit of its coordinates.

        >>> [polygon.name for polygon in db["Holes/Drilling/domains"].polygons()]
        ['North', 'South', 'All']
        """
        return polygons_of(self._session.polygons(self._place)) if self._info()["has_polygons"] else []

    def wireframes(self) -> list[Wireframe]:
        """The wireframes of the file, in the unit of its coordinates. A file without raises `Refused`.

        >>> db["Holes/Drilling/ore"].wireframes()[0].pieces[0].triangles
        array([[0, 1, 2]], dtype=int32)
        """
        return wireframes_of(self._session.wireframes(self._place))

    def faults(self, highest_priority: int = 127) -> Faults:
        """The faults of the file up to a priority, in the unit of its coordinates.

        >>> len(db["Holes/Drilling/collars"].faults())
        0
        """
        info = self._info()
        if not info["has_faults"]:
            return Faults(info["dimension"] == 2, False, [])
        return faults_of(self._session.faults(self._place, highest_priority))

    def write_faults(self, faults: Sequence[Fault]) -> None:
        """Gives faults to a file that has none yet; 2D to a file of 2 dimensions.

        >>> throw = qrd.Fault("F1", [[[0, 0, 0], [1, 1, 0]]])
        >>> db["Holes/Drilling/p"].write_faults([throw])
        >>> db["Holes/Drilling/p"].faults()[0].name
        'F1'
        """
        is_2d = self.dimension == 2
        self._session.write_faults(self._place, *told_faults(faults, is_2d))

    def plot(self, name: str | None = None, *, scale: str | Any = None, level: int | None = None, ax: Any = None,
             **style: Any) -> matplotlib.axes.Axes:
        """Draws the file in plan, north up, and gives the axes. Needs matplotlib.

        ``name``: the variable that colours it, with a bar of its unit. ``scale``: the name of a colour scale of the study, or
        a `Scale`. ``level``: of a 3D grid the layer from the bottom, from 0. ``style`` goes to matplotlib.

        >>> import matplotlib; matplotlib.use("Agg")
        >>> db["Holes/Drilling/cores"].plot("Cu", scale="Copper manual").get_xlabel()
        'East [ft]'
        """
        from ._plot import plot_file

        return plot_file(self, name, scale, level, ax, style)

    def __repr__(self) -> str:
        return f"<qrd.File {self.path}>"


def _comment(comment: object) -> str:
    if not isinstance(comment, str):
        raise TypeError(f"a comment is a str, not {type(comment).__name__}")
    return comment


def _booleans(values: Any) -> np.ndarray:
    array = np.asarray(values)
    if array.dtype.kind == "b":
        return array
    if array.dtype.kind not in "iuf" or not np.isin(array, (0, 1)).all():
        raise ValueError("a selection has booleans, or numbers that are 0 or 1")
    return array.astype(bool)


class Variable:
    """A variable as an array of one dimension: numbers as float64, selections as bool, texts as objects of type str.

    Indices count samples from 0, and ends are excluded; what is asked for is asked of the server, not more. Missing
    numbers are nan, missing texts "".

    >>> cu = db["Holes/Drilling/cores"]["Cu"]
    >>> cu[:3].round(2), round(cu[-1], 2)
    (array([ nan, 0.02, 0.97]), 0.59)
    >>> cu[:2] = [0.5, float("nan")]
    >>> cu[:3].round(2)
    array([0.5 ,  nan, 0.97])
    """

    def __init__(self, file: File, column: _native.Column) -> None:
        self.file = file
        self._column = column
        self._session = file._session
        self._place = file._place

    @property
    def name(self) -> str:
        """Its name; of a column of a macro variable with its index.

        >>> cu.name
        'Cu'
        """
        return self._column.title

    @property
    def dtype(self) -> np.dtype:
        """Of the arrays that it gives: float64, bool or object.

        >>> cu.dtype
        dtype('float64')
        """
        if self._column.is_text:
            return np.dtype(object)
        return np.dtype(bool if self._column.is_selection else np.float64)

    @property
    def bits(self) -> int:
        """How many bits a number is stored in: 1, 2, 4, 8, 16, 32 or 64. Of a text 0.

        >>> cu.bits
        32
        """
        return self._column.bits if not self._column.is_text else 0

    @property
    def characters(self) -> int:
        """The width of a text in bytes. Of a number 0.

        >>> db["Holes/Drilling/cores"]["hole"].characters
        8
        """
        return self._column.characters

    @property
    def unit(self) -> str:
        """What its values are told in, "" for none.

        >>> cu.unit
        '%'
        """
        return self._column.unit

    @property
    def is_length(self) -> bool:
        """Whether its unit is one of length, so that it can be read in another.

        >>> db["Holes/Drilling/cores"]["from"].is_length
        True
        """
        return self._column.is_length

    @property
    def is_computed(self) -> bool:
        """Whether it is not stored and can't be written, such as the number of a sample.

        >>> cu.is_computed
        False
        """
        return self._column.is_computed

    @property
    def comment(self) -> str:
        """The comment on the variable. Can be set.

        >>> cu.comment = "By fire assay"
        >>> cu.comment
        'By fire assay'
        """
        return self._session.comment(self._place, self._column.variable).removesuffix("\n")

    @comment.setter
    def comment(self, comment: str) -> None:
        self._session.set_comment(self._place, self._column.variable, _comment(comment))

    @property
    def shape(self) -> tuple[int]:
        """(samples,).

        >>> cu.shape
        (3762,)
        """
        return (len(self),)

    def __len__(self) -> int:
        return len(self.file)

    def __bool__(self) -> bool:
        return True

    def _how(self, selection: str | None, compress: bool | None, unit: str) -> tuple[str, bool, str]:
        if selection is not None and not isinstance(selection, str):
            raise TypeError(f"a selection is a name, not {selection!r}")
        if not isinstance(unit, str):
            raise TypeError(f"a unit is a symbol, not {unit!r}")
        if unit and unit not in _native.length_units():
            raise ValueError(f"{unit!r} is not the symbol of a length unit: they are {', '.join(_native.length_units())}")
        current = self.file._current
        if selection is None:
            return current.selection, current.compress if compress is None else bool(compress), unit
        return selection, bool(compress), unit

    def read(self, selection: str | None = None, compress: bool | None = None, unit: str = "", start: int | None = 0,
             stop: int | None = None) -> np.ndarray:
        """The samples ``start`` to ``stop``, ``stop`` excluded; negative ones count from the end.

        ``selection``, ``compress``: as in `File.selection`, over what a ``with`` says; "" for none. ``unit``: the symbol
        that lengths are told in. The array owns the bytes that came, without a copy.

        >>> depth = db["Holes/Drilling/cores"]["from"]
        >>> depth.unit, depth.read(unit="m", start=1, stop=3).round(2)
        ('ft', array([269.44, 272.49]))
        """
        how = self._how(selection, compress, unit)
        return _array_of(self._session.read(self._place, self._column, _bound(start), _bound(stop), *how))

    def write(self, values: Any, selection: str | None = None, compress: bool | None = None, unit: str = "",
              start: int | None = 0, stop: int | None = None) -> None:
        """Writes the samples ``start`` to ``stop``; as many values as they are, or with ``compress`` as are selected.

        A number that the bits can't hold, or a text that is too wide, raises ValueError, and nothing is written.

        >>> db["Holes/Drilling/cores"]["Cu"].write([0.25], start=5, stop=6)
        """
        how = self._how(selection, compress, unit)
        given = self._values_of(flat_of(values, self.file.shape) if np.ndim(values) > 1 else values)
        self._session.write(self._place, self._column, given, _bound(start), _bound(stop), *how)

    def _values_of(self, values: Any) -> Any:
        if self._column.is_computed:
            raise TypeError(f"the variable {self.name!r} is computed and can't be written")
        if isinstance(values, str):
            raise TypeError(f"values are a sequence, not the str {values!r}")
        if self._column.is_text:
            array = np.asarray(values, dtype=object)
            given: Any = texts_of(array.flat)
        else:
            array = given = numbers_of(_booleans(values) if self._column.is_selection else values,
                                       f"the values of {self.name!r}")
        if array.ndim != 1:
            raise ValueError(f"the values of {self.name!r} have one dimension, not {array.ndim}")
        return given

    def __getitem__(self, index: Any) -> Any:
        if isinstance(index, tuple) and len(index) == 1:
            index = index[0]
        if index is Ellipsis:
            index = slice(None)
        if isinstance(index, slice) and index.step in (None, 1):
            return self.read(start=index.start, stop=index.stop)
        if self.file._current.compress:
            raise ValueError("under a compressing selection samples are read with a slice, without steps")
        if isinstance(index, slice):
            chosen = range(len(self))[index]
            if len(chosen) == 0:
                return self.read(start=0, stop=0)
            low, high = min(chosen[0], chosen[-1]), max(chosen[0], chosen[-1])
            part = self.read(start=low, stop=high + 1)
            return part[:: index.step] if index.step > 0 else part[::-1][:: -index.step]
        if isinstance(index, (list, np.ndarray)):
            return self._pick(np.asarray(index))
        one = _bound(index)
        part = self.read(start=one, stop=one + 1 or None)
        if len(part) == 0:
            raise IndexError(f"there is no sample {one}: the file has {len(self)}")
        return part[0]

    def _pick(self, index: np.ndarray) -> np.ndarray:
        """The samples of an array of indices, or of a mask; what lies between is read too."""
        samples = len(self)
        if index.dtype.kind == "b":
            if index.shape != (samples,):
                raise IndexError(f"a mask has the shape ({samples},), not {index.shape}")
            index = np.flatnonzero(index)
        if index.size == 0:
            return self.read(start=0, stop=0)
        if index.dtype.kind not in "iu":
            raise TypeError(f"samples are counted with whole numbers, not {index.dtype}")
        places = np.where(index < 0, index + samples, index)
        low, high = int(places.min()), int(places.max())
        if low < 0 or high >= samples:
            raise IndexError(f"there is no such sample: the file has {samples}")
        return self.read(start=low, stop=high + 1)[places - low]

    def __setitem__(self, index: Any, values: Any) -> None:
        if isinstance(index, tuple) and len(index) == 1:
            index = index[0]
        if index is Ellipsis:
            index = slice(None)
        alone = isinstance(values, str) or values is None or np.ndim(values) == 0
        if isinstance(index, slice):
            if index.step not in (None, 1):
                raise ValueError("samples are written with a slice without steps")
            if alone:
                if self.file._current.compress:
                    raise ValueError("under a compressing selection as many values are written as are selected")
                values = [values] * len(range(len(self))[index])
            self.write(values, start=index.start, stop=index.stop)
            return
        one = _bound(index)
        if not alone:
            raise ValueError("one sample takes one value")
        if not -len(self) <= one < len(self):
            raise IndexError(f"there is no sample {one}: the file has {len(self)}")
        self.write([values], start=one, stop=one + 1 or None)

    def __iter__(self) -> Iterator[Any]:
        return iter(self.read())

    def __array__(self, dtype: Any = None) -> np.ndarray:
        values = self.read()
        return values if dtype is None else values.astype(dtype)

    def grid(self, unit: str = "") -> np.ndarray:
        """All of it in the shape of the grid, (ny, nx) or (nz, ny, nx), without a copy.

        >>> db["Archive/Old data/cube"]["number"].grid()[:, 0, 0]
        array([1., 2., 3., 4.])
        """
        geometry = self.file.geometry
        nodes = geometry.nodes[: self.file.dimension]
        # Z runs fastest, then Y.
        return self.read(unit=unit, compress=False).reshape(nodes).T

    def __repr__(self) -> str:
        if self._column.is_text:
            what = f"{self.characters} characters"
        else:
            what = "selection" if self._column.is_selection else f"{self.bits} bits"
        return f"<qrd.Variable {self.name}: {what}{', ' + self.unit if self.unit else ''}>"


class MacroVariable:
    """A macro variable as an array of two dimensions: samples, and columns counted from 0, whatever their indices are.

    ``file["sim[3]"]`` is the column of the index 3, ``file["sim{low}"]`` that of a name: a `Variable`.

    >>> points = db["Holes/Drilling/p"]
    >>> for number in (7, 2):
    ...     points.create_variable(f"sim[{number}]", [number, 10 * number], bits=32)
    <qrd.Variable sim[7]: 32 bits>
    <qrd.Variable sim[2]: 32 bits>
    >>> sim = points["sim[xxxxx]"]
    >>> sim.indices, sim[:, 1]
    ([2, 7], array([ 7., 70.]))
    >>> sim[:]
    array([[ 2.,  7.],
           [20., 70.]])
    """

    def __init__(self, file: File, name: str) -> None:
        self.file = file
        self.name = name
        self.columns()

    def columns(self) -> list[Variable]:
        """Its columns, in the order of their numbers.

        >>> sim.columns()
        [<qrd.Variable sim[2]: 32 bits>, <qrd.Variable sim[7]: 32 bits>]
        """
        return [Variable(self.file, one) for one in self.file._session.open_all(self.file._place, self.name)]

    @property
    def indices(self) -> list[int | str]:
        """The numbers or names of its columns.

        >>> sim.indices
        [2, 7]
        """
        return [one._column.index for one in self.columns()]

    @property
    def shape(self) -> tuple[int, int]:
        """(samples, columns).

        >>> sim.shape
        (2, 2)
        """
        return len(self.file), len(self.columns())

    def __len__(self) -> int:
        return len(self.file)

    def __getitem__(self, index: Any) -> Any:
        samples, chosen = self._chosen(index)
        if isinstance(chosen, Variable):
            return chosen[samples]
        arrays = [one[samples] for one in chosen]
        if not arrays:
            return np.empty((len(range(len(self))[samples]) if isinstance(samples, slice) else 1, 0))
        return np.stack(arrays, axis=-1)

    def __setitem__(self, index: Any, values: Any) -> None:
        samples, chosen = self._chosen(index)
        if isinstance(chosen, Variable):
            chosen[samples] = values
            return
        array = np.asarray(values)
        if array.ndim > 0 and array.shape[-1] != len(chosen):
            raise ValueError(f"the last dimension of the values is {len(chosen)} columns, not {array.shape[-1]}")
        parts = [array[..., k] if array.ndim > 0 else array for k in range(len(chosen))]
        # All are looked at before the first is written.
        for one, part in zip(chosen, parts):
            _native.check(one._column, one._values_of(part if part.ndim == 1 else part.reshape(-1)))
        for one, part in zip(chosen, parts):
            one[samples] = part

    def _chosen(self, index: Any) -> tuple[Any, Variable | list[Variable]]:
        samples, column = index if isinstance(index, tuple) and len(index) == 2 else (index, slice(None))
        columns = self.columns()
        if isinstance(column, slice):
            return samples, columns[column]
        place = _bound(column)
        if not -len(columns) <= place < len(columns):
            raise IndexError(f"there is no column {place}: {self.name!r} has {len(columns)}")
        return samples, columns[place]

    def __repr__(self) -> str:
        return f"<qrd.MacroVariable {self.name}: {len(self.columns())} columns>"
