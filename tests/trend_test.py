"""cncprobe trend end to end: exit codes, frozen limits, the limits of another program refused,
and both JSON documents against their schemas. Run by ctest with pytest."""
import json
import os
import pathlib
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests" / "support"))
import drift_runs  # noqa: E402

TOOL = os.environ.get("CNCPROBE_TOOL", str(ROOT / "build" / "release" / "tools" / "cncprobe"))


def trend(*args):
    return subprocess.run([TOOL, "trend", *map(str, args)], capture_output=True, text=True)


def trend_json(*args):
    done = trend(*args, "--format", "json")
    assert done.returncode in (0, 1), done.stderr
    return done.returncode, json.loads(done.stdout)


@pytest.fixture(scope="module")
def runs(tmp_path_factory):
    return drift_runs.write_runs(tmp_path_factory.mktemp("runs"), 20)


@pytest.fixture(scope="module")
def saved(runs, tmp_path_factory):
    path = tmp_path_factory.mktemp("limits") / "op20.json"
    done = trend(*runs[:10], "--save-limits", path)
    assert path.exists(), done.stderr
    return path


def validator(name):
    jsonschema = pytest.importorskip("jsonschema")
    schema = json.loads((ROOT / "docs" / "schema" / f"{name}.schema.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    return jsonschema.Draft202012Validator(schema)


def test_exit_codes(runs, saved, tmp_path):
    other = tmp_path / "other.json"
    other.write_text(saved.read_text().replace("bracket_op20_probe.cl", "bracket_op30_probe.cl"))
    broken = tmp_path / "broken.json"
    broken.write_text('{"kind": "cncprobe-control-limits", "version": 1')
    same = [ROOT / "examples" / "bracket_mm.txt"] * 3
    cases = [
        ("drift after the baseline", [*runs, "--baseline", "10"], 1, ""),
        ("the same run three times: no spread, no rule", same, 0, ""),
        ("one new run, in control", [runs[4], "--limits", saved], 0, ""),
        ("one new run, the worn bore", [runs[19], "--limits", saved], 1, ""),
        ("rule numbers", [*runs, "--rules", "1,9"], 2, "--rules"),
        ("a baseline of one run", [*runs, "--baseline", "1"], 2, "--baseline"),
        ("one run without limits", [runs[0]], 2, "two runs"),
        ("baseline and limits", [*runs, "--baseline", "5", "--limits", saved], 2, "excludes"),
        ("another program's limits", [runs[19], "--limits", other], 2, "another program"),
        ("a broken limits file", [runs[19], "--limits", broken], 3, "not a JSON document"),
        ("no such run", [tmp_path / "missing.txt", runs[0]], 3, "missing.txt"),
    ]
    for name, args, code, message in cases:
        done = trend(*args)
        assert done.returncode == code, f"{name}: {done.stderr}"
        assert message in done.stderr, name
        if code >= 2:
            assert done.stderr.startswith("cncprobe: "), name


def test_documents_follow_their_schemas(runs, saved):
    _, document = trend_json(*runs, "--baseline", "10", "--rules", "1,2,3,5")
    assert list(validator("trend").iter_errors(document)) == []
    assert document["rules"] == [1, 2, 3, 5] and document["first_judged"] == 10
    assert all(v["rule"] in (1, 2, 3, 5) and v["run"] >= 10 for v in document["violations"])
    limits = json.loads(saved.read_text())
    assert list(validator("limits").iter_errors(limits)) == []
    assert limits["program"]["cldata_filename"].endswith("bracket_op20_probe.cl")


def test_saved_limits_are_those_of_the_baseline_and_judge_alike(runs, saved):
    _, whole = trend_json(*runs, "--baseline", "10", "--rules", "1")
    _, later = trend_json(*runs[10:], "--limits", saved, "--rules", "1")
    assert later["baseline"] == {"source": "limits_file", "file": str(saved), "runs": 10}
    for a, b in zip(whole["series"], later["series"]):
        assert a["key"] == b["key"]
        assert (a["centre"], a["ucl"], a["lcl"], a["cpk"]) == (b["centre"], b["ucl"], b["lcl"], b["cpk"])
    # Rule 1 looks at one value (and the one before it, on the moving-range chart, which the
    # later runs alone lack for their first run).
    def beyond(doc, offset):
        return {(v["run"] + offset, v["key"]) for v in doc["violations"]
                if v["chart"] == "individuals"}
    assert beyond(whole, 0) == beyond(later, 10)
    # The worn bore is what drifts.
    assert any(v["quantity"] == "diameter" and "component 1 feature 1" in v["item"]
               for v in whole["violations"])


def test_stored_runs_exit_codes(runs, saved, tmp_path):
    store = tmp_path / "runs.sqlite"
    ingest = subprocess.run([TOOL, "ingest", *map(str, runs[:12]), "--db", str(store)],
                            capture_output=True, text=True)
    assert ingest.returncode == 0, ingest.stderr
    not_a_store = tmp_path / "notes.txt"
    not_a_store.write_text("not a database\n" * 100)
    db = ["--db", store, "--program", "bracket_op20_probe"]
    cases = [
        ("drift after the baseline", [*db, "--baseline", "10"], 1, ""),
        ("the newest two against a limits file", [*db, "--last", "2", "--limits", saved], 1, ""),
        ("no limits saved yet", [*db, "--limits", "db"], 3, "no control limits"),
        ("limits saved", [*db, "--baseline", "10", "--save-limits", "db", "--rules", "2"], 0, ""),
        ("and read back", [*db, "--last", "5", "--limits", "db", "--rules", "2"], 0, ""),
        ("a program without runs", ["--db", store, "--program", "op99"], 1, "no runs of op99"),
        ("a baseline longer than the runs", [*db, "--baseline", "13"], 2, "--baseline"),
        ("files and a store", [runs[0], *db], 2, "no files"),
        ("a store without a program", ["--db", store], 2, "--program"),
        ("--last is for stored runs", [*runs[:3], "--last", "2"], 2, "--db URL"),
        ("not a store", ["--db", not_a_store, "--program", "x"], 5, "not a database"),
        ("nothing at all", [], 2, "--db URL --program NAME"),
    ]
    for name, args, code, message in cases:
        done = trend(*args)
        assert done.returncode == code, f"{name}: {done.stderr}"
        assert message in done.stderr, name
        if code >= 2:
            assert done.stderr.startswith("cncprobe: "), name
