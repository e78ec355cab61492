from typing import Any

import pandas as pd

KEY: list[str]

def spc(checks: Any) -> pd.DataFrame:
    """Per feature quantity across runs: n, mean, std (n - 1), min, max, nominal, tolerance,
    out, Cp and Cpk against the limits at which the library's verdict turns."""
