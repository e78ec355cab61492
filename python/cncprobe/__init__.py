"""cncprobe: on-machine probing results as numpy arrays and pandas tables.

    import cncprobe
    run = cncprobe.extract("run1.txt")            # or units="in" for a file printed in inches
    run.status                                    # ExtractionStatus.SUCCESS, or the problem met
    points, checks = run.to_pandas()              # one row per point, one per feature quantity

Many files at once: :mod:`cncprobe.dask` (``read_points``, ``read_checks``, ``read_summary``);
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
    read_settings,
    references,
)
from .spc import spc
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
    "read_settings",
    "references",
    "spc",
]
