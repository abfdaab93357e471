"""Databases, studies and directories."""

from __future__ import annotations

import atexit
import os
import weakref
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from typing import Any, TYPE_CHECKING

import numpy as np

from . import _native
from ._errors import NotFound, Refused
from ._file import File
from ._objects import Polygon, Wireframe, told_polygons, told_wireframes
from ._scale import Scale, palette_of
from ._values import by_axis, coordinates_of, name_of, point_of, told_variables

if TYPE_CHECKING:
    import pandas

_open_databases: weakref.WeakSet[Database] = weakref.WeakSet()


@atexit.register
def _close_all() -> None:
    for database in list(_open_databases):
        # What another thread is doing ends with the process, and so does its server.
        database._session.close(wait=False)


def open(root: str | os.PathLike[str], *, make: bool = False, timeout: float = 600) -> Database:
    """Opens the database in a folder with a server of one's own, which ends with the `Database`.

    ``make``: makes a database there if there is none. ``timeout``: the longest silence of the server in seconds; 0
    waits for ever. A folder that is no database raises `Refused`; a server that can't be
    started, `ConnectionLost`. The program
    QRDserver is looked for beside the running Python, then in PATH.

    >>> import qrd
    >>> with qrd.open("root") as opened:
    ...     opened.studies()
    ['Holes', 'Archive']
    """
    path = os.fspath(root)
    if not isinstance(path, str):
        raise TypeError(f"the folder of a database is a str or a path, not {type(root).__name__}")
    if not path:
        raise ValueError("the folder of the database is empty")
    return Database(_session("", "", path, make, timeout), path, path)


def connect(address: str, root: str, *, timeout: float = 600) -> Database:
    """Opens a database through a server that runs.

    ``address``: "HOST:PORT", "unix:/PATH", or "ssh://[USER@]HOST[:PORT][/PATH/OF/QRDserver]", which starts a server there.
    ``root``: the folder of the database as the server sees it. No connection raises `ConnectionLost`; another folder
    `Refused`; an address of another form, ValueError.

    >>> import qrd
    >>> qrd.connect("nowhere:port", root="/srv/db")
    Traceback (most recent call last):
    ValueError: a server is told as HOST:PORT, ssh://HOST or unix:/PATH, not as "nowhere:port"
    """
    name_of(address, "server")
    name_of(root, "root")
    return Database(_session(address, "", root, False, timeout), f"{root} at {address}", root)


def _session(server: str, via: str, root: str, make: bool, timeout: float) -> _native.Session:
    if isinstance(timeout, bool) or not isinstance(timeout, (int, float)):
        raise TypeError(f"a timeout is a number of seconds, not {timeout!r}")
    if not 0 <= timeout < 1e9:
        raise ValueError(f"a timeout is a number of seconds from 0, not {timeout!r}")
    return _native.Session(server=server, via=via, root=root, make=bool(make), timeout=timeout)


def _down(open_one: Callable[[str], Any], path: str, what: str, names: Iterable[str]) -> Any:
    """What has the name; or in what has its part before a "/", what the rest names."""
    if "/" not in name_of(path, what) or path in names:
        return open_one(path)
    first, rest = path.split("/", 1)
    return open_one(name_of(first, what))[rest]


class _Names:
    """What has things by their names: each of these lists them in its own way."""

    def keys(self) -> list[str]:
        raise NotImplementedError

    def __iter__(self) -> Iterator[str]:
        return iter(self.keys())

    def __len__(self) -> int:
        return len(self.keys())

    def __contains__(self, name: object) -> bool:
        return isinstance(name, str) and name in self.keys()


