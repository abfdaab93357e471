"""What is written is what is stored, and what is stored is what is read."""

import os
import struct

import numpy as np
import pytest

import qrd

NAN = float("nan")
CM = dict(unit="cm")


def stored(root, name):
    """The bytes of the one variable that has the name, without what is filled in behind 512 samples."""
    folders = [one.parent for one in root.rglob("VARI.*/DESCR") if name.encode() in one.read_bytes()]
    assert len(folders) == 1, folders
    return (folders[0] / "DATAVAR").read_bytes()


def same(one, other):
    return np.array_equal(one, other, equal_nan=True)


@pytest.mark.parametrize("bits, values, image", [
    (1, [True, False, True, True], "4f"),
    (2, [0, NAN, 2, 1], "39"),
    (4, [14, NAN, 0], "ef0f"),
    (8, [254, NAN, 7], "feff07"),
    (16, [65534, NAN, 258], "fffeffff0102"),
    (32, [1.5, NAN, -3e29], "3fc00000" "7eb9bf36" + struct.pack(">f", -3e29).hex()),
    (64, [0.1, NAN, -1e-300], struct.pack(">d", 0.1).hex() + "7fe5f98e6bda7fbc" + struct.pack(">d", -1e-300).hex()),
])
def test_numbers_of_every_width(root, directory, bits, values, image):
    name = f"of {bits} bits"
    made = directory.create_points("f", np.arange(2 * len(values)).reshape(-1, 2), {name: qrd.New(values, bits=bits)})
    expected = np.array(values, bool if bits == 1 else np.float32 if bits == 32 else float)
    assert stored(root, name).hex().startswith(image)
    assert same(made[name][:], expected) and made[name].bits == bits
    # Backwards, a part at a time, and by what is made later.
    later = made.create_variable("later", bits=bits)
    missing = np.zeros(len(values), bool) if bits == 1 else np.full(len(values), NAN)
    assert same(later[:], missing) and later.dtype == expected.dtype or bits == 32
    for k in range(len(values)):
        later[k] = values[k]
    assert stored(root, "later").hex().startswith(image)
    later[1:] = values[1]
    assert same(later[1:], np.full(len(values) - 1, expected[1]))


def test_texts_and_lengths(root, directory):
    made = directory.create_points("f", [[1, 2], [3, 4], [5, 6]], {
        "rocks": ["kalk", None, "\udce9t\N{LATIN SMALL LETTER E WITH ACUTE}"], "in feet": qrd.New([1, NAN, 3], unit="ft")}, **CM)
    assert stored(root, "rocks")[:12] == b"kalk" b"    " b"\xe9t\xc3\xa9"
    assert list(made["rocks"][:]) == ["kalk", "", "\udce9t\u00e9"] and made["rocks"].characters == 4
    assert stored(root, "in feet")[:24] == struct.pack(">ddd", 30.48, 1.2345e308, 3 * 30.48)
    assert made["in feet"].unit == "ft" and same(made["in feet"].read(unit="cm"), [30.48, NAN, 3 * 30.48])
    made["in feet"].write([2.0], unit="m", start=-1)
    assert made["in feet"].read(unit="m", start=2)[0] == pytest.approx(2) and made["x"].unit == "cm"
    # Two objects of one variable, each with its own unit, and the units of the next call.
    assert same(made.coordinates(), [[1, 2], [3, 4], [5, 6]])


