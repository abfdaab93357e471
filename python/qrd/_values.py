"""Arguments of all kinds as what the extension module takes: arrays of doubles, lists of texts, points."""

from __future__ import annotations

from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass
from typing import Any

import numpy as np

BITS = (1, 2, 4, 8, 16, 32, 64)
STYLES = ("decimal", "integer", "exponent", "free", "shifted")


def name_of(value: object, what: str) -> str:
    """The value if it is a name."""
    if not isinstance(value, str):
        raise TypeError(f"the name of a {what} is a str, not {type(value).__name__}: {value!r}")
    if not value:
        raise ValueError(f"the name of a {what} is empty")
    return value


def is_missing(value: object) -> bool:
    return value is None or (isinstance(value, float) and value != value) or type(value).__name__ in ("NAType", "NaTType")


def texts_of(values: Iterable[object]) -> list[str]:
    """Texts, with "" for None and nan."""
    texts: list[str] = []
    for value in values:
        if isinstance(value, str):
            texts.append(str(value))
        elif is_missing(value):
            texts.append("")
        else:
            raise TypeError(f"a text is a str or None, not {type(value).__name__}: {value!r}")
    return texts


def holds_texts(array: np.ndarray) -> bool:
    """Whether the values are texts. Those of an object array are if one is and the others are missing."""
    if array.dtype.kind == "U":
        return True
    return array.dtype.kind == "O" and any(isinstance(value, str) for value in array.flat)


def numbers_of(values: Any, what: str = "values") -> np.ndarray:
    """Doubles in a row, with nan for None. Nothing is copied that is such an array already."""
    array = np.asarray(values)
    if array.dtype.kind == "O" and not holds_texts(array):
        array = np.array([np.nan if is_missing(value) else value for value in array.flat], object).reshape(array.shape)
    if array.dtype.kind not in "biufO" or holds_texts(array):
        raise TypeError(f"{what} are numbers, not {array.dtype}")
    try:
        return np.ascontiguousarray(array, dtype=np.float64)
    except (TypeError, ValueError) as problem:
        raise TypeError(f"{what} are numbers: {problem}") from None


def flat_of(values: Any, shape: tuple[int, ...]) -> Any:
    """Values in the order of the samples, of an array in the shape of a grid (z, y, x) too."""
    array = np.asarray(values)
    if array.ndim < 2:
        return values
    if array.shape != shape:
        raise ValueError(f"values have one dimension, or the shape {shape}, not {array.shape}")
    return array.T.reshape(-1)


def coordinates_of(values: Any) -> np.ndarray:
    """Coordinates (n, 2) or (n, 3), finite."""
    array = numbers_of(values, "coordinates")
    if array.ndim != 2 or array.shape[1] not in (2, 3):
        raise ValueError(f"coordinates have the shape (n, 2) or (n, 3), not {array.shape}")
    if not np.isfinite(array).all():
        raise ValueError("a coordinate is missing or infinite")
    return array


def by_axis(array: np.ndarray) -> np.ndarray:
    """All X, then all Y, then all Z."""
    return np.ascontiguousarray(array.T).reshape(-1)


def point_of(values: Sequence[float], what: str, dimension: int, rest: float = 0.0) -> tuple[float, float, float]:
    array = numbers_of(values, what)
    if array.shape != (dimension,):
        raise ValueError(f"{what}: {dimension} numbers, not {array.shape}")
    if not np.isfinite(array).all():
        raise ValueError(f"{what}: a number is missing or infinite")
    filled = [float(number) for number in array] + [rest] * (3 - dimension)
    return filled[0], filled[1], filled[2]


@dataclass(frozen=True)
class Format:
    """How programs should print the numbers of a variable. The server keeps it for them and does not tell it again.

    ``style``: "decimal", "integer", "exponent", "free" or "shifted"; ``width`` and ``digits`` count characters.

    >>> import qrd
    >>> qrd.Format("exponent", 12, 3)
    Format(style='exponent', width=12, digits=3)
    """

    style: str = "decimal"
    width: int = 10
    digits: int = 2

    def __post_init__(self) -> None:
        if self.style not in STYLES:
            raise ValueError(f"a style is one of {', '.join(STYLES)}, not {self.style!r}")


@dataclass(frozen=True)
class New:
    """A variable to be made with a new file, where its values alone don't say enough.

    ``values``: n numbers with nan where missing, booleans, or texts. ``bits``: 1, 2, 4, 8, 16, 32 or 64; without them
    booleans get 1, float32 gets 32 and other numbers 64. ``characters``: the width of a text; without it that of the
    longest one. ``unit``: the symbol of a length unit such as "m", or another text such as "%".

    >>> import qrd
    >>> qrd.New([0.1, 0.2], bits=32, unit="%").unit
    '%'
    """

    values: Any
    bits: int | None = None
    unit: str = ""
    comment: str = ""
    format: Format | None = None
    characters: int | None = None


def told_variable(name: str, new: New, shape: tuple[int, ...]) -> tuple:
    """A new variable for the extension module."""
    name_of(name, "variable")
    if not isinstance(new.unit, str) or not isinstance(new.comment, str):
        raise TypeError("a unit and a comment are of type str")
    form = new.format or Format()
    told_format = (STYLES.index(form.style), form.width, form.digits)
    values = None if new.values is None else flat_of(new.values, shape)
    if values is None and new.bits == 2:
        # What the server fills two bits with isn't missing.
        values = np.full(int(np.prod(shape)), np.nan)
    array = None if values is None else np.asarray(values)
    if new.characters is not None or (array is not None and holds_texts(array)):
        if new.bits is not None:
            raise ValueError(f"the variable {name!r} holds texts, which have characters and not bits")
        texts = None if array is None else texts_of(array)
        width = new.characters
        if width is None:
            width = max([1] + [len(one.encode("utf-8", "surrogateescape")) for one in texts or []])
        elif not isinstance(width, (int, np.integer)) or width < 1:
            raise ValueError(f"the characters of the variable {name!r} are a number from 1, not {width!r}")
        return (name, 64, int(width), new.unit, new.comment, told_format, texts)
    bits = new.bits
    if bits is None:
        bits = 64 if array is None else {"bool": 1, "float32": 32}.get(array.dtype.name, 64)
    if bits not in BITS:
        raise ValueError(f"the bits of the variable {name!r} are one of {BITS}, not {bits!r}")
    numbers = None if array is None else numbers_of(array, f"the values of {name!r}")
    if numbers is not None and numbers.ndim != 1:
        raise ValueError(f"the values of {name!r} have one dimension, not {numbers.ndim}")
    return (name, int(bits), 0, new.unit, new.comment, told_format, numbers)


def told_variables(variables: Mapping[str, Any] | None, shape: tuple[int, ...]) -> list[tuple]:
    """New variables for the extension module; each has as many values as the shape has samples."""
    told = []
    for name, values in (variables or {}).items():
        new = values if isinstance(values, New) else New(values)
        one = told_variable(name, new, shape)
        samples = int(np.prod(shape))
        if one[-1] is not None and len(one[-1]) != samples:
            raise ValueError(f"{len(one[-1])} values of {name!r} for {samples} samples")
        told.append(one)
    return told
