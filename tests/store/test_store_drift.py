"""The drift check on stored runs: `trend --db` judges a program's stored runs as `trend` judges
the same files, control limits saved in the store judge as a limits file does, and `watch` raises
the alarm for a drifting run once limits are saved (and never without them)."""

import json
import os
import signal
import subprocess
import sys
import time

import pytest

from conftest import ROOT, run_tool, small_file

sys.path.insert(0, str(ROOT / "tests" / "support"))
import drift_runs  # noqa: E402

PROGRAM = "bracket_op20_probe"


@pytest.fixture(scope="module")
def shift(tmp_path_factory):
    """Twenty runs of a shift, a minute apart; the main bore wears from run 11 on."""
    paths = drift_runs.write_runs(tmp_path_factory.mktemp("shift"), 20)
    for i, path in enumerate(paths):
        os.utime(path, (1_700_000_000 + i * 60,) * 2)
    return paths


def trend_json(tool, *args):
    done = run_tool(tool, "trend", *args, "--format", "json")
    assert done.returncode in (0, 1), done.stderr.decode()
    return done.returncode, json.loads(done.stdout)


def judgement(document):
    """What a trend decided, without where its runs and limits came from. The store keeps
    checks, not positions: the X and Y of centres and corners are the series it lacks."""
    kept = [s for s in document["series"] if not s["quantity"].endswith(("_x", "_y"))]
    fields = ("key", "item", "quantity", "n", "mean", "s", "state", "centre", "lcl", "ucl",
              "mr_ucl", "cp", "cpk", "pp", "ppk", "violations")
    keys = {s["key"] for s in kept}
    return ([tuple(s[f] for f in fields) for s in kept],
            [(v["run"], v["key"], v["rule"], v["chart"]) for v in document["violations"]
             if v["key"] in keys],
            [r["status"] for r in document["runs"]], document["first_judged"])


@pytest.mark.parametrize("options", [
    ["--baseline", "10"],
    ["--baseline", "5", "--rules", "1,2,5"],
    [],
])
def test_stored_trend_judges_as_the_files_do(tool, store_url, shift, options):
    assert run_tool(tool, "ingest", *shift, "--db", store_url).returncode == 0
    code, stored = trend_json(tool, "--db", store_url, "--program", PROGRAM, *options)
    file_code, files = trend_json(tool, *shift, *options)
    assert (code, judgement(stored)) == (file_code, judgement(files))
    assert [r["file"] for r in stored["runs"]] == [str(p) for p in shift]
    # --last takes the newest runs, as naming only those files does.
    last = [o if o not in ("10", "5") else "4" for o in options]
    code, stored = trend_json(tool, "--db", store_url, "--program", PROGRAM, "--last", "8", *last)
    file_code, files = trend_json(tool, *shift[-8:], *last)
    assert (code, judgement(stored)) == (file_code, judgement(files))


@pytest.mark.parametrize("name", ["DOWEL HOLE", "BORE|A", "|", "feature|circle|3|-1|x|diameter"])
def test_stored_series_of_any_feature_name_are_those_of_the_files(tool, store_url, tmp_path,
                                                                  name):
    # The key holds the feature's name between "|"s; a name with "|" of its own must still give
    # the files' series and items, not a feature cut in two.
    files = []
    for i in range(3):
        files.append(tmp_path / f"run{i}.txt")
        small_file(files[-1], i, feature_name=name)
        os.utime(files[-1], (1_700_000_000 + i * 60,) * 2)
    assert run_tool(tool, "ingest", *files, "--db", store_url).returncode == 0
    _, stored = trend_json(tool, "--db", store_url, "--program", "small_op20")
    _, from_files = trend_json(tool, *files)
    assert judgement(stored) == judgement(from_files)
    assert name in stored["series"][0]["item"]


