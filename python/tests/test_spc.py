"""cncprobe.spc and cncprobe.violations: numbers worked out by hand, and equal to the tool's."""

import importlib
import math
import sys

import numpy as np
import pandas as pd
import pytest

import cncprobe

from conftest import ROOT

sys.path.insert(0, str(ROOT / "tests" / "support"))
import drift_runs  # noqa: E402


def checks_of_runs(diameters, offsets, tolerance=0.05):
    """A checks frame of one feature over several runs: a diameter of nominal 25 with a plain
    tolerance and a centre offset (true position, a diametral zone of 0.1: the offset may reach
    0.05), with the limits the library gives them."""
    plain = (-tolerance, tolerance) if tolerance is not None else (np.nan, np.nan)
    rows = []
    for run, (d, off) in enumerate(zip(diameters, offsets)):
        rows.append(dict(file=f"run{run}", kind="circle", toolpath=3, instance=-1, component=1,
                         feature=4, name=None, quantity="diameter", nominal=25.0, actual=d,
                         deviation=d - 25.0, tolerance=tolerance, verdict="in",
                         true_position=False, lower_limit=plain[0], upper_limit=plain[1]))
        rows.append(dict(file=f"run{run}", kind="circle", toolpath=3, instance=-1, component=1,
                         feature=4, name=None, quantity="centre_offset", nominal=np.nan,
                         actual=np.nan, deviation=off, tolerance=0.1,
                         verdict="out" if off > 0.05 else "in", true_position=True,
                         lower_limit=np.nan, upper_limit=0.05))
    return pd.DataFrame(rows)


def test_statistics_per_feature_quantity_by_hand():
    table = cncprobe.spc(checks_of_runs([25.01, 25.02, 25.03, 25.04], [0.01, 0.02, 0.06, 0.03]))
    assert len(table) == 2
    d = table[table["quantity"] == "diameter"].iloc[0]
    # Deviations 0.01 .. 0.04: mean 0.025, s^2 = (2*0.000225 + 2*0.000025) / 3; every moving
    # range 0.01, so sigma within = 0.01 / 1.128.
    s, within = math.sqrt(0.0005 / 3), 0.01 / 1.128
    assert d["n"] == 4 and d["mean"] == pytest.approx(0.025)
    assert d["s"] == pytest.approx(s) and (d["min"], d["max"]) == pytest.approx((0.01, 0.04))
    assert d["sigma_within"] == pytest.approx(within) and d["ucl"] == pytest.approx(0.025 + 3 * within)
    assert d["pp"] == pytest.approx(0.1 / (6 * s))               # (USL - LSL) / 6s
    assert d["ppk"] == pytest.approx((0.05 - 0.025) / (3 * s))   # the nearer limit is the upper
    assert d["cp"] == pytest.approx(0.1 / (6 * within))
    assert d["cpk"] == pytest.approx((0.05 - 0.025) / (3 * within))
    assert d["cpk"] > d["ppk"]  # a steady trend inflates s, not the moving ranges
    assert d["capability_preliminary"] and d["baseline_n"] == 4
    offset = table[table["quantity"] == "centre_offset"].iloc[0]
    assert offset["n"] == 4 and offset["mean"] == pytest.approx(0.03) and offset["out"] == 1
    s_offset = math.sqrt((0.0004 + 0.0001 + 0.0009 + 0) / 3)
    assert offset["s"] == pytest.approx(s_offset) and offset["one_sided"]
    # A one-sided limit: no Cp nor Pp, the upper indices from the zone's half width.
    assert math.isnan(offset["cp"]) and math.isnan(offset["pp"])
    assert offset["ppk"] == pytest.approx((0.05 - 0.03) / (3 * s_offset))


@pytest.mark.parametrize("diameters, tolerance", [([25.01], 0.05), ([25.01, 25.01], 0.05),
                                                  ([25.01, 25.03], None)])
