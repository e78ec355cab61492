from ._model import (
    Extraction as Extraction,
    ExtractionStatus as ExtractionStatus,
    Feature as Feature,
    FeatureCheck as FeatureCheck,
    Points as Points,
    ProbePath as ProbePath,
    Quantity as Quantity,
    References as References,
    ResultsFileVersion as ResultsFileVersion,
    Settings as Settings,
    SettingsCode as SettingsCode,
    SettingsError as SettingsError,
    Verdict as Verdict,
    extract as extract,
    extract_many as extract_many,
    read_frames as read_frames,
    read_settings as read_settings,
    references as references,
)
from .spc import spc as spc
from .spc import violations as violations

__all__: list[str]
