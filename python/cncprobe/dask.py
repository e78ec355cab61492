"""Many results files at once as Dask DataFrames, one partition per file.

    import cncprobe.dask
    points = cncprobe.dask.read_points("/share/machines/**/*.txt")
    checks = cncprobe.dask.read_checks(["a.txt", "b.txt"], units="in")
    summary = cncprobe.dask.read_summary("/share/machines/**/*.txt").compute()

Nothing runs until ``compute()``; then Dask's local scheduler extracts files in threads (the
extraction releases the GIL), or, when a ``distributed.Client`` is active, the client's cluster
does. Each frame has a ``file`` column. A file that cannot be read or whose extraction met a
problem never fails the job: its rows are whatever the library kept (none for an unreadable
file) and ``read_summary`` gives its status and error, one row per file.
"""

from __future__ import annotations

import glob as _glob
import os
from typing import Iterable, Union

import numpy as np
import pandas as pd

from . import _model

Paths = Union[str, "os.PathLike[str]", Iterable[Union[str, "os.PathLike[str]"]]]


def expand(paths_or_glob: Paths) -> list:
    """The files to read: a glob pattern (``**`` reaches into subfolders), a single file, or a
    list of files, in that order (a pattern's matches sorted)."""
    if isinstance(paths_or_glob, (str, os.PathLike)):
        text = os.fspath(paths_or_glob)
        if _glob.has_magic(text):
            return sorted(_glob.glob(text, recursive=True))
        return [text]
    return [os.fspath(p) for p in paths_or_glob]


def _with_file(frame: pd.DataFrame, file: str) -> pd.DataFrame:
    frame.insert(0, "file", pd.Series([file] * len(frame), dtype=object, index=frame.index))
    return frame


def _extract_or_none(file: str, units: str):
    try:
        return _model.extract(file, units)
    except OSError:
        return None


def points_frame(file: str, units: str = "mm") -> pd.DataFrame:
    """The points DataFrame of one file with its ``file`` column; empty when unreadable."""
    extraction = _extract_or_none(file, units)
    if extraction is None:
        frame = _empty_points()
    else:
        frame = extraction.points.to_pandas()
    return _with_file(frame, file)


def checks_frame(file: str, units: str = "mm") -> pd.DataFrame:
    """The feature-checks DataFrame of one file with its ``file`` column; empty when
    unreadable."""
    extraction = _extract_or_none(file, units)
    frame = _empty_checks() if extraction is None else extraction.checks_to_pandas()
    return _with_file(frame, file)


SUMMARY_COLUMNS = ["file", "status", "status_name", "error", "results_file", "probe_paths",
                   "features", "points", "measured"]


def summary_frame(file: str, units: str = "mm") -> pd.DataFrame:
    """One row for one file: status code and name (-1 and "unreadable" when the file could not
    be read), the error (the OSError's text, "" otherwise), results file, counts."""
    row = {"file": file, "status": -1, "status_name": "unreadable", "error": "",
           "results_file": "", "probe_paths": 0, "features": 0, "points": 0, "measured": 0}
    try:
        extraction = _model.extract(file, units)
    except OSError as error:
        row["error"] = f"{type(error).__name__}: {error}"
    else:
        points = extraction.points
        row.update(
            status=int(extraction.status),
            status_name=extraction.status.name.lower(),
            results_file=extraction.results_file,
            probe_paths=len(extraction.probe_paths),
            features=len(extraction.features),
            points=len(points),
            measured=int(np.count_nonzero(~np.isnan(points.r))),
        )
    return _summary_of([row])


def _summary_of(rows: list) -> pd.DataFrame:
    frame = pd.DataFrame(rows, columns=SUMMARY_COLUMNS)
    for column in ("status", "probe_paths", "features", "points", "measured"):
        frame[column] = frame[column].astype(np.int64)
    for column in ("file", "status_name", "error", "results_file"):
        frame[column] = frame[column].astype(object)
    return frame


