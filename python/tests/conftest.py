"""Shared fixtures: the repository's sample files, the cncprobe tool, and results files written
on the spot."""

import json
import os
import pathlib
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def sample_files():
    """Every results file of tests/data and examples (the XML settings files are not results)."""
    files = sorted((ROOT / "tests" / "data").rglob("*")) + sorted((ROOT / "examples").glob("*"))
    return [f for f in files if f.is_file() and f.suffix in (".res", ".txt")]


@pytest.fixture(scope="session")
def tool():
    """Runs the cncprobe tool and returns its JSON document."""
    path = os.environ.get("CNCPROBE_TOOL") or str(ROOT / "build" / "release" / "tools" / "cncprobe")
    if not os.access(path, os.X_OK):
        pytest.fail(f"the cncprobe tool is needed to compare with ({path}); set CNCPROBE_TOOL")

    def run(*args):
        done = subprocess.run([path, *map(str, args), "--format", "json"], capture_output=True,
                              check=False)
        assert done.returncode in (0, 1), done.stderr
        return json.loads(done.stdout)

    return run


def results_file(points, toolpath=1, feature_name=b"BORE", results_name=b"RUN.TXT", end=True):
    """The bytes of a small results file: one probe path of `points` measured points and a
    circle report named `feature_name`."""
    lines = [b"START 'GENERATED'", b"RESULTSFILE " + results_name, b"TOOLPATHID %d" % toolpath]
    for i in range(points):
        x = 10.0 + i
        lines.append(b"G800 N%d X%.3f Y0 Z0 I0 J0 K1 O0 U0.05 L-0.05" % (2 * i + 1, x))
        lines.append(b"G801 N%d X%.3f Y0 Z%.3f R2.5" % (2 * i + 2, x, 0.001 * (i % 7 - 3)))
    lines += [b"TOOLPATHID %d" % (toolpath + 1), b"-" * 32,
              b"FEATURE NO 4 FEATURE NAME " + feature_name, b"-" * 32,
              b"SIZE D 25.000 ACTUAL 25.012 TOL 0.050 DEV 0.012",
              b"POSN X 10.000 ACTUAL 10.004 TOL TP 0.100 DEV 0.004",
              b"POSN Y 20.000 ACTUAL 19.998 TOL TP 0.100 DEV -0.002"]
    if end:
        lines.append(b"END")
    return b"\n".join(lines) + b"\n"
