"""cncprobe.extract against the tool's JSON, the exceptions, text that is not ASCII, threads."""

import concurrent.futures
import dataclasses
import math
import os
import pathlib

import numpy as np
import pytest

import cncprobe
from conftest import ROOT, results_file, sample_files


def same_number(a, b):
    # The tool prints a number that is not finite as null.
    if b is None:
        return a is None or not math.isfinite(a)
    return a == b


def same(value, expected):
    """Equal as the tool would print `value`: tuples as arrays, non-finite numbers as null."""
    if isinstance(expected, dict):
        return isinstance(value, dict) and value.keys() == expected.keys() and all(
            same(value[k], expected[k]) for k in expected)
    if isinstance(expected, list):
        return len(value) == len(expected) and all(same(a, b) for a, b in zip(value, expected))
    if isinstance(value, float) or expected is None and isinstance(value, (int, float)):
        return same_number(value, expected)
    return value == expected


def triples(array):
    return [[None if not math.isfinite(v) else v for v in row] for row in array.tolist()]


@pytest.mark.parametrize("units", ["mm", "in"])
@pytest.mark.parametrize("path", sample_files(), ids=lambda p: str(p.relative_to(ROOT)))
def test_values_equal_the_tools_json(tool, path, units):
    expected = tool("extract", path, "--units", units)
    run = cncprobe.extract(path, units=units)
    assert int(run.status) == expected["status"]["code"]
    assert run.status.name.lower() == expected["status"]["name"]
    assert run.results_file == expected["results_file"]
    assert len(run.results) == len(expected["results"])

    paths = [r for r in expected["results"] if r["kind"] == "probe_path"]
    points = [p for r in paths for p in r["points"]]
    got = run.points
    assert len(got) == len(points)
    dtypes = {"path": np.int32, "toolpath": np.int32, "instance": np.int32, "nominal": np.float64,
              "direction": np.float64, "o": np.float64, "u": np.float64, "l": np.float64,
              "measured": np.float64, "r": np.float64, "deviation": np.float64,
              "verdict": np.int8}
    for name, dtype in dtypes.items():
        array = getattr(got, name)
        assert array.dtype == dtype, name
        assert array.shape == ((len(points), 3) if array.ndim == 2 else (len(points),)), name
    assert got.path.tolist() == [i for i, r in enumerate(paths) for _ in r["points"]]
    assert got.toolpath.tolist() == [r["toolpath_id"] for r in paths for _ in r["points"]]
    instances = [r["pattern_instance"] for r in paths for _ in r["points"]]
    assert got.instance.tolist() == [-1 if i is None else i for i in instances]
    assert got.labels.tolist() == [p["label"] for p in points]
    assert triples(got.nominal) == [p["nominal"] for p in points]
    assert triples(got.direction) == [p["direction"] for p in points]
    for letter in "oul":
        assert getattr(got, letter).tolist() == [p[letter] for p in points]
    # An unmeasured point is NaN in every measured column and in R, as the tool's null.
    assert triples(got.measured) == [p["measured"] or [None] * 3 for p in points]
    assert [None if math.isnan(v) else v for v in got.r.tolist()] == [p["r"] for p in points]

    for result, want in zip(run.results, expected["results"]):
        assert (result.kind, result.toolpath_id, result.pattern_instance) == (
            want["kind"], want["toolpath_id"], want["pattern_instance"])
        if want["kind"] == "probe_path":
            assert result.count == len(want["points"])
            continue
        assert result.print_data == want["print_data"]
        fields = {k: v for k, v in want.items()
                  if k not in ("kind", "toolpath_id", "pattern_instance", "print_data", "checks")}
        assert same(result.geometry, fields)
        assert same([dataclasses.asdict(c) for c in result.checks], want["checks"])

    # Deviations and verdicts are the library's, the same the tool prints.
    assert [None if math.isnan(v) else v for v in got.deviation.tolist()] == [
        p["deviation"] for p in points]
    assert [cncprobe.Verdict(v).name.lower() for v in got.verdict.tolist()] == [
        p["verdict"] for p in points]

    frame, checks = run.to_pandas()
    assert len(frame) == len(points)
    assert frame["label"].tolist() == [p["label"] for p in points]
    # The checks frame holds the numbers of the JSON checks at full precision.
    want_checks = [c for r in expected["results"] if r["kind"] != "probe_path" for c in r["checks"]]
    assert len(checks) == len(want_checks)
    for column in ("nominal", "actual", "deviation", "tolerance", "tolerance_used", "compared",
                   "compared_limit", "lower_limit", "upper_limit"):
        assert checks[column].dtype == np.float64, column
    for column in ("nominal", "actual", "deviation", "tolerance", "tolerance_used", "compared",
                   "compared_limit"):
        assert all(same_number(None if math.isnan(v) else v, c[column])
                   for v, c in zip(checks[column].tolist(), want_checks)), column
    assert checks["verdict"].astype(str).tolist() == [c["verdict"] for c in want_checks]


