"""Polygons, wireframes and faults."""

from __future__ import annotations

from collections.abc import Iterable, Iterator, Sequence
from dataclasses import dataclass, field
from typing import Any

import numpy as np

from ._optional import package_for
from ._values import name_of, numbers_of


def _text(value: object, most: int, what: str) -> str:
    name_of(value, what)
    if len(value.encode("utf-8", "surrogateescape")) > most:
        raise ValueError(f"the name of a {what} has at most {most} bytes, not {value!r}")
    return value


def _rows(values: Any, width: int, what: str) -> np.ndarray:
    array = numbers_of(values, what)
    if array.size == 0:
        array = array.reshape(0, width)
    if array.ndim != 2 or array.shape[1] != width:
        raise ValueError(f"{what} have the shape (n, {width}), not {array.shape}")
    if not np.isfinite(array).all():
        raise ValueError(f"{what}: a number is missing or infinite")
    return array


def _only(values: Iterable[Any], kind: type, what: str) -> list[Any]:
    told = list(values)
    for one in told:
        if not isinstance(one, kind):
            raise TypeError(f"{what} are of type qrd.{kind.__name__}, not {type(one).__name__}")
    return told


class Contour:
    """A ring of a polygon: ``name`` of at most 15 bytes, ``vertices`` (n, 2), n at least 3, float64.

    ``z_min`` and ``z_max`` are told by the server; of a new contour it makes them itself.

    >>> import qrd
    >>> qrd.Contour("ring", [[0, 0], [1, 0], [1, 1]])
    <qrd.Contour ring: 3 vertices>
    """

    def __init__(self, name: str, vertices: Any, z_min: float = 0.0, z_max: float = 0.0) -> None:
        self.name = _text(name, 15, "contour")
        self.vertices = _rows(vertices, 2, "vertices")
        if len(self.vertices) < 3:
            raise ValueError(f"a contour has at least 3 vertices, not {len(self.vertices)}")
        self.z_min = z_min
        self.z_max = z_max

    def __repr__(self) -> str:
        return f"<qrd.Contour {self.name}: {len(self.vertices)} vertices>"


class Polygon:
    """A polygon: ``name`` of at most 15 bytes, ``contours``: rings, of which one inside another is a hole.

    >>> import qrd
    >>> qrd.Polygon("zone", [qrd.Contour("ring", [[0, 0], [1, 0], [1, 1]])])
    <qrd.Polygon zone: 1 contours>
    """

    def __init__(self, name: str, contours: Sequence[Contour]) -> None:
        self.name = _text(name, 15, "polygon")
        self.contours = _only(contours, Contour, "contours")

    def to_shapely(self) -> Any:
        """The polygon as a geometry of shapely: what lies inside of an odd number of rings. Needs shapely.

        >>> db["Holes/Drilling/zones"].polygons()[0].to_shapely().area
        1.0
        """
        geometry = package_for("Polygon.to_shapely", "shapely", "geometry").geometry
        shape: Any = geometry.Polygon()
        for contour in self.contours:
            shape = shape.symmetric_difference(geometry.Polygon(contour.vertices))
        return shape

    def __repr__(self) -> str:
        return f"<qrd.Polygon {self.name}: {len(self.contours)} contours>"


def polygons_of(told: list[tuple]) -> list[Polygon]:
    found: dict[str, Polygon] = {}
    for polygon, name, vertices, z_min, z_max in told:
        contour = Contour.__new__(Contour)
        contour.name, contour.vertices, contour.z_min, contour.z_max = name, vertices, z_min, z_max
        key = polygon or name
        if key not in found:
            found[key] = Polygon.__new__(Polygon)
            found[key].name, found[key].contours = key, []
        found[key].contours.append(contour)
    return list(found.values())


def told_polygons(polygons: Sequence[Polygon]) -> list[tuple]:
    told = []
    for polygon in _only(polygons, Polygon, "polygons"):
        told += [(polygon.name, one.name, one.vertices) for one in polygon.contours]
    return told


class Piece:
    """A part of a wireframe: ``vertices`` (n, 3) float64, ``triangles`` (m, 3) int32, indices of vertices from 0.

    >>> import qrd
    >>> qrd.Piece([[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2]])
    <qrd.Piece 3 vertices, 1 triangles>
    """

    def __init__(self, vertices: Any, triangles: Any) -> None:
        self.vertices = _rows(vertices, 3, "vertices")
        corners = np.asarray(triangles)
        if corners.size == 0:
            corners = np.empty((0, 3), np.int32)
        if corners.dtype.kind not in "iu" or corners.ndim != 2 or corners.shape[1] != 3:
            raise ValueError(f"triangles are whole numbers in the shape (m, 3), not {corners.dtype} in {corners.shape}")
        if corners.size > 0 and (corners.min() < 0 or corners.max() >= len(self.vertices)):
            raise ValueError(f"a triangle has a vertex that is none of the {len(self.vertices)}")
        self.triangles = np.ascontiguousarray(corners, np.int32)

    def __repr__(self) -> str:
        return f"<qrd.Piece {len(self.vertices)} vertices, {len(self.triangles)} triangles>"


