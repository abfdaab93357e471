"""The examples of the documents and of the docstrings, run in their order."""

import doctest
import inspect

import pytest

import qrd
from conftest import SOURCE
from qrd import _database, _errors, _file, _objects, _scale, _values

PARSER = doctest.DocTestParser()


@pytest.fixture
def names(root, monkeypatch):
    monkeypatch.chdir(root.parent)
    names = {"qrd": qrd}
    yield names
    names["db"].close()


def run(texts, names):
    """Runs the examples of texts by their names, each with what those before it have left."""
    runner = doctest.DocTestRunner(optionflags=doctest.NORMALIZE_WHITESPACE | doctest.ELLIPSIS)
    for name, text in texts.items():
        test = PARSER.get_doctest(text, names, name, name, 0)
        assert test.examples, f"{name} has no example"
        test.globs = names
        runner.run(test, clear_globs=False)
    assert runner.summarize().failed == 0


def public_texts(module):
    for name, one in vars(module).items():
        if name not in qrd.__all__ or one.__module__ not in ("qrd", module.__name__):
            continue
        yield name, one.__doc__
        for part, value in vars(one).items() if inspect.isclass(one) else ():
            if not part.startswith("_") and (isinstance(value, property) or getattr(value, "__name__", "") == part):
                yield f"{name}.{part}", value.__doc__


def test_every_public_name_has_an_example_that_holds(names):
    names["db"] = qrd.open("root")
    texts = {}
    for module in (_errors, _values, _database, _scale, _file, _objects):
        texts |= public_texts(module)
    run(texts, names)
    assert set(qrd.__all__) - set(texts) == {"length_units"}


def test_the_tutorial_holds(names):
    run({"docs/python.md": (SOURCE / "docs/python.md").read_text()}, names)