def test_path_like_str_and_bytes_names_read_the_same_file():
    path = ROOT / "examples" / "bracket_mm.txt"
    runs = [cncprobe.extract(p) for p in (path, str(path), os.fsencode(path))]
    assert {len(r.points) for r in runs} == {10}
    assert runs[0].file == str(path) and runs[2].file == os.fsencode(path)


def test_problem_statuses_are_returned_not_raised(tmp_path):
    (tmp_path / "empty.res").write_bytes(b"")
    (tmp_path / "open.res").write_bytes(results_file(3, end=False))
    empty = cncprobe.extract(tmp_path / "empty.res")
    assert empty.status == cncprobe.ExtractionStatus.NO_RESULTS and len(empty.points) == 0
    assert empty.points.measured.shape == (0, 3)
    kept = cncprobe.extract(tmp_path / "open.res")
    assert kept.status == cncprobe.ExtractionStatus.MISSING_END and len(kept.points) == 3
    assert [s.name for s in cncprobe.ExtractionStatus] == [
        "SUCCESS", "MISSING_END", "MULTIPLE_STARTS", "UNMATCHED_MEASURED_POINT",
        "UNMEASURED_NOMINAL_POINT", "NO_RESULTS", "OUTSIDE_START_END", "RESULT_CONFLICT"]


def unreadable_cases(tmp_path):
    cases = [(tmp_path / "missing.res", FileNotFoundError),
             (tmp_path / "missing-folder" / "x.res", FileNotFoundError),
             (tmp_path, IsADirectoryError)]
    fifo = tmp_path / "pipe.res"
    os.mkfifo(fifo)
    cases.append((fifo, OSError))
    if os.geteuid() != 0:  # root reads a file whatever its mode
        locked = tmp_path / "locked.res"
        locked.write_bytes(results_file(1))
        locked.chmod(0)
        cases.append((locked, PermissionError))
    return cases


