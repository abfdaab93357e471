"""What the package raises beside ValueError, TypeError, IndexError and ImportError."""

from __future__ import annotations


class Error(Exception):
    """Base of the errors that come from a server or from the way to it.

    >>> import qrd
    >>> issubclass(qrd.Refused, qrd.Error) and issubclass(qrd.ConnectionLost, qrd.Error)
    True
    """

    __str__ = Exception.__str__


class Refused(Error):
    """The server refused a request; ``str()`` is its text. Nothing has changed, and the connection goes on.

    >>> import qrd
    >>> try:
    ...     qrd.open("/nowhere")
    ... except qrd.Refused as problem:
    ...     print("refused")
    refused
    """


class NotFound(Refused, KeyError):
    """Nothing has that name. Also a KeyError.

    Attributes: ``name``, what was asked for, and ``near``, a list of at most three names that are near it.

    >>> raise qrd.NotFound("Not a valid file: core", "core", ["cores"])
    Traceback (most recent call last):
    qrd.NotFound: Not a valid file: core
    """

    def __init__(self, text: str, name: str = "", near: list[str] | None = None) -> None:
        super().__init__(text)
        self.name = name
        self.near = near or []

    __str__ = Exception.__str__


class ConnectionLost(Error):
    """There is no connection, it broke, or the server was silent for too long.

    The next use of the database opens a new one.

    >>> import qrd
    >>> try:
    ...     qrd.connect("127.0.0.1:1", root="/data")
    ... except qrd.ConnectionLost as problem:
    ...     print(problem)
    cannot connect to 127.0.0.1:1: Connection refused
    """


for _type in (Error, Refused, NotFound, ConnectionLost):
    _type.__module__ = "qrd"