class Wireframe:
    """A surface or a body: ``name``, ``pieces``, ``colour`` as red, green, blue of 0 to 255.

    >>> import qrd
    >>> qrd.Wireframe("body", [qrd.Piece([[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2]])]).colour
    (0, 145, 0)
    """

    def __init__(self, name: str, pieces: Sequence[Piece], colour: Sequence[int] = (0, 145, 0)) -> None:
        self.name = _text(name, 49, "wireframe")
        self.pieces = _only(pieces, Piece, "pieces")
        numbers = np.asarray(colour)
        if numbers.shape != (3,) or numbers.dtype.kind not in "iu" or numbers.min() < 0 or numbers.max() > 255:
            raise ValueError(f"a colour is three whole numbers of 0 to 255, not {colour!r}")
        self.colour = tuple(int(one) for one in numbers)

    def __repr__(self) -> str:
        return f"<qrd.Wireframe {self.name}: {len(self.pieces)} pieces>"


def wireframes_of(told: list[tuple]) -> list[Wireframe]:
    found = []
    for name, colour, pieces in told:
        one = Wireframe.__new__(Wireframe)
        one.name, one.colour, one.pieces = name, colour, [Piece(*piece) for piece in pieces]
        found.append(one)
    return found


def told_wireframes(wireframes: Sequence[Wireframe]) -> list[tuple]:
    told = []
    for one in _only(wireframes, Wireframe, "wireframes"):
        told.append((one.name, one.colour, [(piece.vertices, piece.triangles) for piece in one.pieces]))
    if not told:
        raise ValueError("a file of wireframes needs one")
    return told


class Fault:
    """A fault of n segments: ``name`` of at most 7 bytes, ``points``, ``attributes`` (n, 3), ``priorities`` (n,) of 1 to 127.

    ``points`` (n, 2, 3): the ends of lines, in 2D with z 0; (n, 3, 3): the corners of triangles. Missing attributes are
    nan. ``is_polyline``: whether the lines of a 2D fault are joined.

    >>> import qrd
    >>> qrd.Fault("F1", [[[0, 0, 0], [1, 1, 0]]]).points.shape
    (1, 2, 3)
    """

    def __init__(self, name: str, points: Any, attributes: Any = None, priorities: Any = None,
                 is_polyline: bool = False) -> None:
        self.name = _text(name, 7, "fault")
        self.points = numbers_of(points, "points")
        if self.points.ndim != 3 or self.points.shape[1] not in (2, 3) or self.points.shape[2] != 3:
            raise ValueError(f"the points of a fault have the shape (n, 2, 3) or (n, 3, 3), not {self.points.shape}")
        if not np.isfinite(self.points).all():
            raise ValueError("points: a number is missing or infinite")
        segments = len(self.points)
        self.attributes = np.full((segments, 3), np.nan) if attributes is None else numbers_of(attributes, "attributes")
        if self.attributes.shape != (segments, 3):
            raise ValueError(f"attributes have the shape ({segments}, 3), not {self.attributes.shape}")
        self.priorities = np.ones(segments, np.int32) if priorities is None else np.asarray(priorities)
        if self.priorities.shape != (segments,) or self.priorities.dtype.kind not in "iu":
            raise ValueError(f"priorities are {segments} whole numbers")
        if segments > 0 and (self.priorities.min() < 1 or self.priorities.max() > 127):
            raise ValueError("priorities are of 1 to 127")
        self.is_polyline = bool(is_polyline)

    def __repr__(self) -> str:
        return f"<qrd.Fault {self.name}: {len(self.points)} segments>"


@dataclass
class Faults:
    """The faults of a file: a sequence of `Fault`. ``is_2d``: of lines, not triangles; ``has_attributes`` of three each.

    >>> db["Holes/Drilling/p"].faults().is_2d
    True
    """

    is_2d: bool
    has_attributes: bool
    _faults: list[Fault] = field(repr=False)

    def __len__(self) -> int:
        return len(self._faults)

    def __iter__(self) -> Iterator[Fault]:
        return iter(self._faults)

    def __getitem__(self, index: int) -> Fault:
        return self._faults[index]


def faults_of(told: tuple[list[tuple], bool, bool]) -> Faults:
    faults, is_2d, has_attributes = told
    corners = 2 if is_2d else 3
    found = []
    for name, is_polyline, points, attributes, priorities in faults:
        one = Fault.__new__(Fault)
        one.name, one.is_polyline, one.attributes = name, is_polyline, attributes
        one.points = points.reshape(-1, 3, 3)[:, :corners]
        one.priorities = priorities[:, 0]
        found.append(one)
    return Faults(is_2d, has_attributes, found)


def told_faults(faults: Iterable[Fault], is_2d: bool) -> tuple[list[tuple], bool, bool]:
    corners = 2 if is_2d else 3
    told = []
    has_attributes = False
    for one in _only(faults, Fault, "faults"):
        if one.points.shape[1] != corners:
            raise ValueError(f"the fault {one.name!r} has the shape {one.points.shape}: in a file of "
                             f"{2 if is_2d else 3} dimensions it is (n, {corners}, 3)")
        points = np.zeros((len(one.points), 3, 3))
        points[:, :corners] = one.points
        priorities = np.ascontiguousarray(one.priorities, np.int32)
        has_attributes = has_attributes or not np.isnan(one.attributes).all()
        told.append((one.name, one.is_polyline, points.reshape(-1), np.ascontiguousarray(one.attributes), priorities))
    return told, is_2d, has_attributes