def test_a_locked_file_raises_permission_error_also_when_the_tests_run_as_root():
    # Root reads a file whatever its mode, and CI runs as root: the file is read in a Python of
    # its own by the user nobody, which may not.
    import shutil
    import subprocess
    import sys
    import tempfile

    command = [sys.executable, "-c", (
        "import sys, cncprobe\n"
        "for read in (cncprobe.extract, cncprobe.references, cncprobe.read_settings):\n"
        "    try:\n"
        "        read(sys.argv[1])\n"
        "    except PermissionError as e:\n"
        "        assert e.filename == sys.argv[1], e\n"
        "    else:\n"
        "        sys.exit(read.__name__ + ' raised nothing')\n")]
    if os.geteuid() == 0:
        setpriv = shutil.which("setpriv")
        if setpriv is None:
            pytest.fail("setpriv (util-linux) is needed to read a file as a user who is not root")
        command = [setpriv, "--reuid=65534", "--regid=65534", "--clear-groups"] + command
    with tempfile.TemporaryDirectory(prefix="cncprobe-locked-") as folder:
        os.chmod(folder, 0o755)  # the folder may be entered, the file not read
        locked = os.path.join(folder, "locked.res")
        with open(locked, "wb") as f:
            f.write(results_file(1))
        os.chmod(locked, 0)
        # The package this test imported, by an absolute path: the child runs in another folder.
        package_root = os.path.dirname(os.path.dirname(os.path.abspath(cncprobe.__file__)))
        env = dict(os.environ, PYTHONPATH=os.pathsep.join(
            [package_root] + [p for p in os.environ.get("PYTHONPATH", "").split(os.pathsep) if p]))
        done = subprocess.run(command + [locked], capture_output=True, text=True, cwd=folder,
                              env=env)
    assert done.returncode == 0, done.stderr


@pytest.mark.parametrize("read", [cncprobe.extract, cncprobe.references], ids=["extract", "references"])
def test_unreadable_files_raise_the_matching_oserror_naming_the_file(tmp_path, read):
    for path, error in unreadable_cases(tmp_path):
        with pytest.raises(error) as caught:
            read(path)
        assert type(caught.value) is error, path  # not a broader OSError
        assert caught.value.filename == str(path) and caught.value.errno
        assert str(path) in str(caught.value)


def test_units_are_checked():
    with pytest.raises(ValueError, match="units"):
        cncprobe.extract(ROOT / "examples" / "bracket_mm.txt", units="cm")


def test_file_text_that_is_not_ascii_or_not_utf8(tool, tmp_path):
    # A feature name and the results-file name are the file's own text.
    path = tmp_path / "text.res"
    path.write_bytes(results_file(2, feature_name="BOHRUNG Ø25 µm".encode(),
                                  results_name="LÄUFE/RUN1.TXT".encode()))
    run = cncprobe.extract(path)
    assert run.features[0].name == "BOHRUNG Ø25 µm"
    assert run.results_file == "LÄUFE/RUN1.TXT"
    # The reader skips a line that is not UTF-8 text, so such bytes never reach a name (the
    # binding would show each as U+FFFD, as the tool's JSON does); Python and the tool agree.
    path.write_bytes(results_file(2, feature_name=b"BORE \xc3(", results_name=b"RUN\xff.TXT"))
    run, want = cncprobe.extract(path), tool("extract", path)
    assert run.results_file == want["results_file"] == ""
    assert [f.print_data for f in run.features] == [
        r["print_data"] for r in want["results"] if r["kind"] != "probe_path"]


def test_a_file_name_that_is_not_utf8(tmp_path):
    name = os.path.join(os.fsencode(tmp_path), b"run-\xff.res")
    with open(name, "wb") as f:
        f.write(results_file(4))
    run = cncprobe.extract(name)
    assert len(run.points) == 4 and run.file == name


def test_threads_extract_at_once_with_the_same_results(tmp_path):
    files = []
    for i in range(8):
        path = tmp_path / f"run{i}.res"
        path.write_bytes(results_file(200 + 50 * i, toolpath=i + 1))
        files.append(path)
    alone = [cncprobe.extract(f).points for f in files]

    def read(path):
        points = cncprobe.extract(path).points
        return points.nominal.sum(), points.measured.sum(), len(points), points.toolpath[0]

    with concurrent.futures.ThreadPoolExecutor(max_workers=4) as pool:
        together = list(pool.map(read, files * 4))
    expected = [(p.nominal.sum(), p.measured.sum(), len(p), p.toolpath[0]) for p in alone] * 4
    assert together == expected


