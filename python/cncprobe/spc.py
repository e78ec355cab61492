"""Statistics of each feature quantity across runs, for control charts and capability."""

from __future__ import annotations

import numpy as np

#: The columns that name one feature quantity across runs.
KEY = ["kind", "toolpath", "instance", "component", "feature", "name", "quantity"]


def spc(checks):
    """Per feature quantity across runs: n, mean, std (n - 1), min, max, Cp and Cpk.

    ``checks`` is a feature-checks DataFrame of many runs: the second frame of
    ``Extraction.to_pandas()`` of each run concatenated, or ``cncprobe.dask.read_checks(...)``
    (a Dask DataFrame is computed first). Rows are grouped by kind, toolpath, instance,
    component, feature, name and quantity.

    The statistics are of the actual value, or of the deviation for a quantity that has none
    (centre and corner offsets). Cp = 2 tol / 6 std and Cpk = min(USL - mean, mean - LSL) / 3 std
    with the limits nominal +/- tol, for a quantity with a plain +/- tolerance; NaN for a
    true-position zone (one-sided, where these indices do not apply), without a tolerance, with
    fewer than two runs, or without spread. ``nominal`` and ``tolerance`` are those of the
    newest row; ``out`` counts the rows the library judged out of tolerance.
    """
    import pandas as pd

    if hasattr(checks, "compute") and not isinstance(checks, pd.DataFrame):
        checks = checks.compute()
    frame = checks.copy()
    frame["value"] = frame["actual"].where(frame["actual"].notna(), frame["deviation"])
    frame["is_out"] = frame["verdict"].astype(object) == "out"
    for column in ("kind", "quantity", "name"):
        frame[column] = frame[column].astype(object)
    frame["name"] = frame["name"].fillna("")
    grouped = frame.groupby(KEY, sort=False, dropna=False)
    table = grouped["value"].agg(["count", "mean", "std", "min", "max"])
    table = table.rename(columns={"count": "n"})
    last = grouped[["nominal", "tolerance", "true_position"]].last()
    table["nominal"] = last["nominal"]
    table["tolerance"] = last["tolerance"]
    table["out"] = grouped["is_out"].sum().astype(np.int64)
    two_sided = ~last["true_position"].astype(bool) & last["tolerance"].notna()
    usable = two_sided & (table["std"] > 0)
    three_sigma = 3.0 * table["std"]
    cp = table["tolerance"] / three_sigma
    upper = table["nominal"] + table["tolerance"] - table["mean"]
    lower = table["mean"] - (table["nominal"] - table["tolerance"])
    cpk = np.minimum(upper, lower) / three_sigma
    table["cp"] = cp.where(usable)
    table["cpk"] = cpk.where(usable)
    return table.reset_index()
