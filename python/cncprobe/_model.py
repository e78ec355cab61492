"""The Python face of an extraction, references and settings: enums, small classes, DataFrames.

Everything here shapes what the extension module ``_cncprobe`` hands out. Reading files,
deviations, verdicts and the names of statuses, verdicts and quantities all come from the library
through that module; nothing is judged twice.
"""

from __future__ import annotations

import enum
import os
from dataclasses import dataclass, field
from typing import Any, Optional, Union

import numpy as np

from . import _cncprobe

PathArg = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

#: Extraction statuses, named as the library names them (``SUCCESS``, ``MISSING_END`` ...).
ExtractionStatus = enum.IntEnum(
    "ExtractionStatus", [(name.upper(), code) for code, name in _cncprobe.STATUSES], module=__name__
)
ExtractionStatus.__doc__ = (
    "The outcome of an extraction: 0 success, 1 to 7 a problem met while reading; the results "
    "gathered are kept in every case."
)

#: How a point or a feature quantity fared against its limits (the library's verdicts).
Verdict = enum.IntEnum(
    "Verdict", [(name.upper(), code) for code, name in _cncprobe.VERDICTS], module=__name__
)
Verdict.__doc__ = "How a point or a feature quantity fared against its limits."
#: What a feature check measures (the library's quantities).
Quantity = enum.IntEnum(
    "Quantity", [(name.upper(), code) for code, name in _cncprobe.QUANTITIES], module=__name__
)
Quantity.__doc__ = "What a feature check measures (lengths in mm, angles in degrees)."
VERDICT_NAMES = [name for _, name in _cncprobe.VERDICTS]
QUANTITY_NAMES = [name for _, name in _cncprobe.QUANTITIES]


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

    def __init__(self, code: SettingsCode, message: str, filename: Any) -> None:
        super().__init__(f"{os.fsdecode(filename)}: {message}")
        self.code = code
        self.message = message
        self.filename = filename


# The SettingsError classes that are also an OSError subclass, by that subclass.
_SETTINGS_FILE_ERRORS: dict = {}


def _unreadable_settings(code: SettingsCode, message: str, filename: Any, errno_code: int,
                         words: str) -> SettingsError:
    """The error of a settings file that could not be read: a :class:`SettingsError` that is also
    the OSError subclass Python picks for the errno (FileNotFoundError, PermissionError,
    IsADirectoryError, else OSError), so it is caught as either."""
    os_class = type(OSError(errno_code, words))
    cls = _SETTINGS_FILE_ERRORS.get(os_class)
    if cls is None:
        cls = type(f"Settings{os_class.__name__}", (SettingsError, os_class),
                   {"__module__": __name__, "__doc__": _unreadable_settings.__doc__})
        _SETTINGS_FILE_ERRORS[os_class] = cls
    error = cls(code, message, filename)
    error.errno, error.strerror, error.filename = errno_code, words, filename
    return error


def _name_arguments(path: PathArg) -> tuple[bytes, Any]:
    """The file name's bytes for the library and the name as given, for error messages."""
    name = os.fspath(path)
    if isinstance(name, str):
        return os.fsencode(name), name
    if isinstance(name, bytes):
        return name, name
    raise TypeError(f"expected str, bytes or os.PathLike, not {type(path).__name__}")


def _units_name(units: str) -> str:
    if units not in ("mm", "in"):
        raise ValueError(f'units must be "mm" or "in", not {units!r}')
    return units


# ---------------------------------------------------------------------------------------------
# Results


@dataclass(frozen=True)
class ProbePath:
    """A probe path: its points are rows ``start`` to ``start + count`` of
    :attr:`Extraction.points` (whose ``path`` column is :attr:`index`)."""

    index: int
    toolpath_id: int
    pattern_instance: Optional[int]
    start: int
    count: int
    kind: str = "probe_path"

    @property
    def points(self) -> slice:
        """The rows of this path in the arrays of :attr:`Extraction.points`."""
        return slice(self.start, self.start + self.count)


@dataclass(frozen=True)
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
    #: The value held against ``compared_limit``: twice the offset under a diametral
    #: true-position zone, the deviation otherwise; None when not toleranced.
    compared: Optional[float]
    #: The tolerance ``compared`` is held against; None when not toleranced.
    compared_limit: Optional[float]