class Database(_Names):
    """A database: a mapping of names of studies to `Study`. Made by `open` and `connect`.

    ``db["Holes"]``, ``db["Holes/Drilling"]`` and ``db["Holes/Drilling/cores"]`` go down to a study, a directory, a file;
    a name that nothing has raises `NotFound`. Any object of it can be used at any time, in any order, from any thread;
    one thread at a time talks to the server. It closes at the end of a ``with``, by `close`, or at the end of the
    interpreter; whatever uses it then raises ValueError.

    >>> import qrd
    >>> db = qrd.open("root")
    >>> list(db), "Holes" in db, len(db)
    (['Holes', 'Archive'], True, 2)
    """

    def __init__(self, session: _native.Session, told: str, root: str) -> None:
        self._session = session
        self._told = told
        self._root = root
        _open_databases.add(self)

    def studies(self) -> list[str]:
        """The names of the studies.

        >>> db.studies()
        ['Holes', 'Archive']
        """
        return self._session.studies()

    keys = studies

    def __getitem__(self, name: str) -> Any:
        return _down(lambda study: Study(self, study), name, "study", self)

    def __delitem__(self, name: str) -> None:
        self._session.delete_study(name_of(name, "study"))

    def create_study(self, name: str, path: str | None = None) -> Study:
        """Makes a study. ``path``: its folder as the server sees it; without it, one of its name below the root.

        >>> db.create_study("New").directories()
        []
        """
        if path is None:
            folder = "".join("_" if letter in '/\\?*|"<>:' else letter for letter in name_of(name, "study"))
            base = self._root if os.path.isabs(self._root) else os.path.abspath(self._root)
            path = os.path.join(base, folder + "_" if folder in (".", "..") else folder)
        self._session.new_study(name_of(name, "study"), path)
        return self[name]

    def palettes(self) -> dict[str, np.ndarray]:
        """The palettes that all studies have, such as those of the root: names and arrays (n, 3) of uint8.

        >>> sorted(db.palettes())
        ['Grades', 'System grey']
        """
        shared: list[str] | None = None
        study = ""
        for name in self.studies():
            try:
                names = self._session.palettes(name)
            except Refused:
                # A study whose folder has gone shows none.
                continue
            study = name
            shared = names if shared is None else [one for one in shared if one in names]
        return {one: palette_of(self._session, study, one) for one in shared or []}

    @property
    def closed(self) -> bool:
        """Whether it was closed.

        >>> db.closed
        False
        """
        return self._session.is_closed()

    def close(self) -> None:
        """Closes the connection; a server of one's own ends. Waits for what another thread does.

        >>> other = qrd.open("root")
        >>> other.close()
        >>> other.studies()
        Traceback (most recent call last):
        ValueError: the database is closed
        """
        if not self.closed:
            self._session.close()

    def __enter__(self) -> Database:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<qrd.Database {self._told}{' (closed)' if self.closed else ''}>"


class Study(_Names):
    """A study: a mapping of names of directories to `Directory`, with palettes and colour scales.

    >>> study = db["Holes"]
    >>> list(study), study["Drilling"]
    (['Drilling'], <qrd.Directory Holes/Drilling>)
    """

    def __init__(self, database: Database, name: str) -> None:
        self.database = database
        self.name = name
        self._session = database._session
        self._session.find(name, "")

    def directories(self) -> list[str]:
        """The names of the directories.

        >>> db["Holes"].directories()
        ['Drilling']
        """
        return self._session.directories(self.name)

    keys = directories

    def __getitem__(self, name: str) -> Any:
        return _down(lambda directory: Directory(self, directory), name, "directory", self)

    def __delitem__(self, name: str) -> None:
        self._session.delete_directory(self.name, name_of(name, "directory"))

    def create_directory(self, name: str) -> Directory:
        """Makes a directory. One that is there raises `Refused`.

        >>> db["Holes"].create_directory("More")
        <qrd.Directory Holes/More>
        """
        self._session.new_directory(self.name, name_of(name, "directory"))
        return self[name]

    def palettes(self) -> dict[str, np.ndarray]:
        """The palettes of the study and of the root: names and arrays (n, 3) of uint8, red, green, blue.

        >>> db["Holes"].palettes()["Grades"][0]
        array([  0,   0, 128], dtype=uint8)
        """
        return {name: palette_of(self._session, self.name, name) for name in self._session.palettes(self.name)}

    def write_palette(self, name: str, colours: Any) -> None:
        """Makes or replaces a palette of the study. ``colours``: (n, 3) whole numbers of 0 to 255, n at most 256.

        >>> db["Holes"].write_palette("Two", [(255, 0, 0), (0, 0, 255)])
        """
        rows = np.asarray(colours)
        if rows.ndim != 2 or rows.shape[1:] != (3,) or rows.dtype.kind not in "iu":
            raise ValueError(f"colours are whole numbers in the shape (n, 3), not {rows.dtype} in {rows.shape}")
        if len(rows) > 256 or (rows.size > 0 and (rows.min() < 0 or rows.max() > 255)):
            raise ValueError("a palette has at most 256 colours of 0 to 255")
        self._session.write_palette(self.name, name_of(name, "palette"), np.ascontiguousarray(rows, np.int32))

    def delete_palette(self, name: str) -> None:
        """Takes a palette of the study away. One that a scale uses raises `Refused`.

        >>> db["Holes"].delete_palette("Two")
        """
        self._session.delete_palette(self.name, name_of(name, "palette"))

    def scales(self) -> dict[str, Scale]:
        """The colour scales by name.

        >>> db["Holes"].scales()["Copper manual"].bounds
        array([ 0. ,  0.1,  0.2,  0.4,  0.8, 25. ])
        """
        return {name: self.scale(name) for name in self._session.scales(self.name)}

    def scale(self, name: str) -> Scale:
        """One colour scale, with the colours of its palette. A name that none has raises `NotFound`.

        >>> db["Holes"].scale("Copper manual").kind
        'manual'
        """
        names = self._session.scales(self.name)
        if name not in names:
            raise NotFound(f"there is no colour scale {name!r} in the study {self.name!r}: it has {names}", name)
        return Scale._read(self._session, self.name, name)

    def write_scale(self, name: str, scale: Scale) -> None:
        """Makes a colour scale, or replaces it unless it is read-only.

        >>> db["Holes"].write_scale("Halves", qrd.Scale("manual", "Grades", bounds=[0, 0.5, 1], palette_indices=[0, 7]))
        """
        if not isinstance(scale, Scale):
            raise TypeError(f"a scale is a qrd.Scale, not {type(scale).__name__}")
        self._session.write_scale(self.name, name_of(name, "scale"), scale._told())

    def delete_scale(self, name: str) -> None:
        """Takes a colour scale away. A read-only one raises `Refused`.

        >>> db["Holes"].delete_scale("Halves")
        """
        self._session.delete_scale(self.name, name_of(name, "scale"))

    def __repr__(self) -> str:
        return f"<qrd.Study {self.name}>"


