"""Packages that only some methods need."""

from __future__ import annotations

import importlib
from typing import Any


def package_for(what: str, name: str, *parts: str) -> Any:
    """The package of that name, with these parts of it. ``what`` is the method that needs it."""
    try:
        package = importlib.import_module(name)
        for part in parts:
            importlib.import_module(f"{name}.{part}")
    except ImportError as problem:
        raise ImportError(f"{what} needs {name}, which is not installed") from problem
    return package
