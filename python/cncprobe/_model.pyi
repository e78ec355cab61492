import enum
import os
from typing import Any, Iterable, Optional, Union

import numpy as np
import numpy.typing as npt
import pandas as pd

PathArg = Union[str, bytes, os.PathLike[str], os.PathLike[bytes]]

class ExtractionStatus(enum.IntEnum):
    """The outcome of an extraction: 0 success, 1 to 7 a problem met while reading; the results
    gathered are kept in every case."""

    SUCCESS = 0
    MISSING_END = 1
    MULTIPLE_STARTS = 2
    UNMATCHED_MEASURED_POINT = 3
    UNMEASURED_NOMINAL_POINT = 4
    NO_RESULTS = 5
    OUTSIDE_START_END = 6
    RESULT_CONFLICT = 7

class Verdict(enum.IntEnum):
    """How a point or a feature quantity fared against its limits."""

    NOT_TOLERANCED = 0
    IN = 1
    OUT = 2
    UNMEASURED = 3

class Quantity(enum.IntEnum):
    """What a feature check measures (lengths in mm, angles in degrees)."""

    DIAMETER = 0
    LENGTH = 1
    WIDTH = 2
    CENTRE_OFFSET = 3
    CORNER_OFFSET = 4
    POSITION = 5
    MIDDLE = 6
    ANGLE = 7

VERDICT_NAMES: list[str]
QUANTITY_NAMES: list[str]

class SettingsCode(enum.IntEnum):
    """The outcome of reading an inspection-settings file (the library's error codes)."""

    SUCCESS = 0
    NEWER_VERSION = 1
    INVALID_PATH = 2
    INVALID_VERSION = 3
    INVALID_XML = 4
    INVALID_SETTINGS = 5

class SettingsError(Exception):
    """An inspection-settings file was refused: ``code`` says which check failed first and
    ``message`` says it in words (the library's message)."""

    code: SettingsCode
    message: str
    filename: Any
    def __init__(self, code: SettingsCode, message: str, filename: Any) -> None: ...

class ProbePath:
    """A probe path: its points are rows ``start`` to ``start + count`` of
    :attr:`Extraction.points` (whose ``path`` column is :attr:`index`)."""

    index: int
    toolpath_id: int
    pattern_instance: Optional[int]
    start: int
    count: int
    kind: str
    @property
    def points(self) -> slice:
        """The rows of this path in the arrays of :attr:`Extraction.points`."""

class FeatureCheck:
    """One quantity of a feature checked against its tolerance by the library."""

    quantity: str
    nominal: Optional[float]
    actual: Optional[float]
    deviation: float
    tolerance: Optional[float]
    true_position: bool
    verdict: str
    tolerance_used: Optional[float]
    compared: Optional[float]
    compared_limit: Optional[float]

class Feature:
    """A measured feature: circle, rectangle, corner, surface, angle or perpendicular_distance
    (a wall or channel); ``geometry`` holds the fields of the tool's JSON after print_data."""

    index: int
    kind: str
    toolpath_id: int
    pattern_instance: Optional[int]
    component: Optional[int]
    feature: Optional[int]
    name: Optional[str]
    geometry: dict[str, Any]
    checks: list[FeatureCheck]
    @property
    def print_data(self) -> Optional[dict[str, Any]]:
        """``{"component", "feature"}`` or ``{"feature", "name"}``; None when none was given."""

class Points:
    """Every inspection point of an extraction as numpy arrays, one element per point."""

    path: npt.NDArray[np.int32]
    """Index into :attr:`Extraction.probe_paths`."""
    toolpath: npt.NDArray[np.int32]
    instance: npt.NDArray[np.int32]
    """Pattern instance; -1 when the path has none."""
    nominal: npt.NDArray[np.float64]
    """(N, 3) nominal points, CAD coordinates, mm."""
    direction: npt.NDArray[np.float64]
    """(N, 3) unit probing directions."""
    o: npt.NDArray[np.float64]
    u: npt.NDArray[np.float64]
    l: npt.NDArray[np.float64]
    measured: npt.NDArray[np.float64]
    """(N, 3) measured points; NaN when unmeasured."""
    r: npt.NDArray[np.float64]
    """R of the measured-point record; NaN when unmeasured."""
    deviation: npt.NDArray[np.float64]
    """Signed deviation along the probing direction; NaN when unmeasured or without direction."""
    verdict: npt.NDArray[np.int8]
    """Codes of :class:`Verdict`."""
    def __len__(self) -> int: ...
    @property
    def labels(self) -> npt.NDArray[np.object_]:
        """The label of every point as ``str`` objects (made on first use)."""
    @property
    def nbytes(self) -> int:
        """The bytes held by the number arrays (labels not included)."""
    def to_pandas(self, labels: bool = True) -> pd.DataFrame:
        """The points as a DataFrame, one row per point."""

