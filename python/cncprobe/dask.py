"""Many results files at once as Dask DataFrames, one partition per group of files.

    import cncprobe.dask
    points = cncprobe.dask.read_points("/share/machines/**/*.txt")
    checks = cncprobe.dask.read_checks(["a.txt", "b.txt"], units="in")
    summary = cncprobe.dask.read_summary("/share/machines/**/*.txt").compute()

Nothing runs until ``compute()``; then Dask's local scheduler extracts files in threads (the
extraction releases the GIL), or, when a ``distributed.Client`` is active, the client's cluster
does. The files are grouped, in the order given, into partitions of about 64 MB of input (less
for a small input, so that every core has one; ``partition_bytes``) or of a given number of
files (``files_per_partition``); a partition is read
with one call of :func:`cncprobe.read_frames`, so thousands of small files make a few frames, not
thousands. Each frame has a ``file`` column. A file that cannot be read or whose extraction met a
problem never fails the job: its rows are whatever the library kept (none for an unreadable
file) and ``read_summary`` gives its status and error, one row per file.
"""

from __future__ import annotations

import glob as _glob
import os
from typing import Iterable, Optional, Union

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


def points_frame(file: str, units: str = "mm") -> pd.DataFrame:
    """The points DataFrame of one file with its ``file`` column; empty when unreadable."""
    return _points_of([file], units)


def checks_frame(file: str, units: str = "mm") -> pd.DataFrame:
    """The feature-checks DataFrame of one file with its ``file`` column; empty when
    unreadable."""
    return _checks_of([file], units)


SUMMARY_COLUMNS = ["file", "status", "status_name", "error", "results_file", "probe_paths",
                   "features", "points", "measured", "not_toleranced"]


def summary_frame(file: str, units: str = "mm") -> pd.DataFrame:
    """One row for one file: status code and name (-1 and "unreadable" when the file could not
    be read), the error (the OSError's text, "" otherwise), results file, counts (not_toleranced:
    points measured without a probing direction to judge them along)."""
    return _summary_rows([file], units)


def _summary_of(rows: list) -> pd.DataFrame:
    frame = pd.DataFrame(rows, columns=SUMMARY_COLUMNS)
    for column in ("status", "probe_paths", "features", "points", "measured", "not_toleranced"):
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
                 "verdict", "tolerance_used", "lower_limit", "upper_limit", "compared",
                 "compared_limit"]
        return {n: [] for n in names}


#: The input a partition reads when no number of files is given: about 64 MB.
PARTITION_BYTES = 64 * 1024 * 1024


def partitions(files: list, files_per_partition: Optional[int] = None,
               partition_bytes: Optional[int] = None) -> list:
    """The files in groups, in order: ``files_per_partition`` files each when given, otherwise
    consecutive files of at most ``partition_bytes`` together (a larger file alone; a file that
    cannot be read counts as empty). Without ``partition_bytes``: at most 64 MB, and less when
    the input is small, so that every core of this machine gets a partition. No group is empty."""
    if files_per_partition is not None:
        if files_per_partition < 1:
            raise ValueError(f"files_per_partition must be positive, not {files_per_partition!r}")
        return [files[i:i + files_per_partition] for i in range(0, len(files), files_per_partition)]
    sizes = []
    for file in files:
        try:
            sizes.append(os.path.getsize(file))
        except OSError:
            sizes.append(0)
    total = sum(sizes)
    cores = os.cpu_count() or 1
    if partition_bytes is None and total < cores * PARTITION_BYTES:
        # A small input: one group per core, each of about an equal share of the bytes (a file
        # goes to the share its middle byte falls in).
        groups = [[] for _ in range(cores)]
        before = 0
        for file, file_size in zip(files, sizes):
            middle = (2 * before + file_size) * cores // max(2 * total, 1)
            groups[min(cores - 1, middle)].append(file)
            before += file_size
        return [group for group in groups if group]
    partition_bytes = partition_bytes or PARTITION_BYTES
    groups: list = []
    size = 0
    for file, file_size in zip(files, sizes):
        if not groups or size + file_size > partition_bytes:
            groups.append([])
            size = 0
        groups[-1].append(file)
        size += file_size
    return groups


def _points_of(files: list, units: str) -> pd.DataFrame:
    # Dask runs the partitions side by side already: one thread each.
    return _model.read_frames(files, units, threads=1, errors="skip")[0]


def _checks_of(files: list, units: str) -> pd.DataFrame:
    return _model.read_frames(files, units, threads=1, labels=False, errors="skip")[1]


def _summary_rows(files: list, units: str) -> pd.DataFrame:
    rows = []
    for file, extraction in zip(files, _model.extract_many(files, units, 1, errors="return")):
        row = {"file": file, "status": -1, "status_name": "unreadable", "error": "",
               "results_file": "", "probe_paths": 0, "features": 0, "points": 0, "measured": 0,
               "not_toleranced": 0}
        if isinstance(extraction, OSError):
            row["error"] = f"{type(extraction).__name__}: {extraction}"
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
                not_toleranced=int(np.count_nonzero(points.verdict == _model.Verdict.NOT_TOLERANCED)),
            )
        rows.append(row)
    return _summary_of(rows)


def _from_files(make, meta: pd.DataFrame, files: list, units: str,
                files_per_partition: Optional[int], partition_bytes: int):
    import dask
    import dask.dataframe as dd

    units = _model._units_name(units)
    if not files:
        return dd.from_pandas(meta, npartitions=1)
    groups = partitions(files, files_per_partition, partition_bytes)
    parts = [dask.delayed(make, pure=True)(group, units) for group in groups]
    return dd.from_delayed(parts, meta=meta, divisions=None, verify_meta=False)


def read_points(paths_or_glob: Paths, units: str = "mm", files_per_partition: Optional[int] = None,
                partition_bytes: Optional[int] = None):
    """A Dask DataFrame of every inspection point of the files, one partition per group of files
    (see :func:`partitions`), with a ``file`` column before the columns of
    ``Extraction.points.to_pandas()``."""
    return _from_files(_points_of, _with_file(_empty_points(), ""), expand(paths_or_glob), units,
                       files_per_partition, partition_bytes)


def read_checks(paths_or_glob: Paths, units: str = "mm", files_per_partition: Optional[int] = None,
                partition_bytes: Optional[int] = None):
    """A Dask DataFrame of every feature check of the files, one partition per group of files
    (see :func:`partitions`), with a ``file`` column before the columns of
    ``Extraction.checks_to_pandas()``."""
    return _from_files(_checks_of, _with_file(_empty_checks(), ""), expand(paths_or_glob), units,
                       files_per_partition, partition_bytes)


def read_summary(paths_or_glob: Paths, units: str = "mm",
                 files_per_partition: Optional[int] = None, partition_bytes: Optional[int] = None):
    """A Dask DataFrame of one row per file (partitions as :func:`read_points`): status, status_name
    (``unreadable`` with status -1 when the file could not be read), error, results_file and
    the numbers of probe paths, features, points, measured points and points not toleranced
    (measured without a probing direction). The place to find the
    files that met a problem: ``summary[summary.status != 0]``."""
    return _from_files(_summary_rows, _summary_of([]), expand(paths_or_glob), units,
                       files_per_partition, partition_bytes)


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