def test_limits_saved_in_the_store_judge_as_a_limits_file(tool, store_url, shift, tmp_path):
    # Before any are saved, asking for them is refused in one line.
    assert run_tool(tool, "ingest", *shift[:10], "--db", store_url).returncode == 0
    done = run_tool(tool, "trend", "--db", store_url, "--program", PROGRAM, "--limits", "db")
    assert done.returncode == 3 and b"no control limits" in done.stderr
    saved = run_tool(tool, "trend", "--db", store_url, "--program", PROGRAM, "--save-limits", "db")
    assert saved.returncode in (0, 1), saved.stderr  # a rule may fire inside the baseline
    limits = tmp_path / "op20.json"
    assert run_tool(tool, "trend", *shift[:10], "--save-limits", limits).returncode in (0, 1)

    assert run_tool(tool, "ingest", *shift[10:], "--db", store_url).returncode == 0
    code, from_store = trend_json(tool, "--db", store_url, "--program", PROGRAM, "--last", "10",
                                  "--limits", "db")
    file_code, from_file = trend_json(tool, *shift[10:], "--limits", limits)
    assert code == file_code == 1  # the worn bore
    assert judgement(from_store) == judgement(from_file)
    assert from_store["baseline"] == {"source": "store", "file": None, "runs": 10}
    jsonschema = pytest.importorskip("jsonschema")
    schema = json.loads((ROOT / "docs" / "schema" / "trend.schema.json").read_text())
    assert list(jsonschema.Draft202012Validator(schema).iter_errors(from_store)) == []
    # A limits file and the store's limits are interchangeable: the keys are the same.
    code, crossed = trend_json(tool, "--db", store_url, "--program", PROGRAM, "--last", "10",
                               "--limits", limits)
    assert judgement(crossed) == judgement(from_file)


def watch_lines(tool, store_url, folder, alarms, drop):
    """Starts `watch` on `folder`, calls drop(), waits for a line per dropped file and stops."""
    watch = subprocess.Popen(
        [tool, "watch", str(folder), "--db", store_url, "--interval", "100ms", "--settle", "300ms",
         "--on-alarm", f'printf "%s\\n" "$CNCPROBE_REASON" >> {alarms}'],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    try:
        expected = drop()
        deadline = time.monotonic() + 30
        lines = []
        os.set_blocking(watch.stdout.fileno(), False)
        while len(lines) < expected and time.monotonic() < deadline:
            chunk = watch.stdout.read()
            if chunk:
                lines += chunk.decode().splitlines()
            time.sleep(0.1)
    finally:
        watch.send_signal(signal.SIGTERM)
        rest, err = watch.communicate(timeout=30)
    assert watch.returncode == 0, err
    return lines + rest.decode().splitlines()


@pytest.mark.parametrize("limits_saved", [True, False])
def test_watch_raises_the_drift_alarm_only_against_saved_limits(tool, store_url, shift, tmp_path,
                                                                 limits_saved):
    assert run_tool(tool, "ingest", *shift[:10], "--db", store_url).returncode == 0
    if limits_saved:
        done = run_tool(tool, "trend", "--db", store_url, "--program", PROGRAM, "--save-limits",
                        "db")
        assert done.returncode in (0, 1), done.stderr
    folder = tmp_path / "share"
    folder.mkdir()
    alarms = tmp_path / "alarms.txt"

    def drop():
        # Run 16: the bore has worn six steps past the baseline.
        (folder / "run16.txt").write_bytes(shift[15].read_bytes())
        return 1

    lines = watch_lines(tool, store_url, folder, alarms, drop)
    assert len(lines) == 1 and "run16.txt" in lines[0]
    reasons = alarms.read_text().splitlines() if alarms.exists() else []
    drift = [r for r in reasons if r.startswith("drift: ")]
    bore = "drift: rule 1 on circle 3 component 1 feature 1 diameter"
    if limits_saved:
        assert bore in lines[0] and bore in drift
        assert all(d in lines[0] for d in drift)
    else:
        assert "  drift: " not in lines[0] and drift == []
