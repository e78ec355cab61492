"""The store's commands agree with the file-based ones: a trend of stored runs is the trend of the
same files, and `runs` lists what was ingested, filtered as asked."""

import json
import os
import re

from conftest import BRACKET, ROOT, run_tool


def page_data(path):
    text = path.read_text()
    return json.loads(re.search(r'<script[^>]*id="report-data"[^>]*>(.*?)</script>', text, re.S)
                      .group(1))


def series(document):
    return {(s["item"], s["quantity"]): (s["values"], s["lower"], s["upper"], s["stats"])
            for s in document["features"] + document["points"]}


def test_stored_trend_is_the_trend_of_the_files(tool, store_url, tmp_path):
    files = []
    for i in range(1, 6):
        file = tmp_path / f"run{i}.txt"
        file.write_text(BRACKET.read_text().replace("ACTUAL 25.012", f"ACTUAL 25.01{i}")
                        .replace("X6.004", f"X6.00{i}"))
        os.utime(file, (1_700_000_000 + i * 60,) * 2)  # written a minute apart, in order
        files.append(file)
    assert run_tool(tool, "ingest", *files, "--db", store_url).returncode == 0
    stored = tmp_path / "stored.html"
    done = run_tool(tool, "report", "--db", store_url, "--program", "bracket_op20_probe",
                    "--last", "4", "-o", stored)
    assert done.returncode == 0, done.stderr
    from_files = tmp_path / "files.html"
    assert run_tool(tool, "report", *files[1:], "-o", from_files).returncode == 0
    a, b = page_data(stored), page_data(from_files)
    assert [r["file"] for r in a["runs"]] == [str(f) for f in files[1:]]
    assert [r["passed"] for r in a["runs"]] == [r["passed"] for r in b["runs"]]
    # The store keeps checks, not positions: the X and Y deviations of centres and corners, which
    # the file-based trend adds, are the only series it lacks.
    components = {k: v for k, v in series(b).items() if k[1].endswith(("_x", "_y"))}
    assert components and series(a) == {k: v for k, v in series(b).items() if k not in components}


def test_runs_lists_and_filters(tool, store_url, tmp_path):
    for i, program in enumerate(["OP10", "OP20", "OP20"]):
        file = tmp_path / f"r{i}.txt"
        file.write_bytes(BRACKET.read_bytes() + f"( {i} )\n".encode())
        os.utime(file, (1_700_000_000 + i * 86_400,) * 2)  # a day apart
        assert run_tool(tool, "ingest", file, "--db", store_url, "--program", program).returncode == 0
    cases = [
        ([], 3),
        (["--program", "OP20"], 2),
        (["--since", "2023-11-15"], 2),
        (["--program", "OP20", "--last", "1"], 1),
        (["--program", "nothing"], 0),
    ]
    import jsonschema

    schema = json.loads((ROOT / "docs" / "schema" / "runs.schema.json").read_text())
    for args, expected in cases:
        done = run_tool(tool, "runs", "--db", store_url, "--format", "json", *args)
        assert done.returncode == 0, done.stderr
        document = json.loads(done.stdout)
        jsonschema.validate(document, schema)
        assert len(document["runs"]) == expected, args
    bad = run_tool(tool, "runs", "--db", store_url, "--since", "last monday")
    assert bad.returncode == 2 and bad.stderr.startswith(b"cncprobe: ")


def test_frames_equal_the_extraction_and_dask_reads_postgresql(tool, store_url):
    import cncprobe
    import pandas as pd

    import cncprobe.store

    assert run_tool(tool, "ingest", BRACKET, "--db", store_url).returncode == 0
    points, checks = cncprobe.extract(BRACKET).to_pandas()
    stored_points = cncprobe.store.points(store_url, program="bracket_op20_probe")
    stored_checks = cncprobe.store.checks(store_url, program="bracket_op20_probe")
    pd.testing.assert_frame_equal(stored_points.drop(columns="run"), points)
    pd.testing.assert_frame_equal(stored_checks.drop(columns=["run", "program", "series"]), checks)
    if store_url.startswith("postgresql"):
        import cncprobe.dask

        frame = cncprobe.dask.read_store(store_url, "points", npartitions=2).compute()
        assert sorted(frame["label"]) == sorted(points["label"])