def _empty_points() -> pd.DataFrame:
    # An extraction of nothing has the columns and dtypes of any other.
    empty = _model.Points(
        **{k: np.empty((0, 3) if k in ("nominal", "direction", "measured") else 0, dtype=v)
           for k, v in _POINT_DTYPES.items()}
    )
    return empty.to_pandas()


_POINT_DTYPES = {"path": np.int32, "toolpath": np.int32, "instance": np.int32,
                 "nominal": np.float64, "direction": np.float64, "o": np.float64,
                 "u": np.float64, "l": np.float64, "measured": np.float64, "r": np.float64,
                 "deviation": np.float64, "verdict": np.int8}


def _empty_checks() -> pd.DataFrame:
    return _EmptyExtraction().checks_to_pandas()


class _EmptyExtraction(_model.Extraction):
    def __init__(self) -> None:  # noqa: D107  (no file: only the frame's shape is wanted)
        pass

    def _check_columns(self) -> dict:
        names = ["result", "kind", "toolpath", "instance", "component", "feature", "name",
                 "quantity", "nominal", "actual", "deviation", "tolerance", "true_position",
                 "verdict", "tolerance_used", "lower_limit", "upper_limit"]
        return {n: [] for n in names}


def _from_files(make, meta: pd.DataFrame, files: list, units: str):
    import dask
    import dask.dataframe as dd

    units = _model._units_name(units)
    if not files:
        return dd.from_pandas(meta, npartitions=1)
    parts = [dask.delayed(make, pure=True)(f, units) for f in files]
    return dd.from_delayed(parts, meta=meta, divisions=None, verify_meta=False)


def read_points(paths_or_glob: Paths, units: str = "mm"):
    """A Dask DataFrame of every inspection point of the files, one partition per file, with a
    ``file`` column before the columns of ``Extraction.points.to_pandas()``."""
    return _from_files(points_frame, _with_file(_empty_points(), ""), expand(paths_or_glob), units)


def read_checks(paths_or_glob: Paths, units: str = "mm"):
    """A Dask DataFrame of every feature check of the files, one partition per file, with a
    ``file`` column before the columns of ``Extraction.checks_to_pandas()``."""
    return _from_files(checks_frame, _with_file(_empty_checks(), ""), expand(paths_or_glob), units)


def read_summary(paths_or_glob: Paths, units: str = "mm"):
    """A Dask DataFrame of one row per file (one partition each): status, status_name
    (``unreadable`` with status -1 when the file could not be read), error, results_file and
    the numbers of probe paths, features, points and measured points. The place to find the
    files that met a problem: ``summary[summary.status != 0]``."""
    return _from_files(summary_frame, _summary_of([]), expand(paths_or_glob), units)


_STORE_TABLES = {"runs": "id", "checks": "run_id", "points": "run_id"}


def read_store(url: str, table: str, npartitions: int = 8):
    """A table of a PostgreSQL run store (``runs``, ``checks`` or ``points``) as a Dask
    DataFrame read in ``npartitions`` partitions by run, for a plant-sized store that does not
    fit in memory (``dask.dataframe.read_sql_table``, through SQLAlchemy and psycopg2). The
    frame is indexed by the run id; text stored as bytes is decoded as in
    :mod:`cncprobe.store`. A SQLite store is read whole by :mod:`cncprobe.store` instead."""
    import dask.dataframe as dd

    from . import store as _store

    if table not in _STORE_TABLES:
        raise ValueError(f"not a table of the run store: {table!r} (runs, checks or points)")
    url = os.fspath(url)
    if not _store._is_postgres(url):
        raise ValueError("cncprobe.dask.read_store reads a PostgreSQL store; "
                         "use cncprobe.store for a SQLite file")
    engine_url = "postgresql+psycopg2://" + url.split("://", 1)[1]
    frame = dd.read_sql_table(table, engine_url, index_col=_STORE_TABLES[table],
                              npartitions=npartitions)

    def decode(part: pd.DataFrame) -> pd.DataFrame:
        for column in part.columns:
            if part[column].dtype == object:
                part[column] = part[column].map(_store._text)
        return part

    return frame.map_partitions(decode, meta=frame._meta)
