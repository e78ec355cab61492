"""Extraction.to_qif: the same document as the tool's --format qif, to a path or a file object,
and its options refused before anything is written."""

import io
import os
import subprocess

import pytest

import cncprobe
from conftest import ROOT

TIME = "2026-11-23T10:15:00Z"
BRACKET = ROOT / "examples" / "bracket_mm.txt"


def tool_qif(*args):
    path = os.environ.get("CNCPROBE_TOOL") or str(ROOT / "build" / "release" / "tools" / "cncprobe")
    done = subprocess.run([path, "extract", *map(str, args), "--format", "qif"], capture_output=True,
                          check=False)
    assert done.returncode in (0, 1), done.stderr
    return done.stdout


@pytest.mark.parametrize(
    "options, tool_args",
    [
        ({}, []),
        ({"true_position": "radial", "points": "outside", "drafting_standard": "asme-y14.5"},
         ["--true-position", "radial", "--qif-points", "outside", "--drafting-standard",
          "asme-y14.5"]),
    ],
)
def test_same_bytes_as_the_tool(tmp_path, options, tool_args):
    run = cncprobe.extract(str(BRACKET))
    target = tmp_path / "run.qif"
    run.to_qif(target, time=TIME, **options)
    expected = tool_qif(BRACKET, "--time", TIME, *tool_args)
    assert target.read_bytes() == expected
    stream = io.BytesIO()
    run.to_qif(stream, time=TIME, **options)
    assert stream.getvalue() == expected


def test_inches_are_written_in_millimetres():
    path = ROOT / "examples" / "plate_in.txt"
    stream = io.BytesIO()
    cncprobe.extract(path, units="in").to_qif(stream, time=TIME)
    assert stream.getvalue() == tool_qif(path, "--units", "in", "--time", TIME)
    assert b"<UnitName>mm</UnitName>" in stream.getvalue()


@pytest.mark.parametrize(
    "options",
    [{"time": "yesterday"}, {"points": "some"}, {"true_position": "axial"},
     {"drafting_standard": "din"}],
)
def test_bad_options_write_nothing(tmp_path, options):
    target = tmp_path / "never.qif"
    with pytest.raises(ValueError):
        cncprobe.extract(str(BRACKET)).to_qif(target, **options)
    assert not target.exists()


def test_an_error_of_the_file_object_reaches_the_caller():
    class Full:
        def write(self, data):
            raise OSError(28, "No space left on device")

    with pytest.raises(OSError):
        cncprobe.extract(str(BRACKET)).to_qif(Full(), time=TIME)