@dataclass(frozen=True)
class Feature:
    """A measured feature (circle, rectangle, corner, surface, angle or
    perpendicular_distance for a wall or channel).

    ``geometry`` holds the fields the tool's JSON gives after ``print_data``: ``nominal``,
    ``actual``, the tolerances, ``axis``... with points and vectors as ``(x, y, z)`` tuples;
    lengths in millimetres, angles in degrees.
    """

    index: int
    kind: str
    toolpath_id: int
    pattern_instance: Optional[int]
    component: Optional[int]
    feature: Optional[int]
    name: Optional[str]
    geometry: dict
    checks: list = field(default_factory=list)

    @property
    def print_data(self) -> Optional[dict]:
        """The feature's identity as the tool prints it: ``{"component", "feature"}`` or
        ``{"feature", "name"}``; None when the report gave none."""
        if self.feature is None:
            return None
        if self.name is not None:
            return {"feature": self.feature, "name": self.name}
        return {"component": self.component, "feature": self.feature}


@dataclass
class Points:
    """Every inspection point of an extraction, one array element (or row) per point, in the
    order of the probe paths and of their points.

    ``path`` is the index into :attr:`Extraction.probe_paths`; ``instance`` is -1 for a path
    without a pattern instance; ``measured`` and ``r`` are NaN for an unmeasured point;
    ``deviation`` (along the probing direction, NaN when unmeasured or without direction) and
    ``verdict`` (codes of :class:`Verdict`) are the library's point checks. Lengths in mm.
    """

    path: np.ndarray  # int32
    toolpath: np.ndarray  # int32
    instance: np.ndarray  # int32, -1 when none
    nominal: np.ndarray  # float64 (N, 3)
    direction: np.ndarray  # float64 (N, 3)
    o: np.ndarray
    u: np.ndarray
    l: np.ndarray  # noqa: E741  (the record's own letter)
    measured: np.ndarray  # float64 (N, 3), NaN when unmeasured
    r: np.ndarray  # NaN when unmeasured
    deviation: np.ndarray  # float64, NaN when none
    verdict: np.ndarray  # int8 codes of Verdict
    _extraction: Any = field(default=None, repr=False, compare=False)
    _labels: Optional[np.ndarray] = field(default=None, repr=False, compare=False)

    def __len__(self) -> int:
        return len(self.path)

    @property
    def labels(self) -> np.ndarray:
        """The label of every point as a numpy array of ``str`` (made on first use: the
        numbers above do not pay for it)."""
        if self._labels is None:
            self._labels = (
                self._extraction.labels() if self._extraction is not None else np.empty(0, object)
            )
        return self._labels

    @property
    def nbytes(self) -> int:
        """The bytes held by the number arrays (labels not included)."""
        return sum(a.nbytes for a in self._arrays().values())

    def _arrays(self) -> dict:
        names = ["path", "toolpath", "instance", "nominal", "direction", "o", "u", "l"]
        names += ["measured", "r", "deviation", "verdict"]
        return {n: getattr(self, n) for n in names}

    def to_pandas(self, labels: bool = True):
        """The points as a DataFrame, one row per point; vectors split into ``_x``, ``_y``,
        ``_z`` columns and the verdict a categorical of the verdict names."""
        import pandas as pd

        columns: dict = {
            "path": self.path,
            "toolpath": self.toolpath,
            "instance": self.instance,
        }
        if labels:
            columns["label"] = self.labels
        for name in ("nominal", "direction"):
            for axis, letter in enumerate("xyz"):
                columns[f"{name}_{letter}"] = getattr(self, name)[:, axis]
        columns.update(o=self.o, u=self.u, l=self.l)
        for axis, letter in enumerate("xyz"):
            columns[f"measured_{letter}"] = self.measured[:, axis]
        columns["r"] = self.r
        columns["deviation"] = self.deviation
        columns["verdict"] = pd.Categorical.from_codes(self.verdict, VERDICT_NAMES)
        return pd.DataFrame(columns, copy=False)


