from typing import Any, Optional

import pandas as pd

def runs(url: Any, program: Optional[str] = None, since: Optional[str] = None) -> pd.DataFrame:
    """The stored runs, oldest first."""

def checks(url: Any, program: Optional[str] = None, run: Optional[int] = None) -> pd.DataFrame:
    """The stored feature checks, as Extraction.checks_to_pandas with run, program, series."""

def points(url: Any, program: Optional[str] = None, run: Optional[int] = None) -> pd.DataFrame:
    """The stored inspection points, as Points.to_pandas with a run column."""