class Directory(_Names):
    """A directory: a mapping of names of files to `File`. ``del directory["name"]`` takes a file away.

    >>> list(db["Holes/Drilling"])
    ['collars', 'cores', 'domains']
    """

    def __init__(self, study: Study, name: str) -> None:
        self.study = study
        self.name = name
        self._session = study._session
        self._session.find(study.name, name)

    def files(self) -> list[str]:
        """The names of the files.

        >>> db["Holes/Drilling"].files()
        ['collars', 'cores', 'domains']
        """
        return self._session.files(self.study.name, self.name)

    keys = files

    def __getitem__(self, name: str) -> File:
        return File(self, name_of(name, "file"))

    def __delitem__(self, name: str) -> None:
        self._session.delete_file(self._place(name))

    def _place(self, name: str) -> _native.Place:
        return _native.Place(self.study.name, self.name, name_of(name, "file"))

    def create_points(self, name: str, coordinates: Any, variables: Mapping[str, Any] | None = None, *,
                      unit: str = "m") -> File:
        """Makes a file of points, whole or not at all.

        ``coordinates``: (n, 2) or (n, 3) in the length unit ``unit``. ``variables``: names and n values each, or `New`.

        >>> made = db["Holes/Drilling"].create_points("p", [[1, 2], [3, 4]], {"a": [5, float("nan")]})
        >>> made.kind, made.dimension, made["a"][:]
        ('points', 2, array([ 5., nan]))
        """
        xyz = coordinates_of(coordinates)
        told = told_variables(variables, (len(xyz),))
        self._session.make_points(self._place(name), xyz.shape[1], by_axis(xyz), unit, told)
        return self[name]

    def create_grid(self, name: str, shape: Sequence[int], *, origin: Sequence[float], mesh: Sequence[float],
                    angles: Sequence[float] = (0, 0, 0), variables: Mapping[str, Any] | None = None,
                    unit: str = "m") -> File:
        """Makes a grid, whole or not at all.

        ``shape``: nodes (ny, nx) or (nz, ny, nx). ``origin``, ``mesh``: x, y and in 3D z of the first node, and the steps,
        in ``unit``. ``angles``: degrees. ``variables``: names and values in that shape, or in a row with z
        running fastest, then y.

        >>> made = db["Holes/Drilling"].create_grid("g", (2, 3), origin=(0, 0), mesh=(10, 10), variables={"v": [[1, 2, 3], [4, 5, 6]]})
        >>> made["v"].grid()
        array([[1., 2., 3.],
               [4., 5., 6.]])
        """
        counts = tuple(shape)
        if len(counts) not in (2, 3) or not all(isinstance(one, (int, np.integer)) and 0 < one < 2**31 for one in counts):
            raise ValueError(f"the shape of a grid is (ny, nx) or (nz, ny, nx), whole numbers from 1, not {counts!r}")
        dimension = len(counts)
        nodes = tuple(int(one) for one in reversed(counts)) + (1,) * (3 - dimension)
        told = told_variables(variables, counts)
        start, steps = point_of(origin, "origin", dimension), point_of(mesh, "mesh", dimension)
        self._session.make_grid(self._place(name), nodes, start, steps, point_of(angles, "angles", 3), dimension, unit, told)
        return self[name]

    def create_lines(self, name: str, lines: Sequence[Any], *, starts: Sequence[Any] | None = None,
                     variables: Mapping[str, Any] | None = None, unit: str = "m", dimension: int | None = None) -> File:
        """Makes a file of lines, whole or not at all.

        ``lines``: for each line the places (n, 2) or (n, 3) of its samples. With ``starts``, a point for each line, they
        are core lines: each sample is a segment from the end before it to its own. ``variables``: values of all samples, one
        line after the other. ``dimension`` is needed where there is no line.

        >>> made = db["Holes/Drilling"].create_lines("l", [[[0, 0], [1, 0]], [[5, 5]]], variables={"v": [1, 2, 3]})
        >>> [line.length for line in made.lines()]
        [2, 1]
        """
        traces = [coordinates_of(one) for one in lines]
        if not traces and dimension is None:
            raise ValueError("without lines the dimension, 2 or 3, has to be given")
        width = dimension if dimension is not None else traces[0].shape[1]
        if width not in (2, 3) or any(one.shape[1] != width for one in traces):
            raise ValueError("all lines have the same dimension, 2 or 3")
        begins: list[Any] = [None] * len(traces)
        if starts is not None:
            begins = [point_of(one, "start", width) for one in starts]
        if len(begins) != len(traces):
            raise ValueError(f"{len(begins)} starts for {len(traces)} lines")
        told = told_variables(variables, (sum(len(one) for one in traces),))
        told_lines = [(by_axis(one), begin) for one, begin in zip(traces, begins)]
        self._session.make_lines(self._place(name), width, told_lines, unit, told)
        return self[name]

    def create_polygons(self, name: str, polygons: Sequence[Polygon], *, unit: str = "m") -> File:
        """Makes a file of polygons. Vertices are in ``unit``.

        >>> square = qrd.Contour("ring", [[0, 0], [1, 0], [1, 1], [0, 1]])
        >>> db["Holes/Drilling"].create_polygons("zones", [qrd.Polygon("zone", [square])]).polygons()[0].name
        'zone'
        """
        told = told_polygons(polygons)
        if name in self:
            raise Refused(f"File {self.study.name}: {self.name}/{name} already exists")
        self._session.new_polygons(self._place(name), told, unit)
        made = self[name]
        # The server leaves out what it can't take.
        if sum(len(one.contours) for one in made.polygons()) < len(told):
            del self[name]
            raise ValueError("a contour crosses itself or another of its polygon")
        return made

    def create_wireframes(self, name: str, wireframes: Sequence[Wireframe], *, unit: str = "m") -> File:
        """Makes a file of wireframes, at least one. Vertices are in ``unit``.

        >>> piece = qrd.Piece([[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2]])
        >>> db["Holes/Drilling"].create_wireframes("ore", [qrd.Wireframe("body", [piece])]).wireframes()[0].name
        'body'
        """
        self._session.new_wireframes(self._place(name), told_wireframes(wireframes), unit)
        return self[name]

    def from_pandas(self, name: str, frame: pandas.DataFrame, *, x: str, y: str, z: str | None = None,
                    units: Mapping[str, str] | None = None, unit: str = "m") -> File:
        """Makes a file of points of a DataFrame: a sample for each row.

        ``x``, ``y``, ``z``: the columns of the coordinates; the others become variables. ``units``: units of columns;
        without it those in ``frame.attrs["units"]``. Needs pandas.

        >>> import pandas
        >>> frame = pandas.DataFrame({"X": [1.0, 2.0], "Y": [3.0, 4.0], "rock": ["slate", None]})
        >>> db["Holes/Drilling"].from_pandas("rocks", frame, x="X", y="Y")["rock"][:]
        array(['slate', ''], dtype=object)
        """
        from ._frames import columns_of

        coordinates, variables = columns_of(frame, x, y, z, units)
        return self.create_points(name, coordinates, variables, unit=unit)

    def __repr__(self) -> str:
        return f"<qrd.Directory {self.study.name}/{self.name}>"