class Extraction:
    """One results file read by the library: its status, results, points and checks.

    Made by :func:`cncprobe.extract`. Lengths are millimetres in CAD coordinates, angles
    degrees, whatever units the file was printed in.
    """

    def __init__(self, core: Any, file: Any, units: str) -> None:
        self._core = core
        #: The file name as given to :func:`cncprobe.extract`.
        self.file = file
        #: The units the file was read in: "mm" or "in".
        self.units = units
        #: The extraction status.
        self.status = ExtractionStatus(core.status)
        #: The text of the last RESULTSFILE record ("" when there was none).
        self.results_file: str = core.results_file
        self._points: Optional[Points] = None
        self._results: Optional[list] = None

    def __repr__(self) -> str:
        return (
            f"<cncprobe.Extraction {os.fsdecode(self.file)!r} status={self.status.name} "
            f"probe_paths={len(self.probe_paths)} features={len(self.features)} "
            f"points={self._core.point_count}>"
        )

    @property
    def ok(self) -> bool:
        """True for the status success."""
        return self.status == ExtractionStatus.SUCCESS

    @property
    def results(self) -> list:
        """Every result in the order of creation: :class:`ProbePath` and :class:`Feature`."""
        if self._results is None:
            checks = self._checks_by_result()
            results: list = []
            for index, r in enumerate(self._core.results()):
                instance = r["pattern_instance"]
                if r["kind"] == "probe_path":
                    results.append(
                        ProbePath(r["path_index"], r["toolpath_id"], instance, r["start"], r["count"])
                    )
                    continue
                data = r.pop("print_data") or {}
                geometry = {k: v for k, v in r.items() if k not in ("kind", "toolpath_id", "pattern_instance")}
                results.append(
                    Feature(
                        index, r["kind"], r["toolpath_id"], instance, data.get("component"),
                        data.get("feature"), data.get("name"), geometry, checks.get(index, []),
                    )
                )
            self._results = results
        return self._results

    @property
    def probe_paths(self) -> list:
        """The probe paths, in the order of creation (``Points.path`` indexes this list)."""
        return [r for r in self.results if isinstance(r, ProbePath)]

    @property
    def features(self) -> list:
        """The measured features, in the order of creation."""
        return [r for r in self.results if isinstance(r, Feature)]

    @property
    def points(self) -> Points:
        """Every inspection point as numpy arrays, made in one pass on first use."""
        if self._points is None:
            self._points = Points(**self._core.points(), _extraction=self._core)
        return self._points

    def _check_columns(self) -> dict:
        return self._core.feature_checks()

    def _checks_by_result(self) -> dict:
        c = self._check_columns()
        by: dict = {}
        for i, result in enumerate(c["result"]):
            by.setdefault(result, []).append(
                FeatureCheck(
                    QUANTITY_NAMES[c["quantity"][i]],
                    _none_if_nan(c["nominal"][i]),
                    _none_if_nan(c["actual"][i]),
                    c["deviation"][i],
                    _none_if_nan(c["tolerance"][i]),
                    c["true_position"][i],
                    VERDICT_NAMES[c["verdict"][i]],
                    _none_if_nan(c["tolerance_used"][i]),
                    _none_if_nan(c["compared"][i]),
                    _none_if_nan(c["compared_limit"][i]),
                )
            )
        return by

    def checks_to_pandas(self):
        """The feature checks as a DataFrame, one row per feature quantity: kind, toolpath,
        instance (-1 when none), component, feature (-1 when the report gave none), name, quantity,
        nominal, actual, deviation, tolerance (NaN when none), verdict, and the library's
        true_position flag, tolerance_used, lower_limit and upper_limit (the deviations at which
        the verdict turns; NaN where there is none), compared and compared_limit (the value held
        against the tolerance: twice the offset under a diametral true-position zone) and result
        (index into :attr:`results`)."""
        import pandas as pd

        c = self._check_columns()
        frame = pd.DataFrame(
            {
                "kind": pd.Series(c["kind"], dtype=object),
                "toolpath": np.asarray(c["toolpath"], dtype=np.int32),
                "instance": np.asarray(c["instance"], dtype=np.int32),
                "component": np.asarray(c["component"], dtype=np.int32),
                "feature": np.asarray(c["feature"], dtype=np.int32),
                "name": pd.Series(c["name"], dtype=object),
                "quantity": pd.Categorical.from_codes(
                    np.asarray(c["quantity"], dtype=np.int8), QUANTITY_NAMES
                ),
                "nominal": np.asarray(c["nominal"], dtype=np.float64),
                "actual": np.asarray(c["actual"], dtype=np.float64),
                "deviation": np.asarray(c["deviation"], dtype=np.float64),
                "tolerance": np.asarray(c["tolerance"], dtype=np.float64),
                "verdict": pd.Categorical.from_codes(
                    np.asarray(c["verdict"], dtype=np.int8), VERDICT_NAMES
                ),
                "true_position": np.asarray(c["true_position"], dtype=bool),
                "tolerance_used": np.asarray(c["tolerance_used"], dtype=np.float64),
                "lower_limit": np.asarray(c["lower_limit"], dtype=np.float64),
                "upper_limit": np.asarray(c["upper_limit"], dtype=np.float64),
                "compared": np.asarray(c["compared"], dtype=np.float64),
                "compared_limit": np.asarray(c["compared_limit"], dtype=np.float64),
                "result": np.asarray(c["result"], dtype=np.int32),
            }
        )
        return frame

    def to_pandas(self, labels: bool = True):
        """Two DataFrames: the points (one row per point, see :meth:`Points.to_pandas`) and the
        feature checks (one row per feature quantity, see :meth:`checks_to_pandas`)."""
        return self.points.to_pandas(labels=labels), self.checks_to_pandas()

    def to_qif(
        self,
        target: Any,
        *,
        true_position: str = "diametral",
        points: str = "all",
        drafting_standard: str = "iso1101",
        time: Optional[str] = None,
    ) -> None:
        """Write the run as a QIF 3.0 results document, as ``cncprobe extract --format qif``.

        ``target`` is a path (the file is created or replaced) or a binary file object with a
        ``write`` method. ``true_position`` ("diametral" or "radial") says how TOL TP is read,
        ``points`` ("all", "outside" or "none") which inspection points become features of their
        own, ``drafting_standard`` ("iso1101" or "asme-y14.5") the standard named, and ``time``
        the creation time written (an XML date and time such as "2026-11-23T10:15:00Z"; None:
        now). The same file and time give the same bytes. Raises ``ValueError`` for an option
        outside its values or a time that is not an XML date and time. The results file is read
        again for its header references and its digest.
        """
        conventions = {"diametral": 0, "radial": 1}
        point_choices = {"all": 0, "outside": 1, "none": 2}
        standards = {"iso1101": 0, "asme-y14.5": 1}
        for value, allowed, what in (
            (true_position, conventions, "true_position"),
            (points, point_choices, "points"),
            (drafting_standard, standards, "drafting_standard"),
        ):
            if value not in allowed:
                raise ValueError(f"{what} must be one of {', '.join(map(repr, allowed))}, not {value!r}")
        time_text = "" if time is None else time
        if time_text and not _cncprobe.valid_qif_time(time_text):
            raise ValueError(f"time must be an XML date and time such as 2026-11-23T10:15:00Z, not {time!r}")
        shown = os.fsdecode(self.file)
        args = (shown, conventions[true_position], standards[drafting_standard],
                point_choices[points], time_text)
        if hasattr(target, "write"):
            written = self._core.write_qif(target.write, *args)
        else:
            with open(target, "wb") as out:
                written = self._core.write_qif(out.write, *args)
        if not written:
            raise ValueError(f"time must be an XML date and time such as 2026-11-23T10:15:00Z, not {time!r}")


