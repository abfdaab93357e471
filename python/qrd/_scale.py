"""Palettes and colour scales."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any

import numpy as np

from . import _native
from ._values import numbers_of

KINDS = ("automatic", "classes", "manual", "facies")


def palette_of(session: _native.Session, study: str, name: str) -> np.ndarray:
    return session.palette(study, name).astype(np.uint8)


def _colour(value: Sequence[int]) -> tuple[int, int, int]:
    array = np.asarray(value)
    if array.shape != (3,) or array.dtype.kind not in "iu":
        raise ValueError(f"a colour is three whole numbers, not {value!r}")
    return int(array[0]), int(array[1]), int(array[2])


class Scale:
    """A colour scale: which colour a value has.

    ``kind``: "automatic" and "classes" divide the range of the values into ``classes`` equal parts; "manual" has
    ``bounds`` (classes + 1,) and a colour of the palette for each class, ``palette_indices`` (classes,); "facies" has
    ``intervals`` (minimum, maximum, class), both ends included, and ``facies`` (label, colour) for each class.
    ``palette`` names a palette, ``colours`` (n, 3) of uint8 are those of it when the scale was read. ``special``:
    the colours of missing values, of what lies below the classes or in no interval, and above; -1 for none.

    >>> scale = db["Holes"].scale("Copper manual")
    >>> scale.palette, scale.classes, scale.palette_indices
    ('Grades', 5, array([0, 2, 3, 5, 6], dtype=int32))
    """

    def __init__(self, kind: str, palette: str = "None", *, classes: int | None = None, bounds: Any = (),
                 palette_indices: Any = (), intervals: Sequence[tuple[float, float, int]] = (),
                 facies: Sequence[tuple[str, Sequence[int]]] = (), integer_bounds: bool = False,
                 special: Sequence[Sequence[int]] = ((255, 255, 255), (-1, -1, -1), (-1, -1, -1)), modes: Sequence[int] = (2, 0, 2),
                 read_only: bool = False) -> None:
        if kind not in KINDS:
            raise ValueError(f"the kind of a scale is one of {', '.join(KINDS)}, not {kind!r}")
        if not isinstance(palette, str):
            raise TypeError(f"a palette is told by its name, not {palette!r}")
        self.kind = kind
        self.palette = palette
        self.bounds = numbers_of(bounds, "bounds")
        self.palette_indices = np.ascontiguousarray(palette_indices, np.int32)
        self.intervals = [(float(low), float(high), int(place)) for low, high, place in intervals]
        self.facies = [(str(label), _colour(colour)) for label, colour in facies]
        self.integer_bounds = bool(integer_bounds)
        self.special = tuple(_colour(one) for one in special)
        self.modes = _colour(modes)
        self.read_only = bool(read_only)
        self.colours = np.empty((0, 3), np.uint8)
        own = {"manual": len(self.palette_indices), "facies": len(self.facies)}.get(kind)
        self.classes = (2 if own is None else own) if classes is None else int(classes)
        self._check(own)

    def _check(self, own: int | None) -> None:
        if self.classes < 1 or (own is not None and own != self.classes):
            raise ValueError(f"a scale has at least one class, and as many as it tells of: {self.classes}")
        if self.kind == "manual":
            if self.bounds.shape != (self.classes + 1,):
                raise ValueError(f"{self.classes} classes have {self.classes + 1} bounds, not {self.bounds.shape}")
            if not (np.diff(self.bounds) >= 0).all():
                raise ValueError("the bounds of a scale ascend")
        if self.kind == "facies" and not self.intervals:
            raise ValueError("a scale of facies has an interval")
        if any(not 0 <= place < self.classes for _, _, place in self.intervals):
            raise ValueError(f"an interval has a class that is none of the {self.classes}")
        if len(self.special) != 3:
            raise ValueError(f"a scale has three special colours, not {len(self.special)}")

    @classmethod
    def _read(cls, session: _native.Session, study: str, name: str) -> Scale:
        told = session.scale(study, name)
        scale = cls.__new__(cls)
        scale.kind = KINDS[told.pop("kind")]
        scale.special = told.pop("colours")
        for field, value in told.items():
            setattr(scale, field, value)
        has_palette = scale.palette in session.palettes(study)
        scale.colours = palette_of(session, study, scale.palette) if has_palette else np.empty((0, 3), np.uint8)
        return scale

    def _told(self) -> dict[str, Any]:
        fields = ("read_only", "palette", "classes", "modes", "bounds", "palette_indices", "integer_bounds", "intervals",
                  "facies")
        return {"kind": KINDS.index(self.kind), "colours": self.special, **{one: getattr(self, one) for one in fields}}

    @property
    def class_colours(self) -> np.ndarray:
        """The colour of each class, (classes, 3) of uint8. Of a palette without colours a ValueError.

        >>> db["Holes"].scale("Copper manual").class_colours[0]
        array([  0,   0, 128], dtype=uint8)
        """
        if self.kind == "facies":
            return np.array([colour for _, colour in self.facies], np.uint8).reshape(-1, 3)
        if len(self.colours) == 0:
            raise ValueError(f"the palette {self.palette!r} has no colours")
        if self.kind == "manual":
            return self.colours[np.clip(self.palette_indices, 0, len(self.colours) - 1)]
        # The classes are spread over the palette.
        return self.colours[np.arange(self.classes) * len(self.colours) // self.classes]

    def to_matplotlib(self) -> tuple[Any, Any]:
        """A matplotlib Colormap of the classes, and the Norm that puts values into them. Needs matplotlib.

        >>> colours, norm = db["Holes"].scale("Copper manual").to_matplotlib()
        >>> int(norm(0.3)), colours(norm(0.3))[:3] == colours(2)[:3]
        (2, True)
        """
        from ._plot import colours_of

        return colours_of(self)

    def __repr__(self) -> str:
        return f"<qrd.Scale {self.kind}: {self.classes} classes>"
