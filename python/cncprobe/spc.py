"""Statistics of each feature quantity across runs, for control charts and capability."""

from __future__ import annotations

import os

import numpy as np

#: The columns that name one feature quantity across runs.
KEY = ["kind", "toolpath", "instance", "component", "feature", "name", "quantity"]


def spc(checks):
    """Per feature quantity across runs: n, mean, std (n - 1), min, max, Cp and Cpk.

    ``checks`` is a feature-checks DataFrame of many runs: the second frame of
    ``Extraction.to_pandas()`` of each run concatenated, ``cncprobe.read_frames(runs)[1]``, or
    ``cncprobe.dask.read_checks(...)`` (a Dask DataFrame is computed first); or the runs' files
    themselves (a list, or a glob pattern), read together with ``cncprobe.read_frames``. Rows are grouped by kind, toolpath, instance,
    component, feature, name and quantity.

    The statistics are of the actual value, or of the deviation for a quantity that has none
    (centre and corner offsets). Cp and Cpk come from the deviations and the limits at which the
    library's verdict turns (the frame's ``lower_limit`` and ``upper_limit``: -tol and +tol for a
    plain tolerance; for a true position the zone's half width or the radial limit, above an
    offset and on both sides of a middle): Cp = (upper - lower) / 6 std where both limits exist,
    Cpk = the nearer limit's distance from the mean deviation / 3 std (a one-sided limit gives
    Cpk only). NaN without a tolerance, with fewer than two runs, or without spread. ``nominal``,
    ``tolerance`` and the limits are those of the newest row; ``out`` counts the rows the
    library judged out of tolerance.
    """
    import pandas as pd

    if isinstance(checks, (str, os.PathLike, list, tuple)):  # the runs' files, read together
        from ._model import read_frames
        from .dask import expand

        checks = read_frames(expand(checks), labels=False)[1]
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
    last = grouped[["nominal", "tolerance", "lower_limit", "upper_limit"]].last()
    table["nominal"] = last["nominal"]
    table["tolerance"] = last["tolerance"]
    table["out"] = grouped["is_out"].sum().astype(np.int64)
    spread = grouped["deviation"].std()
    centre = grouped["deviation"].mean()
    three_sigma = 3.0 * spread
    usable = spread > 0
    lower, upper = last["lower_limit"], last["upper_limit"]
    table["cp"] = ((upper - lower) / (2.0 * three_sigma)).where(usable)
    cpk = np.fmin((upper - centre) / three_sigma, (centre - lower) / three_sigma)
    table["cpk"] = cpk.where(usable)
    return table.reset_index()
