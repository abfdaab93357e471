"""A geostatistical database as arrays of numpy.

``qrd.open("root")`` gives a `Database`; ``db["Study"]["Directory"]["file"]["variable"][:]`` is an array. docs/python.md is a
tutorial.
"""

from ._database import Database, Directory, Study, connect, open
from ._errors import ConnectionLost, Error, NotFound, Refused
from ._file import File, Grid, Line, MacroVariable, Variable
from ._native import length_units, library_version
from ._objects import Contour, Fault, Faults, Piece, Polygon, Wireframe
from ._scale import Scale
from ._values import Format, New

__version__ = library_version()

__all__ = [
    "ConnectionLost",
    "Contour",
    "Database",
    "Directory",
    "Error",
    "Fault",
    "Faults",
    "File",
    "Format",
    "Grid",
    "Line",
    "MacroVariable",
    "New",
    "NotFound",
    "Piece",
    "Polygon",
    "Refused",
    "Scale",
    "Study",
    "Variable",
    "Wireframe",
    "connect",
    "length_units",
    "open",
]