def test_points_lines_cores_and_grids(directory):
    xyz = np.array([[1.0, 2, 3], [4, 5, 6]])
    points = directory.create_points("points", xyz, {"a": [1, 2]}, unit="ft")
    points.append(xyz + 10, {"a": np.array([3, NAN], np.float32)})
    assert np.allclose(points.coordinates(), np.concatenate([xyz, xyz + 10])) and same(points["a"][:], [1, 2, 3, NAN])
    assert (points.kind, points.shape, points["z"].unit) == ("points", (4,), "ft")
    assert points.create_variable("single", np.ones(4, np.float32)).bits == 32 and points["a"].bits == 64

    lines = directory.create_lines("lines", [xyz[:, :2], xyz[:1, :2]], variables={"a": [1, 2, 3]}, **CM)
    lines.append([[7, 8], [9, 10]])
    assert [(one.first, one.last) for one in lines.lines()] == [(0, 2), (2, 3), (3, 5)]
    assert same(lines.lines()[2].trace, [[7, 8], [9, 10]]) and same(lines["a"][:], [1, 2, 3, NAN, NAN])

    cores = directory.create_lines("cores", [xyz], starts=[[1, 2, 0]], variables={"c": ["x", "y"]}, **CM)
    cores.append([[0, 0, -8]], {"c": ["zz"[:1]]}, start=[0, 0, 0])
    assert cores.kind == "core lines" and list(cores["c"][:]) == ["x", "y", "z"]
    assert same(cores["ZB+ Begin of Sample"][:], [0, 3, 0]) and same(cores["ZE+ End of Sample"][:], [3, 6, -8])

    shape = (3, 2, 4)
    values = np.arange(24.0).reshape(shape)
    grid = directory.create_grid("grid", shape, origin=(1, 2, 3), mesh=(10, 20, 30), angles=(90, 0, 0),
                                 variables={"v": values, "w": values.T.ravel()})
    assert same(grid["v"].grid(), values) and same(grid["w"].grid(), values) and grid.shape == shape
    assert grid.geometry == qrd.Grid((4, 2, 3), (1, 2, 3), (10, 20, 30), (90, 0, 0))
    # Turned by a right angle, X goes north.
    assert np.allclose(grid["y"].grid()[0, 0], 2 + 10 * np.arange(4)) and np.allclose(grid["z"].grid()[:, 0, 0], [3, 33, 63])
    grid["v"].write(values + 1)
    assert grid["v"][:][1] == values[1, 0, 0] + 1


def test_empty_files(directory):
    made = directory.create_lines("l", [], dimension=2, variables={"a": [], "t": qrd.New([], characters=3)})
    assert made["a"][:].shape == made["a"][3:].shape == (0,) and made["a"][:].dtype == float
    assert made.coordinates().shape == (0, 2) and made.lines() == [] and len(made) == 0 and list(made["t"][:]) == []
    made["a"][:] = []
    with pytest.raises(IndexError):
        made["a"][0]
    assert len(made.to_pandas()) == 0 and made.plot("a").get_title() == "l"
    with pytest.raises(qrd.Refused):
        directory.create_points("p", np.empty((0, 3)))


def test_indices_are_those_of_numpy(db, directory):
    cores = db["Holes/Drilling/cores"]
    cu, ore = cores["Cu"], cores["ore"]
    whole = cu[:]
    for index in (5, -7, slice(-4, None), slice(None, 9, 2), slice(20, 3, -3), slice(9, 9), slice(5000, None), [3, -1, 3],
                  whole > 2, np.array([], int), Ellipsis):
        assert same(cu[index], whole[index]), index
    assert same(np.asarray(cu), whole) and isinstance(cu[0:1], np.ndarray) and not cu[:].flags.owndata
    with cores.selection("ore"):
        assert same(cu[:], np.where(ore.read(selection=""), whole, NAN)) and same(cu.read(selection=""), whole)
    assert same(cu.read("ore", True), whole[ore[:]])
    cu.write(np.arange(1627), "ore", True)
    assert same(cu[:][~ore[:]], whole[~ore[:]]) and same(cu.read("ore", True), np.arange(1627))
    cu[:] = 7
    assert (cu[:] == 7).all()

    made = directory.create_points("p", [[1, 2], [3, 4]], {"sim[7]": [7, 70], "sim[2]": [2, 20], "by{low}": [1, 2]})
    sim = made["sim[xxxxx]"]
    assert same(sim[:], [[2, 7], [20, 70]]) and same(sim[1], [20, 70]) and same(sim[:, -1], [7, 70]) and sim[1, 0] == 20
    made.create_variable("few[1]", [1, 2], bits=8), made.create_variable("few[2]", [3, 4], bits=8)
    for wrong in ([[9, 300], [9, 9]], np.array([[9, "x"], [9, "x"]], object)):
        with pytest.raises((ValueError, TypeError)):
            made["few[xxxxx]"][:] = wrong
    assert same(made["few[xxxxx]"][:], [[1, 3], [2, 4]])
    sim[:, 0] = [5, NAN]
    sim[1] = [8, 9]
    assert same(made.read(["sim[xxxxx]"])["sim[2]"], [5, 8]) and made["by[xxxxx]"].indices == ["low"]