def _none_if_nan(value: float) -> Optional[float]:
    return None if value != value else value


def extract(path: PathArg, units: str = "mm") -> Extraction:
    """Read a probing results file and return its :class:`Extraction`.

    ``units`` names the units the file was printed in, "mm" or "in"; the results are in
    millimetres either way. Every extraction status, problems included, is returned in
    ``Extraction.status``, never raised. A file that cannot be read raises
    ``FileNotFoundError``, ``IsADirectoryError``, ``PermissionError`` or ``OSError`` naming it.
    The GIL is released while the file is read, so threads extract files side by side.
    """
    name, shown = _name_arguments(path)
    units = _units_name(units)
    return Extraction(_cncprobe.extract(name, shown, units), shown, units)


@dataclass(frozen=True)
class ResultsFileVersion:
    """The layout version a results file states; ``text`` is None when it states none."""

    text: Optional[str]
    major: int
    minor: int
    build: int
    unversioned: bool


@dataclass(frozen=True)
class References:
    """The files and versions a results file refers to in its header; None when not found,
    "" when the line was there without a value."""

    file: Any
    results_file_version: ResultsFileVersion
    settings_filename: Optional[str]
    cad_filename: Optional[str]
    cldata_filename: Optional[str]
    document_id: Optional[str]
    document_version: Optional[str]
    model_version: Optional[str]


def references(path: PathArg) -> References:
    """Read the header reference lines of a results file (without extracting it). A file that
    cannot be read raises the matching ``OSError``."""
    name, shown = _name_arguments(path)
    d = _cncprobe.references(name, shown)
    d.pop("status")
    version = ResultsFileVersion(**d.pop("results_file_version"))
    return References(file=shown, results_file_version=version, **d)


@dataclass(frozen=True)
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


def read_settings(path: PathArg, units: str = "mm") -> Settings:
    """Read an inspection-settings XML file; ``units`` are the input units assumed when the file
    names none. Returns the settings when the file was accepted (``code`` success or
    newer_version); raises :class:`SettingsError` with the library's code and message otherwise
    (a file that cannot be opened is ``SettingsCode.INVALID_PATH``, and the error is then also the
    matching OSError: FileNotFoundError, PermissionError, IsADirectoryError, else OSError)."""
    name, shown = _name_arguments(path)
    d = _cncprobe.read_settings(name, _units_name(units))
    code = SettingsCode(d["code"])
    if d["input_errno"] is not None:
        raise _unreadable_settings(code, d["message"], shown, d["input_errno"], d["input_problem"])
    if code not in (SettingsCode.SUCCESS, SettingsCode.NEWER_VERSION):
        raise SettingsError(code, d["message"], shown)
    return Settings(file=shown, code=code, message=d["message"], **d["settings"])