class Extraction:
    """One results file read by the library: status, results, points and checks."""

    file: Any
    """The file name as given to :func:`extract`."""
    units: str
    """The units the file was read in: "mm" or "in"."""
    status: ExtractionStatus
    results_file: str
    """The text of the last RESULTSFILE record ("" when none)."""
    @property
    def ok(self) -> bool:
        """True for the status success."""
    @property
    def results(self) -> list[Union[ProbePath, Feature]]:
        """Every result in the order of creation."""
    @property
    def probe_paths(self) -> list[ProbePath]:
        """The probe paths (``Points.path`` indexes this list)."""
    @property
    def features(self) -> list[Feature]:
        """The measured features."""
    @property
    def points(self) -> Points:
        """Every inspection point as numpy arrays, made in one pass on first use."""
    def checks_to_pandas(self) -> pd.DataFrame:
        """The feature checks, one row per feature quantity."""
    def to_pandas(self, labels: bool = True) -> tuple[pd.DataFrame, pd.DataFrame]:
        """The points DataFrame and the feature-checks DataFrame."""
    def to_qif(
        self,
        target: Any,
        *,
        true_position: str = "diametral",
        points: str = "all",
        drafting_standard: str = "iso1101",
        time: Optional[str] = None,
    ) -> None:
        """Write the run as a QIF 3.0 results document to a path or a binary file object."""

def extract(path: PathArg, units: str = "mm") -> Extraction:
    """Read a probing results file (printed in ``units``, "mm" or "in"). Statuses are returned,
    never raised; an unreadable file raises FileNotFoundError, IsADirectoryError,
    PermissionError or OSError. Releases the GIL while reading."""

class ResultsFileVersion:
    """The layout version a results file states; ``text`` is None when it states none."""

    text: Optional[str]
    major: int
    minor: int
    build: int
    unversioned: bool

class References:
    """The files and versions a results file refers to; None when not found."""

    file: Any
    results_file_version: ResultsFileVersion
    settings_filename: Optional[str]
    cad_filename: Optional[str]
    cldata_filename: Optional[str]
    document_id: Optional[str]
    document_version: Optional[str]
    model_version: Optional[str]

def references(path: PathArg) -> References:
    """Read the header reference lines of a results file."""

class Settings:
    """Inspection settings as read from a file; lengths in millimetres."""

    file: Any
    code: SettingsCode
    message: str
    version: int
    input_units: str
    proximity_criteria_mm: float
    confetti_diameter_mm: float
    linear_precision: int
    angular_precision: int
    unitless_precision: int
    surface_point_label: str

def extract_many(paths: Iterable[PathArg], units: str = "mm", threads: Optional[int] = None,
                 errors: str = "raise") -> list[Union[Extraction, OSError]]:
    """Read many results files on ``threads`` threads (default: the cores): one Extraction per
    file in order. The first unreadable file's OSError is raised after all were read
    (``errors="raise"``) or takes its place in the list (``errors="return"``)."""

def read_frames(paths: Iterable[PathArg], units: str = "mm", threads: Optional[int] = None,
                labels: bool = True, errors: str = "raise") -> tuple[pd.DataFrame, pd.DataFrame]:
    """The points and checks frames of many files at once: the columns of to_pandas() after a
    ``file`` column. An unreadable file raises its OSError (``errors="raise"``) or adds no rows
    (``errors="skip"``)."""

def read_settings(path: PathArg, units: str = "mm") -> Settings:
    """Read an inspection-settings XML file; raises :class:`SettingsError` unless accepted."""