def test_no_index_without_spread_runs_or_tolerance(diameters, tolerance):
    table = cncprobe.spc(checks_of_runs(diameters, [0.0] * len(diameters), tolerance))
    d = table[table["quantity"] == "diameter"].iloc[0]
    assert d["n"] == len(diameters)
    assert all(math.isnan(d[c]) for c in ("cp", "cpk", "pp", "ppk"))


def test_arguments_are_checked():
    checks = checks_of_runs([25.01, 25.02, 25.03], [0.0] * 3)
    for kwargs in (dict(rules=[9]), dict(rules="1,,2"), dict(baseline=1), dict(baseline=4)):
        with pytest.raises(ValueError):
            cncprobe.spc(checks, **kwargs)


def test_the_same_run_three_times_has_no_spread_and_no_limits():
    frames = [cncprobe.extract(ROOT / "examples" / "bracket_mm.txt").to_pandas()[1]] * 3
    table = cncprobe.spc(pd.concat(frames, ignore_index=True))
    assert len(table) == 16 and set(table["n"]) == {3}
    assert set(table["s"]) == {0.0} and set(table["state"]) == {"no_spread"}
    assert table["violations"].sum() == 0


def test_numbers_equal_the_tools_on_the_same_runs(tmp_path, tool):
    paths = drift_runs.write_runs(tmp_path, 20)
    frames = []
    for path in paths:
        checks = cncprobe.extract(path).to_pandas()[1]
        checks.insert(0, "file", str(path))
        frames.append(checks)
    checks = pd.concat(frames, ignore_index=True)
    table = cncprobe.spc(checks, baseline=10, rules="1,2,3,5")
    document = tool("trend", *paths, "--baseline", "10", "--rules", "1,2,3,5")
    # The tool's feature series, but the X and Y of centres and corners (which a checks frame
    # does not hold), in the same order.
    series = [s for s in document["series"]
              if s["kind"] == "feature" and not s["quantity"].endswith(("_x", "_y"))]
    assert len(series) == len(table)
    compared = [c for c in importlib.import_module("cncprobe.spc").COLUMNS if c != "state"]
    for expected, (_, row) in zip(series, table.iterrows()):
        assert expected["quantity"] == row["quantity"]
        for column in compared:
            want = expected[column]
            got = row[column]
            if want is None:
                assert isinstance(got, float) and math.isnan(got), column
            else:
                assert got == pytest.approx(want, rel=1e-12, abs=0), (expected["key"], column)
    fired = cncprobe.violations(checks, baseline=10, rules="1,2,3,5")
    tool_fired = [v for v in document["violations"] if not v["quantity"].endswith(("_x", "_y"))
                  and not v["key"].startswith("point|")]
    assert len(fired) == len(tool_fired) > 0
    assert sorted(zip(fired["run"], fired["rule"], fired["chart"])) == sorted(
        (v["run"], v["rule"], v["chart"]) for v in tool_fired)
    assert set(fired["file"]) <= {str(p) for p in paths[10:]}


def test_runs_read_from_their_files(tmp_path):
    # The runs' files read together give the numbers of their frames concatenated in run order.
    paths = drift_runs.write_runs(tmp_path, 12)
    frames = []
    for path in paths:
        checks = cncprobe.extract(path).to_pandas()[1]
        checks.insert(0, "file", str(path))
        frames.append(checks)
    from_frames = cncprobe.spc(pd.concat(frames, ignore_index=True), baseline=6)
    from_files = cncprobe.spc([str(p) for p in paths], baseline=6)
    pd.testing.assert_frame_equal(from_files, from_frames)


def test_limits_are_the_librarys_verdict_limits():
    checks = cncprobe.extract(ROOT / "examples" / "bracket_mm.txt").to_pandas()[1]
    dowel = checks[(checks["feature"] == 2)].set_index("quantity")
    # Diameter: a plain 0.015 either way; centre: a TP zone of 0.05, so the offset may reach 0.025.
    assert (dowel.loc["diameter", "lower_limit"], dowel.loc["diameter", "upper_limit"]) == (
        -0.015, 0.015)
    assert math.isnan(dowel.loc["centre_offset", "lower_limit"])
    assert dowel.loc["centre_offset", "upper_limit"] == 0.025
