"""Fixtures of the run store's reliability tests: the tool, results files written on the spot, and
a fresh store per test on each back end (PostgreSQL when CNCPROBE_TEST_POSTGRES is set and libpq's
PG* variables name a scratch server, as ./dev test arranges with pg_virtualenv)."""

import os
import pathlib
import subprocess
import uuid

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BRACKET = ROOT / "examples" / "bracket_mm.txt"


@pytest.fixture(scope="session")
def tool():
    path = os.environ.get("CNCPROBE_TOOL") or str(ROOT / "build" / "release" / "tools" / "cncprobe")
    if not os.access(path, os.X_OK):
        pytest.fail(f"the cncprobe tool is needed ({path}); set CNCPROBE_TOOL")
    return os.path.abspath(path)


def run_tool(tool, *args, **kwargs):
    return subprocess.run([tool, *map(os.fsencode, args)], capture_output=True, check=False,
                          **kwargs)


def big_file(path, points):
    """A results file of one program with `points` measured inspection points, 100 a path."""
    lines = ["*** CLDATAFILENAME C:\\jobs\\big_op10.cl ***", "START 'BIG'"]
    n = 10
    for i in range(points):
        if i % 100 == 0:
            lines += [f"TOOLPATHID {i // 100 + 1}", f"G331 N{n} A0 B0 C0 X0 Y0 Z0",
                      f"G330 N{n + 1} A0 B0 C0 X0 Y0 Z0 I0 R0"]
            n += 2
        x = i % 1000
        y = i // 1000
        lines.append(f"G800 N{n} X{x}.000 Y{y}.000 Z0.000 I0 J0 K1 O0 U0.050 L-0.050")
        lines.append(f"G801 N{n + 1} X{x}.000 Y{y}.000 Z0.00{i % 7} R2.500")
        n += 2
    lines.append("END 'BIG'")
    pathlib.Path(path).write_text("\n".join(lines) + "\n")


def small_file(path, number, feature_name="DOWEL HOLE", cl="C:\\jobs\\small_op20.cl"):
    """A small run of one feature, the dowel hole out of position; `number` makes it unique."""
    pathlib.Path(path).write_bytes(
        (f"*** CLDATAFILENAME {cl} ***\n( RUN {number} )\nSTART 'SMALL'\nTOOLPATHID 3\n"
         "G331 N40 A0 B0 C0 X0 Y0 Z0\nG330 N41 A0 B0 C0 X0 Y0 Z0 I0 R0\n").encode()
        + b"FEATURE NO 2 FEATURE NAME " + os.fsencode(feature_name) + b"\n"
        + b"SIZE D 8.000 ACTUAL 8.003 TOL 0.015 DEV 0.003\n"
        b"POSN X 140.000 ACTUAL 140.062 TOL TP 0.050 DEV 0.062\n"
        b"POSN Y 85.000 ACTUAL 85.021 TOL TP 0.050 DEV 0.021\nEND 'SMALL'\n")


POSTGRES = bool(os.environ.get("CNCPROBE_TEST_POSTGRES"))


@pytest.fixture(params=["sqlite", "postgresql"])
def store_url(request, tmp_path):
    """A URL of an empty store of its own: a SQLite file, or a new PostgreSQL database."""
    if request.param == "sqlite":
        yield str(tmp_path / "runs.sqlite")
        return
    if not POSTGRES:
        pytest.skip("PostgreSQL: set CNCPROBE_TEST_POSTGRES under pg_virtualenv (./dev test does)")
    import psycopg2

    name = "runs_" + uuid.uuid4().hex[:12]
    admin = psycopg2.connect("")
    admin.autocommit = True
    admin.cursor().execute(f"CREATE DATABASE {name}")
    yield f"postgresql:///{name}"
    admin.cursor().execute(f"DROP DATABASE {name} WITH (FORCE)")
    admin.close()


def count(url, sql):
    """One number from the store, read outside the tool."""
    if url.startswith("postgresql"):
        import psycopg2

        with psycopg2.connect(url) as connection:
            cursor = connection.cursor()
            cursor.execute(sql)
            return cursor.fetchone()[0]
    import sqlite3

    connection = sqlite3.connect(url)
    try:
        return connection.execute(sql).fetchone()[0]
    finally:
        connection.close()
