"""Control charts of each feature quantity across runs: individuals and moving-range limits from
a baseline, the eight run rules, capability (Cp, Cpk) beside performance (Pp, Ppk).

The numbers come from the library, the same code as ``cncprobe trend``: equal runs give equal
numbers.
"""

from __future__ import annotations

import os

import numpy as np

from . import _cncprobe

#: The columns that name one feature quantity across runs.
KEY = ["kind", "toolpath", "instance", "component", "feature", "name", "quantity"]

#: The statistics columns, named as in ``cncprobe trend --format json``.
COLUMNS = ["n", "mean", "s", "min", "max", "lower_tolerance", "upper_tolerance", "state",
           "baseline_n", "centre", "moving_range", "sigma_within", "lcl", "ucl", "mr_ucl", "cp",
           "cpk", "cpk_low", "cpk_high", "pp", "ppk", "one_sided", "capability_preliminary",
           "performance_preliminary", "violations"]

ALL_RULES = (1, 2, 3, 4, 5, 6, 7, 8)


def _rule_mask(rules):
    text = rules if isinstance(rules, str) else ",".join(str(int(r)) for r in rules)
    mask = _cncprobe.parse_rules(text)
    if mask is None:
        raise ValueError(f"rules are numbers 1 to 8, not {rules!r}")
    return mask


def _frame(checks):
    import pandas as pd

    if isinstance(checks, (str, os.PathLike, list, tuple)):  # the runs' files, read together
        from ._model import read_frames
        from .dask import expand

        checks = read_frames(expand(checks), labels=False)[1]
    if hasattr(checks, "compute") and not isinstance(checks, pd.DataFrame):
        checks = checks.compute()
    frame = checks.copy()
    for column in ("kind", "quantity", "name"):
        frame[column] = frame[column].astype(object)
    frame["name"] = frame["name"].fillna("")
    # The run of each row: the order the files first appear in, or each quantity's rows in
    # order when the frame does not say which file a row came from.
    if "file" in frame.columns:
        frame["_run"] = pd.factorize(frame["file"].astype(object), sort=False)[0]
    else:
        frame["_run"] = frame.groupby(KEY, sort=False, dropna=False).cumcount()
    return frame


def _analyse(checks, baseline, rules):
    """(key, group, chart, runs) for each feature quantity, in the order they first appear."""
    frame = _frame(checks)
    runs = int(frame["_run"].max()) + 1 if len(frame) else 0
    if baseline is not None and (int(baseline) < 2 or int(baseline) > runs):
        raise ValueError(f"baseline takes 2 to {runs} runs (the runs given), not {baseline}")
    count = runs if baseline is None else int(baseline)
    first_judged = count if count < runs else 0
    mask = _rule_mask(rules)
    for key, group in frame.groupby(KEY, sort=False, dropna=False):
        values = np.full(runs, np.nan)
        deviations = group["deviation"].to_numpy(dtype=float)
        values[group["_run"].to_numpy()] = deviations
        first = group.iloc[0]
        chart = _cncprobe.control_chart(values.tolist(), float(first["lower_limit"]),
                                        float(first["upper_limit"]), count, mask, first_judged)
        yield key, group, chart, frame


def _none_to_nan(value):
    return np.nan if value is None else value


def spc(checks, baseline=None, rules=ALL_RULES):
    """One row per feature quantity across runs: its I-MR chart and capability.

    ``checks`` is a feature-checks DataFrame of many runs: ``cncprobe.read_frames(runs)[1]``,
    ``cncprobe.dask.read_checks(...)`` (a Dask DataFrame is computed first), or the second frame
    of ``Extraction.to_pandas()`` of each run concatenated in run order; or the runs' files
    themselves (a list, or a glob pattern), read together with ``cncprobe.read_frames``. The run of a row is the order its ``file`` first appears in,
    or the order of each quantity's rows without a ``file`` column.

    Values are deviations from nominal (the radial offset of a centre or corner). ``baseline``
    is the number of first runs the control limits come from (default: every run); the runs
    after it are judged against those frozen limits, and with the default every run is judged.
    ``rules`` picks the run rules (default all eight: 1 beyond 3 sigma, 2 nine on one side,
    3 six rising or falling, 4 fourteen alternating, 5 two of three beyond 2 sigma, 6 four of
    five beyond 1 sigma, 7 fifteen within 1 sigma, 8 eight outside 1 sigma on both sides).

    Columns, as in ``cncprobe trend --format json``: n, mean, s (n - 1), min, max of the
    deviations; the tolerance limits; state ("limits", "too_few_values", "no_spread");
    baseline_n, centre, moving_range, sigma_within = moving_range / 1.128, lcl, ucl, mr_ucl;
    cp, cpk from sigma_within and the baseline's centre (with its 95% interval cpk_low,
    cpk_high), pp, ppk from s and the mean of every run; with only an upper limit cp and pp are
    NaN and cpk, ppk are the upper indices (one_sided); capability_preliminary (baseline_n <
    25), performance_preliminary (n < 25); violations, the number of rules that fired. Then
    nominal and tolerance of the newest row and ``out``, the rows the library judged out of
    tolerance. An index is NaN without a tolerance, without spread or with too few values.
    """
    import pandas as pd

    rows = []
    for key, group, chart, _ in _analyse(checks, baseline, rules):
        first = group.iloc[0]
        row = dict(zip(KEY, key))
        for column in COLUMNS:
            if column == "lower_tolerance":
                row[column] = float(first["lower_limit"])
            elif column == "upper_tolerance":
                row[column] = float(first["upper_limit"])
            elif column == "violations":
                row[column] = len(chart["violations"])
            else:
                row[column] = _none_to_nan(chart[column])
        row["nominal"] = group["nominal"].iloc[-1]
        row["tolerance"] = group["tolerance"].iloc[-1]
        row["out"] = int((group["verdict"].astype(object) == "out").sum())
        rows.append(row)
    table = pd.DataFrame(rows, columns=KEY + COLUMNS + ["nominal", "tolerance", "out"])
    return table.astype({"n": np.int64, "baseline_n": np.int64, "violations": np.int64,
                         "out": np.int64})


def violations(checks, baseline=None, rules=ALL_RULES):
    """One row per rule that fired on a judged run, as ``cncprobe trend`` lists them: the
    quantity's key columns, ``run`` (0-based), ``file`` (when the frame has one), ``rule``
    (1 to 8), ``chart`` ("individuals", or "moving_range" for rule 1 on the moving ranges) and
    ``value`` (the deviation, or the moving range). Arguments as :func:`spc`."""
    import pandas as pd

    rows = []
    for key, group, chart, frame in _analyse(checks, baseline, rules):
        files = None
        if "file" in frame.columns:
            files = frame.drop_duplicates("_run").set_index("_run")["file"]
        for run, rule, which, value in chart["violations"]:
            row = dict(zip(KEY, key))
            row.update(run=run, file=None if files is None else files.get(run), rule=rule,
                       chart=which, value=value)
            rows.append(row)
    columns = KEY + ["run", "file", "rule", "chart", "value"]
    return pd.DataFrame(rows, columns=columns)


__all__ = ["KEY", "COLUMNS", "spc", "violations"]