# ---------------------------------------------------------------------------------------------
# Many files per call


def _thread_count(threads: Optional[int]) -> int:
    """0 (the machine's cores) for None; otherwise a positive number of threads."""
    if threads is None:
        return 0
    if isinstance(threads, bool) or not isinstance(threads, int) or threads < 1:
        raise ValueError(f"threads must be a positive int or None, not {threads!r}")
    return threads


def _names_of_files(paths) -> list:
    """The name arguments of every file of a list (a single name is refused: its letters would be
    taken for files)."""
    if isinstance(paths, (str, bytes, os.PathLike)):
        raise TypeError("expected a list of files, not one file name (extract reads one file)")
    return [_name_arguments(p) for p in paths]


def _errors_mode(errors: str, allowed: tuple) -> str:
    if errors not in allowed:
        raise ValueError(f"errors must be one of {', '.join(map(repr, allowed))}, not {errors!r}")
    return errors


def extract_many(paths, units: str = "mm", threads: Optional[int] = None,
                 errors: str = "raise") -> list:
    """Read many results files at once: one :class:`Extraction` per file, in the order given.

    The files are read on ``threads`` threads (default: the machine's cores) with the GIL
    released; the outcome is the same as :func:`extract` of each file in turn. Every file is read
    before anything is raised. A file that cannot be read raises its ``OSError``
    (``FileNotFoundError`` ...) as :func:`extract` does, the first such file in the order given,
    with ``errors="raise"`` (the default); with ``errors="return"`` the ``OSError`` takes that
    file's place in the list instead.
    """
    pairs = _names_of_files(paths)
    units = _units_name(units)
    errors = _errors_mode(errors, ("raise", "return"))
    cores = _cncprobe.extract_many([name for name, _ in pairs], units, _thread_count(threads))
    extractions: list = []
    for core, (_, shown) in zip(cores, pairs):
        if core.input_errno is not None:
            error = OSError(core.input_errno, core.input_problem, shown)
            if errors == "raise":
                raise error
            extractions.append(error)
        else:
            extractions.append(Extraction(core, shown, units))
    return extractions


class _CheckColumns:
    """The feature-check columns of many files, made a frame as one extraction's are."""

    def __init__(self, columns: dict) -> None:
        self._columns = columns

    def _check_columns(self) -> dict:
        return self._columns

    checks_to_pandas = Extraction.checks_to_pandas


def read_frames(paths, units: str = "mm", threads: Optional[int] = None, labels: bool = True,
                errors: str = "raise"):
    """The points and feature-checks DataFrames of many results files at once.

    Returns ``(points, checks)``: the frames of :meth:`Extraction.to_pandas` of every file, one
    after another in the order given, with a ``file`` column first (the name as given); the
    other columns and their dtypes are those of ``to_pandas``. ``path`` and ``result`` index the
    probe paths and results of the row's own file. The columns of all files are filled in one
    pass in the library, on ``threads`` threads (default: the machine's cores) without the GIL,
    and each frame is made once.

    A file that cannot be read raises its ``OSError`` (the first such file in the order given)
    with ``errors="raise"`` (the default); with ``errors="skip"`` it adds no rows.
    """
    import pandas as pd

    pairs = _names_of_files(paths)
    units = _units_name(units)
    errors = _errors_mode(errors, ("raise", "skip"))
    d = _cncprobe.read_frames([name for name, _ in pairs], units, _thread_count(threads), 0,
                              labels)
    if d["unreadable"] and errors == "raise":
        index, code, words = d["unreadable"][0]
        raise OSError(code, words, pairs[index][1])
    names = np.empty(len(pairs), dtype=object)
    names[:] = [shown for _, shown in pairs]

    p = d["points"]
    point_files = p.pop("file")
    points = Points(**p, _labels=d.get("labels")).to_pandas(labels=labels)
    points.insert(0, "file", pd.Series(names[point_files], dtype=object, index=points.index))

    c = d["checks"]
    check_files = c.pop("file")
    checks = _CheckColumns(c).checks_to_pandas()
    checks.insert(0, "file", pd.Series(names[check_files], dtype=object, index=checks.index))
    return points, checks
