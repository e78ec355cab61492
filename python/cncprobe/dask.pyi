import os
from typing import Any, Iterable, Optional, Union

import pandas as pd

Paths = Union[str, os.PathLike[str], Iterable[Union[str, os.PathLike[str]]]]
SUMMARY_COLUMNS: list[str]
PARTITION_BYTES: int

def expand(paths_or_glob: Paths) -> list[str]:
    """The files to read: a glob pattern, a single file, or a list of files."""

def points_frame(file: str, units: str = "mm") -> pd.DataFrame:
    """The points of one file with its ``file`` column; empty when unreadable."""

def checks_frame(file: str, units: str = "mm") -> pd.DataFrame:
    """The feature checks of one file with its ``file`` column; empty when unreadable."""

def summary_frame(file: str, units: str = "mm") -> pd.DataFrame:
    """One row for one file: status, status_name, error, results_file and counts."""

def partitions(files: list[str], files_per_partition: Optional[int] = None,
               partition_bytes: Optional[int] = None) -> list[list[str]]:
    """The files in groups, in order: so many files each, or about partition_bytes of input
    (default: 64 MB, less when every core would not get one)."""

def read_points(paths_or_glob: Paths, units: str = "mm", files_per_partition: Optional[int] = None,
                partition_bytes: Optional[int] = None) -> Any:
    """A Dask DataFrame of every point of the files, one partition per group of files."""

def read_checks(paths_or_glob: Paths, units: str = "mm", files_per_partition: Optional[int] = None,
                partition_bytes: Optional[int] = None) -> Any:
    """A Dask DataFrame of every feature check of the files, one partition per group of files."""

def read_summary(paths_or_glob: Paths, units: str = "mm",
                 files_per_partition: Optional[int] = None, partition_bytes: Optional[int] = None) -> Any:
    """A Dask DataFrame of one row per file: the place to find problem files."""

def read_store(url: str, table: str, npartitions: int = 8) -> Any:
    """A table of a PostgreSQL run store as a Dask DataFrame, partitioned by run."""