def test_ten_million_samples_take_little_more_than_their_array(directory):
    values = np.arange(10_000_000) % 255.0
    grid = directory.create_grid("big", (2500, 4000), origin=(0, 0), mesh=(1, 1), variables={"v": qrd.New(values, bits=8)})

    def peak(act):
        with open("/proc/self/clear_refs", "w") as refs:
            refs.write("5")
        before = memory("VmRSS")
        result = act()
        return result, memory("VmHWM") - before

    def memory(field):
        with open("/proc/self/status") as status:
            return int(next(line for line in status if line.startswith(field)).split()[1]) * 1024

    read, taken = peak(lambda: grid["v"][:])
    assert same(read, np.where(values == 255, NAN, values)) and taken < read.nbytes + (8 << 20)
    _, taken = peak(lambda: grid["v"].write(read))
    assert taken < 8 << 20 and grid["v"][-1] == values[-1]


def test_polygons_wireframes_and_faults(directory):
    ring, hole = [[0, 0], [10, 0], [10, 10], [0, 10]], [[2, 2], [4, 2], [4, 4]]
    given = [qrd.Polygon("A", [qrd.Contour("outer", ring), qrd.Contour("inner", hole)]), qrd.Polygon("B", [
        qrd.Contour("other", np.add(ring, 20))])]
    made = directory.create_polygons("zones", given, **CM).polygons()
    assert [[(one.name, one.vertices.tolist()) for one in polygon.contours] for polygon in made] == [
        [("outer", ring), ("inner", hole)], [("other", np.add(ring, 20).tolist())]]
    with pytest.raises(ValueError, match="crosses"):
        directory.create_polygons("bad", given + [qrd.Polygon("C", [qrd.Contour("c", [[0, 0], [1, 1], [1, 0], [0, 1]])])])
    assert "bad" not in directory

    pieces = [qrd.Piece([[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1]], [[0, 1, 2], [0, 1, 3]]),
              qrd.Piece([[5, 5, 5], [6, 5, 5], [5, 6, 5]], [[2, 1, 0]])]
    found = directory.create_wireframes("ore", [qrd.Wireframe("body", pieces, (1, 2, 255))]).wireframes()[0]
    assert (found.name, found.colour) == ("body", (1, 2, 255))
    for one, other in zip(found.pieces, pieces):
        assert same(one.vertices, other.vertices) and same(one.triangles, other.triangles)

    for width, corners in ((2, 2), (3, 3)):
        file = directory.create_points(f"faulted {width}", np.ones((1, width)), **CM)
        points = np.arange(2 * corners * 3.0).reshape(2, corners, 3) * (1, 1, width == 3)
        attributes = [[1, NAN, 3], [NAN, NAN, 0.5]]
        file.write_faults([qrd.Fault("F1", points, attributes, [3, 2]), qrd.Fault("F2", points[:1])])
        first, second = file.faults()
        assert (first.name, second.name, list(first.priorities)) == ("F1", "F2", [3, 2])
        assert file.faults().has_attributes and same(first.points, points) and same(first.attributes, attributes)
        assert len(file.faults(1)) == 1


