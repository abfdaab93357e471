"""DataFrames of pandas."""

from __future__ import annotations

from collections.abc import Mapping, Sequence
from typing import Any, TYPE_CHECKING

import numpy as np

from ._optional import package_for
from ._values import New, holds_texts, is_missing

if TYPE_CHECKING:
    import pandas

    from ._file import File


def frame_of(file: File, names: Sequence[str] | None, how: dict[str, Any]) -> pandas.DataFrame:
    pandas = package_for("File.to_pandas", "pandas")
    arrays = file.read(names, **how)
    frame = pandas.DataFrame(arrays)
    begin, end, _ = slice(how.get("start", 0), how.get("stop")).indices(len(file))
    compress = how.get("compress")
    selection = how.get("selection")
    if selection is None:
        selection = file._current.selection
        compress = file._current.compress if compress is None else compress
    if selection and compress:
        # The samples that the selection leaves.
        mask = file[selection].read(selection="", start=begin, stop=end)
        frame.index = pandas.Index(begin + np.flatnonzero(mask), name="sample")
    else:
        frame.index = pandas.RangeIndex(begin, begin + len(frame), name="sample")
    columns = {one.title: one for one in file._session.columns(file._place)} if names is None else {}
    units = {}
    for name in frame.columns:
        column = columns[name] if name in columns else file._session.open(file._place, name)
        asked = how.get("unit", "") if column.is_length else ""
        if asked or column.unit:
            units[name] = asked or column.unit
    frame.attrs["units"] = units
    return frame


def columns_of(frame: pandas.DataFrame, x: str, y: str, z: str | None,
               units: Mapping[str, str] | None) -> tuple[np.ndarray, dict[str, New]]:
    """The coordinates of a frame, and its other columns as new variables."""
    pandas = package_for("Directory.from_pandas", "pandas")
    if not isinstance(frame, pandas.DataFrame):
        raise TypeError(f"a frame is a pandas.DataFrame, not {type(frame).__name__}")
    axes = [x, y] if z is None else [x, y, z]
    for axis in axes:
        if axis not in frame.columns:
            raise ValueError(f"the frame has no column {axis!r}: it has {list(frame.columns)}")
    told = frame.attrs.get("units", {}) if units is None else units
    variables = {}
    for name in frame.columns:
        if name in axes:
            continue
        if not isinstance(name, str):
            raise TypeError(f"the name of a column is a str, not {name!r}")
        values = frame[name].to_numpy()
        if isinstance(frame[name].dtype, pandas.CategoricalDtype) or frame[name].dtype == "string":
            values = frame[name].astype(object).to_numpy()
        if values.dtype.kind == "O" and not holds_texts(values) and any(not is_missing(one) for one in values):
            values = frame[name].to_numpy(dtype=np.float64, na_value=np.nan)
        variables[name] = New(values, unit=told.get(name, ""))
    return frame[axes].to_numpy(dtype=np.float64), variables
