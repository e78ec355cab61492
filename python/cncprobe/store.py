"""The run store as pandas frames: every run the ``cncprobe ingest`` and ``watch`` commands kept.

    import cncprobe.store
    runs = cncprobe.store.runs("runs.sqlite")                       # one row per run
    checks = cncprobe.store.checks("runs.sqlite", program="BRACKET_OP20")
    points = cncprobe.store.points("postgresql://qa@plant-db/runs", run=1042)

``url`` names the store as the tool does: a SQLite file (``runs.sqlite``, ``sqlite:///path``),
read with the standard ``sqlite3`` module, or ``postgresql://user@host/db`` (``postgresql://``
alone takes libpq's ``PG*`` environment variables), read with ``psycopg2``. ``checks`` and
``points`` have the columns and dtypes of :meth:`cncprobe.Extraction.to_pandas`, after a ``run``
column (the run's id) and, for checks, ``program`` and ``series`` (the key that joins the same
quantity of the same feature across runs: the ``key`` of ``cncprobe trend`` and of a limits file,
``"feature|circle|3|-1|component 1 feature 1|diameter"``). Text the files held is given back exactly: bytes that
are not UTF-8 come back as lone surrogates (``text.encode("utf-8", "surrogateescape")`` gives
the bytes).
"""

from __future__ import annotations

import os
import warnings
from typing import Any, Optional

import numpy as np

from . import _model

_POSTGRES = ("postgresql://", "postgres://")


def _is_postgres(url: str) -> bool:
    return url.startswith(_POSTGRES)


def _sqlite_path(url: str) -> str:
    for prefix in ("sqlite://", "sqlite:"):
        if url.startswith(prefix):
            return url[len(prefix):]
    return url


def _connect(url: Any):
    url = os.fspath(url)
    if _is_postgres(url):
        import psycopg2

        return psycopg2.connect(url)
    import sqlite3

    path = _sqlite_path(url)
    if not os.path.isfile(path):
        raise FileNotFoundError(2, "no such store", path)
    from urllib.parse import quote

    connection = sqlite3.connect(f"file:{quote(path)}?mode=ro", uri=True)
    # Bytes as stored: a file's text need not be UTF-8.
    connection.text_factory = bytes
    return connection


def _text(value: Any) -> Any:
    if isinstance(value, memoryview):
        value = value.tobytes()
    if isinstance(value, bytes):
        return value.decode("utf-8", "surrogateescape")
    return value


def _read(url: Any, sql: str, params: list):
    """The rows of ``sql`` as a frame, with every text column decoded. ``sql`` is written with
    ``?`` for SQLite; PostgreSQL's driver takes ``%s``."""
    import pandas as pd

    postgres = _is_postgres(os.fspath(url))
    if postgres:
        sql = sql.replace("?", "%s")
    connection = _connect(url)
    try:
        with warnings.catch_warnings():
            # pandas asks for SQLAlchemy for any driver but sqlite3; psycopg2's cursor serves.
            warnings.filterwarnings("ignore", message=".*SQLAlchemy.*", category=UserWarning)
            frame = pd.read_sql(sql, connection, params=params)
    finally:
        connection.close()
    for column in frame.columns:
        if frame[column].dtype == object:
            frame[column] = frame[column].map(_text)
    return frame


def _name_param(url: Any, name: Optional[str]):
    """A program name as the store keeps it: bytes (bytea on PostgreSQL, text bytes in SQLite)."""
    if name is None:
        return None
    data = name.encode("utf-8", "surrogateescape") if isinstance(name, str) else bytes(name)
    if _is_postgres(os.fspath(url)):
        import psycopg2

        return psycopg2.Binary(data)
    return data


def _program_filter(url: Any, column: str = "p.name") -> str:
    if _is_postgres(os.fspath(url)):
        return f"(?::bytea IS NULL OR {column} = ?::bytea)"
    return f"(? IS NULL OR {column} = CAST(? AS TEXT))"