def test_palettes_and_scales(db):
    study = db["Holes"]
    study.write_palette("p", np.array([[0, 1, 2], [255, 254, 253]]))
    assert same(study.palettes()["p"], [[0, 1, 2], [255, 254, 253]])
    facies = [("low", (9, 8, 7)), ("high", (1, 2, 3))]
    given = {
        "automatic": qrd.Scale("automatic", "p", classes=4),
        "manual": qrd.Scale("manual", "p", bounds=[0, 1, 5, 9], palette_indices=[1, 0, 1], special=[(1, 1, 1), (2, 2, 2), (3, 3, 3)]),
        "facies": qrd.Scale("facies", intervals=[(1, 2, 0), (4, 4, 1), (6, 7, 0)], facies=facies),
    }
    for name, scale in given.items():
        study.write_scale(name, scale)
        found = study.scale(name)
        assert {k: v for k, v in found._told().items() if k not in ("bounds", "palette_indices", "colours")} == {
            k: v for k, v in scale._told().items() if k not in ("bounds", "palette_indices", "colours")}
        assert same(found.bounds, scale.bounds) and same(found.palette_indices, scale.palette_indices)
    colours, norm = study.scale("manual").to_matplotlib()
    shown = (colours(norm(np.ma.masked_invalid([NAN, -1, 0, 1, 4.9, 8, 10])))[:, :3] * 255).round()
    assert same(shown, [[1] * 3, [2] * 3, [255, 254, 253], [0, 1, 2], [0, 1, 2], [255, 254, 253], [3] * 3])
    colours, norm = study.scale("facies").to_matplotlib()
    assert list(norm([1, 1.5, 2, 3, 4, 6.5])) == [0, 0, 0, 2, 1, 0] and norm(np.array([NAN])).mask.all()
    assert same((colours(norm([1.5, 4]))[:, :3] * 255).round(), [(9, 8, 7), (1, 2, 3)])
    assert same(study.scale("automatic").class_colours[:, 0], [0, 0, 255, 255])


def test_pandas_and_pictures(db, directory, monkeypatch):
    cores, cube = db["Holes/Drilling/cores"], db["Archive/Old data/cube"]
    with cores.selection("ore", compress=True):
        frame = cores.to_pandas(["hole", "from"], start=100, stop=200, unit="m")
    assert list(frame.index) == list(100 + np.flatnonzero(cores["ore"][100:200])) and frame.attrs["units"] == {"from": "m"}
    frame["good"], frame["n"] = frame["from"] > 300, range(len(frame))
    frame["kind"] = frame["hole"].astype("category")
    made = directory.from_pandas("f", frame, x="from", y="n", units={"n": "%"})
    assert made["good"].dtype == bool and list(made["kind"][:]) == list(frame["hole"]) and made["y"][2] == 2

    bar = cube.plot("number", level=2).figure.axes[1]
    assert bar.get_ylabel() == "number"
    drawn = cube.plot("number", level=-1).collections[0].get_array()
    assert list(np.ravel(drawn)) == [4, 16, 8, 20, 12, 24]
    axes = cores.plot("Cu class", scale="Zones")
    assert [text.get_text() for text in axes.get_legend().get_texts()] == ["Barren", "Low", "Ore"]
    assert len(cores.plot().collections[0].get_segments()) == 3762
    assert len(db["Holes/Drilling/domains"].plot().patches) == 3
    polygon = db["Holes/Drilling/domains"].polygons()[0]
    for module, act in (("pandas", cores.to_pandas), ("matplotlib.collections", cores.plot), ("shapely.geometry", polygon.to_shapely)):
        monkeypatch.setitem(__import__("sys").modules, module, None)
        with pytest.raises(ImportError, match=f"needs {module.split('.')[0]}"):
            act()