def test_references_and_settings_equal_the_tools_json(tool):
    for path in sample_files():
        want = tool("refs", path)
        got = cncprobe.references(path)
        assert vars(got.results_file_version) == want["results_file_version"]
        for key in ("settings_filename", "cad_filename", "cldata_filename", "document_id",
                    "document_version", "model_version"):
            assert getattr(got, key) == want[key], (path, key)

    xml = sorted((ROOT / "tests" / "data" / "settings").glob("*.xml")) + sorted(
        (ROOT / "examples").glob("*.xml"))
    for path in xml:
        for units in ("mm", "in"):
            want = tool("settings", path, "--units", units)
            if want["name"] in ("success", "newer_version"):
                got = cncprobe.read_settings(path, units=units)
                assert got.code == want["code"] and got.message == want["message"]
                settings = {k: getattr(got, k) for k in want["settings"]}
                assert settings == want["settings"], path
            else:
                with pytest.raises(cncprobe.SettingsError) as caught:
                    cncprobe.read_settings(path, units=units)
                assert caught.value.code == want["code"], path
                assert caught.value.code.name.lower() == want["name"]
                assert caught.value.message == want["message"]


def test_settings_file_that_cannot_be_opened(tmp_path):
    # A SettingsError (code INVALID_PATH) that is also the OSError of the reason; a FIFO is
    # refused at once, never waited on.
    for path, os_error in unreadable_cases(tmp_path):
        for wanted in (cncprobe.SettingsError, os_error):
            with pytest.raises(wanted) as caught:
                cncprobe.read_settings(path)
            error = caught.value
            assert isinstance(error, cncprobe.SettingsError) and isinstance(error, os_error), path
            assert error.code == cncprobe.SettingsCode.INVALID_PATH and error.errno is not None
            assert error.filename == str(path)


def test_deviation_verdict_and_checks_come_through_in_order():
    run = cncprobe.extract(ROOT / "examples" / "bracket_mm.txt")
    points = run.points
    assert points.deviation.dtype == np.float64 and points.verdict.dtype == np.int8
    along = np.einsum("ij,ij->i", points.measured - points.nominal, points.direction)
    np.testing.assert_allclose(points.deviation, along, atol=1e-12)
    assert set(points.verdict.tolist()) == {int(cncprobe.Verdict.IN)}

    frame, checks = run.to_pandas()
    assert list(frame["verdict"].cat.categories) == [v.name.lower() for v in cncprobe.Verdict]
    assert list(checks.columns[:12]) == ["kind", "toolpath", "instance", "component", "feature",
                                         "name", "quantity", "nominal", "actual", "deviation",
                                         "tolerance", "verdict"]
    # One row per feature quantity, each feature's rows next to each other, as Feature.checks.
    assert len(checks) == sum(len(f.checks) for f in run.features) == 16
    dowel = checks[checks["name"] == "DOWEL HOLE"]
    assert dowel["quantity"].tolist() == ["diameter", "centre_offset"]
    assert dowel["verdict"].tolist() == ["in", "out"] and dowel["feature"].tolist() == [2, 2]
    assert dowel["component"].tolist() == [-1, -1] and math.isnan(dowel["nominal"].iloc[1])
    untoleranced = checks[checks["tolerance"].isna()]
    assert set(untoleranced["verdict"]) == {"not_toleranced"}


def test_the_type_stubs_name_what_the_package_has():
    import ast

    package = ROOT / "python" / "cncprobe"
    tree = ast.parse((package / "_model.pyi").read_text())
    stubbed = {n.name: n for n in tree.body if isinstance(n, ast.ClassDef)}
    for enum_class in (cncprobe.ExtractionStatus, cncprobe.Verdict, cncprobe.Quantity,
                       cncprobe.SettingsCode):
        members = [t.targets[0].id for t in stubbed[enum_class.__name__].body
                   if isinstance(t, ast.Assign)]
        assert members == [m.name for m in enum_class], enum_class
    for name in cncprobe.__all__:
        assert name in stubbed or name in {"extract", "extract_many", "read_frames", "references",
                                           "read_settings", "spc", "violations"}
