"""cncprobe.spc against numbers worked out by hand."""

import math

import numpy as np
import pandas as pd
import pytest

import cncprobe


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
    # mean 25.025; deviations from it +-0.015, +-0.005: s^2 = (2*0.000225 + 2*0.000025) / 3
    s = math.sqrt(0.0005 / 3)
    assert d["n"] == 4 and d["mean"] == pytest.approx(25.025)
    assert d["std"] == pytest.approx(s) and (d["min"], d["max"]) == (25.01, 25.04)
    assert d["cp"] == pytest.approx(0.1 / (6 * s))            # (USL - LSL) / 6s
    assert d["cpk"] == pytest.approx((25.05 - 25.025) / (3 * s))  # the nearer limit is the upper
    offset = table[table["quantity"] == "centre_offset"].iloc[0]
    assert offset["n"] == 4 and offset["mean"] == pytest.approx(0.03) and offset["out"] == 1
    s_offset = math.sqrt((0.0004 + 0.0001 + 0.0009 + 0) / 3)
    assert offset["std"] == pytest.approx(s_offset)
    # A one-sided limit: no Cp, and Cpk from the half width of the zone above the mean offset.
    assert math.isnan(offset["cp"]) and offset["cpk"] == pytest.approx((0.05 - 0.03) / (3 * s_offset))


@pytest.mark.parametrize("diameters, tolerance", [([25.01], 0.05), ([25.01, 25.01], 0.05),
                                                  ([25.01, 25.03], None)])
def test_no_capability_without_spread_runs_or_tolerance(diameters, tolerance):
    table = cncprobe.spc(checks_of_runs(diameters, [0.0] * len(diameters), tolerance))
    d = table[table["quantity"] == "diameter"].iloc[0]
    assert d["n"] == len(diameters)
    assert math.isnan(d["cp"]) and math.isnan(d["cpk"])


def test_runs_of_real_files_group_by_feature(tmp_path):
    from conftest import ROOT

    frames = [cncprobe.extract(ROOT / "examples" / "bracket_mm.txt").to_pandas()[1]] * 3
    table = cncprobe.spc(pd.concat(frames, ignore_index=True))
    assert len(table) == 16 and set(table["n"]) == {3}
    assert set(table["std"]) == {0.0}  # the same run three times: no spread
    from_files = cncprobe.spc([ROOT / "examples" / "bracket_mm.txt"] * 3)
    pd.testing.assert_frame_equal(from_files, table)


def test_limits_are_the_librarys_verdict_limits():
    from conftest import ROOT

    checks = cncprobe.extract(ROOT / "examples" / "bracket_mm.txt").to_pandas()[1]
    dowel = checks[(checks["feature"] == 2)].set_index("quantity")
    # Diameter: a plain 0.015 either way; centre: a TP zone of 0.05, so the offset may reach 0.025.
    assert (dowel.loc["diameter", "lower_limit"], dowel.loc["diameter", "upper_limit"]) == (
        -0.015, 0.015)
    assert math.isnan(dowel.loc["centre_offset", "lower_limit"])
    assert dowel.loc["centre_offset", "upper_limit"] == 0.025
