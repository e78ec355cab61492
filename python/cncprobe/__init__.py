"""cncprobe: on-machine probing results as numpy arrays and pandas tables.

    import cncprobe
    run = cncprobe.extract("run1.txt")            # or units="in" for a file printed in inches
    run.status                                    # ExtractionStatus.SUCCESS, or the problem met
    points, checks = run.to_pandas()              # one row per point, one per feature quantity

Many files at once: ``cncprobe.extract_many(files)`` (one Extraction each) and
``cncprobe.read_frames(files)`` (the points and checks of all of them, two DataFrames with a
``file`` column); larger than memory or on a cluster: :mod:`cncprobe.dask` (``read_points``,
``read_checks``, ``read_summary``);
trends across runs: :func:`cncprobe.spc`; the runs kept by ``cncprobe ingest``:
:mod:`cncprobe.store`. Lengths are millimetres in CAD coordinates, angles
degrees. Text from a file that is not valid UTF-8 has each bad byte replaced by U+FFFD, as in
the ``cncprobe`` tool's JSON.
"""

from ._model import (
    Extraction,
    ExtractionStatus,
    Feature,
    FeatureCheck,
    Points,
    ProbePath,
    Quantity,
    References,
    ResultsFileVersion,
    Settings,
    SettingsCode,
    SettingsError,
    Verdict,
    extract,
    extract_many,
    read_frames,
    read_settings,
    references,
)
from .spc import spc, violations
from . import store

__all__ = [
    "Extraction",
    "ExtractionStatus",
    "Feature",
    "FeatureCheck",
    "Points",
    "ProbePath",
    "Quantity",
    "References",
    "ResultsFileVersion",
    "Settings",
    "SettingsCode",
    "SettingsError",
    "Verdict",
    "extract",
    "extract_many",
    "read_frames",
    "read_settings",
    "references",
    "spc",
    "violations",
]
