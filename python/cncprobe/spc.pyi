from typing import Any, Iterable

import pandas as pd

KEY: list[str]
COLUMNS: list[str]
ALL_RULES: tuple[int, ...]

def spc(checks: Any, baseline: int | None = None,
        rules: str | Iterable[int] = ...) -> pd.DataFrame:
    """Per feature quantity across runs: the I-MR chart (centre, sigma within, control limits),
    Cp/Cpk from the moving ranges, Pp/Ppk from s, n and the preliminary marks, the violations."""

def violations(checks: Any, baseline: int | None = None,
               rules: str | Iterable[int] = ...) -> pd.DataFrame:
    """One row per run rule that fired on a judged run."""