def runs(url: Any, program: Optional[str] = None, since: Optional[str] = None):
    """The stored runs, oldest first: ``run``, ``program``, ``file``, ``sha256``, ``file_time`` and
    ``ingest_time`` (UTC timestamps; file_time NaT when unknown), ``units``, ``status`` (the
    extraction status code, -1 unreadable), ``status_name``, ``input_problem`` ("" when read),
    ``verdict`` ("pass", "fail", None), the counts and the header references. ``since``: an ISO
    date; runs written on or after it."""
    import pandas as pd

    name = _name_param(url, program)
    frame = _read(
        url,
        f"""
SELECT r.id AS run, p.name AS program, r.path AS file, r.sha256, r.file_time, r.ingest_time,
       r.units, r.status_code AS status, r.status_name, r.input_problem, r.verdict,
       r.results_file, r.results, r.probe_paths, r.features, r.points, r.checks_in,
       r.checks_out, r.checks_not_toleranced, r.points_within, r.points_outside,
       r.points_unmeasured, r.results_file_version, r.settings_filename, r.cad_filename,
       r.cldata_filename, r.document_id, r.document_version, r.model_version
FROM runs r JOIN programs p ON p.id = r.program_id
WHERE {_program_filter(url)} AND (? IS NULL OR coalesce(r.file_time, r.ingest_time) >= ?)
ORDER BY coalesce(r.file_time, r.ingest_time), r.id""",
        [name, name, since, since],
    )
    for column in ("file_time", "ingest_time"):
        frame[column] = pd.to_datetime(frame[column], utc=True)
    for column in ("run", "results", "probe_paths", "features", "points", "checks_in",
                   "checks_out", "checks_not_toleranced", "points_within", "points_outside",
                   "points_unmeasured"):
        frame[column] = frame[column].astype(np.int64)
    frame["status"] = frame["status"].astype(np.int32)
    return frame


def checks(url: Any, program: Optional[str] = None, run: Optional[int] = None):
    """The stored feature checks, one row per feature quantity, in run order: ``run``,
    ``program``, ``series``, then the columns of :meth:`cncprobe.Extraction.checks_to_pandas`."""
    import pandas as pd

    name = _name_param(url, program)
    frame = _read(
        url,
        f"""
SELECT c.run_id AS run, p.name AS program, c.series, c.kind, c.toolpath, c.instance,
       c.component, c.feature, c.name, c.quantity, c.nominal, c.actual, c.deviation,
       c.tolerance, c.verdict, c.true_position, c.tolerance_used, c.lower_limit, c.upper_limit,
       c.compared, c.compared_limit, c.result
FROM checks c JOIN runs r ON r.id = c.run_id JOIN programs p ON p.id = r.program_id
WHERE {_program_filter(url)} AND (? IS NULL OR c.run_id = ?)
ORDER BY c.run_id, c.seq""",
        [name, name, run, run],
    )
    frame["run"] = frame["run"].astype(np.int64)
    for column in ("toolpath", "instance", "component", "feature", "result"):
        frame[column] = frame[column].astype(np.int32)
    for column in ("nominal", "actual", "deviation", "tolerance", "tolerance_used",
                   "lower_limit", "upper_limit", "compared", "compared_limit"):
        frame[column] = frame[column].astype(np.float64)
    frame["true_position"] = frame["true_position"].astype(bool)
    frame["quantity"] = pd.Categorical(frame["quantity"], categories=_model.QUANTITY_NAMES)
    frame["verdict"] = pd.Categorical(frame["verdict"], categories=_model.VERDICT_NAMES)
    frame["name"] = frame["name"].astype(object)
    return frame


_POINT_FLOATS = ["nominal_x", "nominal_y", "nominal_z", "direction_x", "direction_y",
                 "direction_z", "o", "u", "l", "measured_x", "measured_y", "measured_z", "r",
                 "deviation"]


def points(url: Any, program: Optional[str] = None, run: Optional[int] = None):
    """The stored inspection points, one row per point, in run order: ``run``, then the columns
    of :meth:`cncprobe.Points.to_pandas`."""
    import pandas as pd

    name = _name_param(url, program)
    frame = _read(
        url,
        f"""
SELECT t.run_id AS run, t.path, t.toolpath, t.instance, t.label, {", ".join("t." + c for c in _POINT_FLOATS)},
       t.verdict
FROM points t JOIN runs r ON r.id = t.run_id JOIN programs p ON p.id = r.program_id
WHERE {_program_filter(url)} AND (? IS NULL OR t.run_id = ?)
ORDER BY t.run_id, t.idx""",
        [name, name, run, run],
    )
    return _typed_points(frame)


def _typed_points(frame):
    import pandas as pd

    frame["run"] = frame["run"].astype(np.int64)
    for column in ("path", "toolpath", "instance"):
        frame[column] = frame[column].astype(np.int32)
    for column in _POINT_FLOATS:
        frame[column] = frame[column].astype(np.float64)
    frame["verdict"] = pd.Categorical(frame["verdict"], categories=_model.VERDICT_NAMES)
    frame["label"] = frame["label"].astype(object)
    return frame
