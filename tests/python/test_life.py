"""Connections, servers, threads, signals and the end of the interpreter."""

import importlib.metadata
import os
import signal
import subprocess
import sys
import textwrap
import threading
import time
from pathlib import Path

import numpy as np
import pytest

import qrd


def servers(parent=None):
    """The processes of servers that this one has started, or another, and that live."""
    found = []
    for status in Path("/proc").glob("[0-9]*/stat"):
        try:
            name, _, rest = status.read_text().partition(" (")[2].rpartition(") ")
        except OSError:
            continue
        state, owner = rest.split()[:2]
        if name.startswith("QRDserver") and int(owner) == (parent or os.getpid()) and state != "Z":
            found.append(int(status.parent.name))
    return found


def wait_for(condition, seconds=10):
    limit = time.monotonic() + seconds
    while not condition() and time.monotonic() < limit:
        time.sleep(0.02)
    assert condition()


@pytest.fixture(autouse=True)
def no_servers_of_tests_before():
    wait_for(lambda: not servers())


@pytest.fixture
def big(directory):
    """A grid whose coordinates, which are computed, take a while to read."""
    return directory.create_grid("big", (2000, 2000), origin=(0, 0), mesh=(1, 1))


def test_installers_know_the_package():
    assert importlib.metadata.version("qrd") == qrd.__version__
    optional = [f"{name} ; extra == 'all'" for name in ("pandas", "matplotlib", "shapely")]
    assert importlib.metadata.requires("qrd") == ["numpy", *optional]


def test_a_broken_connection_is_told_and_opened_again(db):
    cu = db["Holes/Drilling/cores"]["Cu"]
    before = cu[:]
    os.kill(servers()[0], signal.SIGKILL)
    with pytest.raises(qrd.ConnectionLost):
        cu[:]
    assert np.array_equal(cu[:], before, equal_nan=True)
    with pytest.raises(qrd.ConnectionLost):
        qrd.connect("127.0.0.1:1", root="/data")
    with pytest.raises(qrd.Refused):
        qrd.open("/proc")


def test_a_server_ends_with_its_database(root):
    for _ in range(3):
        with qrd.open(root) as db:
            study = db["Holes"]
        assert db.closed
        with pytest.raises(ValueError, match="closed"):
            study.directories()
    wait_for(lambda: not servers())
    db = qrd.open(root)
    del db, study
    wait_for(lambda: not servers())
    # What has ended is no zombie once another server has been started.
    qrd.open(root).close()
    dead = [one for one in Path("/proc").glob("[0-9]*/stat") if f") Z {os.getpid()} " in one.read_text()]
    assert len(dead) <= 1


def test_objects_and_threads_do_not_disturb_each_other(db, root):
    drilling = db["Holes/Drilling"]
    cores, other = drilling["cores"], drilling["cores"]
    depth, again, x = cores["to"], other["to"], drilling["collars"]["x"]
    expected = depth[:], depth.read(unit="m"), depth.read("ore", True), x[:]
    number = db["Archive/Old data/cube"]["number"]
    with cores.selection("ore", compress=True):
        assert len(depth[:]) == 1627 and len(again[:]) == len(other["to"][:]) == 3762 and len(x[:]) == 50
        assert number[-1] == 24
        lengths = []
        threading.Thread(target=lambda: lengths.append(len(depth[:]))).start()
        wait_for(lambda: lengths == [3762])

    wrong = []

    def work(turn):
        reads = [lambda: depth[:], lambda: depth.read(unit="m"), lambda: depth.read("ore", True), lambda: x[:]]
        for k in range(turn, turn + 40):
            if not np.array_equal(reads[k % 4](), expected[k % 4]) or number[5] != 6:
                wrong.append(k)

    threads = [threading.Thread(target=work, args=(turn,)) for turn in range(4)]
    for one in threads:
        one.start()
    for one in threads:
        one.join()
    assert not wrong


def test_python_runs_while_the_wire_works(big):
    server = servers()[0]
    os.kill(server, signal.SIGSTOP)
    reader = threading.Thread(target=lambda: big["x"][:10])
    reader.start()
    time.sleep(0.2)
    assert reader.is_alive()
    os.kill(server, signal.SIGCONT)
    reader.join(10)
    assert not reader.is_alive()


@pytest.mark.parametrize("silent", [False, True])
def test_an_interrupt_gives_up_a_reading(db, big, silent):
    x = big["x"]
    if silent:
        os.kill(servers()[0], signal.SIGSTOP)
    sent = []

    def interrupt():
        sent.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(0.2, interrupt)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        while True:
            x[:]
    assert time.monotonic() - sent[0] < 0.5
    timer.join()
    if silent:
        os.kill(servers()[0], signal.SIGKILL)
    assert x[3] == 0 and len(db.studies()) == 2


def test_a_forked_process_has_a_connection_of_its_own(db):
    cu = db["Holes/Drilling/cores"]["Cu"]
    child = os.fork()
    if child == 0:
        os._exit(0 if len(cu[:]) == 3762 and len(servers(os.getpid())) == 1 else 1)
    assert os.waitpid(child, 0)[1] == 0
    assert len(cu[:]) == 3762 and len(servers()) == 1


@pytest.mark.parametrize("how", ["exit", "interrupt", "thread", "fork"])
def test_a_server_ends_with_the_interpreter(root, how):
    program = textwrap.dedent("""
        import os, sys, threading, time, qrd
        db = qrd.open(sys.argv[1])
        cores = db["Holes/Drilling/cores"]
        def read():
            while True:
                cores["x"][:]
        if sys.argv[2] == "thread":
            threading.Thread(target=read, daemon=True).start()
        print("reading", flush=True)
        sys.stdin.readline()
        if sys.argv[2] == "interrupt":
            read()
        if sys.argv[2] == "fork" and os.fork() == 0:
            os.closerange(0, 3)
            time.sleep(20)
            os._exit(0)
    """)
    with subprocess.Popen([sys.executable, "-c", program, str(root), how], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True) as process:
        assert process.stdout.readline() == "reading\n"
        started = servers(process.pid)
        assert len(started) == 1
        process.stdin.write("\n")
        process.stdin.flush()
        if how == "interrupt":
            time.sleep(0.3)
            process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=10)
    assert errors.endswith("KeyboardInterrupt\n") if how == "interrupt" else process.returncode == 0, errors
    wait_for(lambda: not Path(f"/proc/{started[0]}").exists())