def test_wrong_arguments_change_nothing(db, directory, root):
    points = directory.create_points("p", [[1, 2], [3, 4]], {"a": [1, 2], "b": qrd.New([1, 2], bits=4), "t": ["ab", "c"],
                                                             "s": [True, False]})
    a, b, t, s = (points[name] for name in "abts")
    rows = [[5, 6]]
    wrong = [
        (ValueError, lambda: b.write([1, 15])), (ValueError, lambda: b.write([0.5, 1])), (ValueError, lambda: a.write([1])),
        (TypeError, lambda: a.write(["x", "y"])), (TypeError, lambda: a.write("xy")), (ValueError, lambda: a.write([[1], [2]])),
        (ValueError, lambda: t.write(["abc", ""])), (TypeError, lambda: t.write([1, 2])), (ValueError, lambda: s.write([2, 0])),
        (TypeError, lambda: points["SN+ Sample Number (READONLY)"].write([1, 2])), (ValueError, lambda: a.read(unit="feet")),
        (qrd.NotFound, lambda: a.read(selection="none")), (IndexError, lambda: a[2]), (TypeError, lambda: a["x"]),
        (TypeError, lambda: a[0.5]), (ValueError, lambda: a.__setitem__(slice(0, 2, 2), 1)), (IndexError, lambda: a.__setitem__(2, 1)),
        (ValueError, lambda: points.append(rows, {"a": [1, 2]})), (ValueError, lambda: points.append(rows, {"b": [99]})),
        (ValueError, lambda: points.append([[1, 2, 3]])), (ValueError, lambda: points.append([[1, NAN]])),
        (qrd.NotFound, lambda: points.append(rows, {"c": [1]})), (ValueError, lambda: points.append(rows, start=[0, 0])),
        (ValueError, lambda: points.create_variable("c", [1])), (ValueError, lambda: points.create_variable("c", [1, 99], bits=4)),
        (ValueError, lambda: points.create_variable("c", bits=3)), (ValueError, lambda: points.create_variable("c", unit="feet")),
        (ValueError, lambda: points.create_variable("c[", [1, 2])), (qrd.Refused, lambda: points.create_variable("a", [1, 2])),
        (ValueError, lambda: points.create_text("c", ["ab", "c"], characters=1)), (TypeError, lambda: points.create_text("c", [1, 2])),
        (ValueError, lambda: points.create_selection("c", [1, 3])), (TypeError, lambda: points[3]), (TypeError, lambda: points.geometry),
        (qrd.Refused, lambda: directory.create_points("p", rows)), (ValueError, lambda: directory.create_points("q", [1, 2])),
        (ValueError, lambda: directory.create_points("q", rows, {"a": [1, 2]})), (ValueError, lambda: directory.create_points("q", rows, {"b": qrd.New([77], bits=4)})),
        (ValueError, lambda: directory.create_points("q", rows, unit="feet")), (TypeError, lambda: directory.create_points(3, rows)),
        (ValueError, lambda: directory.create_points("None", rows)), (ValueError, lambda: directory.create_points("q" * 50, rows)),
        (ValueError, lambda: directory.create_grid("q", (2,), origin=(0, 0), mesh=(1, 1))),
        (ValueError, lambda: directory.create_grid("q", (2, 2), origin=(0, 0, 0), mesh=(1, 1))),
        (ValueError, lambda: directory.create_lines("q", [])), (ValueError, lambda: directory.create_lines("q", [rows], starts=[])),
        (ValueError, lambda: directory.create_wireframes("q", [])), (TypeError, lambda: directory.create_polygons("q", ["x"])),
        (qrd.Refused, lambda: directory.create_wireframes("p", [qrd.Wireframe("w", [qrd.Piece(np.eye(3), [[0, 1, 2]])])])),
        (ValueError, lambda: qrd.Piece(np.eye(3), [[0, 1, 3]])), (ValueError, lambda: qrd.Contour("x" * 16, np.eye(3)[:, :2])),
        (ValueError, lambda: qrd.Scale("manual", "p", bounds=[1, 0], palette_indices=[1])), (ValueError, lambda: qrd.open("")),
        (ValueError, lambda: qrd.open(root, timeout=-1)), (TypeError, lambda: qrd.connect(5500, root="/")), (KeyError, lambda: db["holes"]),
        (ValueError, lambda: db["Holes"].write_palette("q", [[0, 0, 256]])), (qrd.NotFound, lambda: db["Holes"].scale("q")),
    ]
    before = {name: points[name][:].tolist() for name in points}
    for number, (error, act) in enumerate(wrong):
        with pytest.raises(error):
            act()
            print(number)
        assert directory.files() == ["p"], number
    assert {name: points[name][:].tolist() for name in points} == before
    with pytest.raises(KeyError) as caught:
        db["Holes/Drilling"]["collar"]
    assert caught.value.near == ["collars"] and str(caught.value).startswith("Not a valid")
