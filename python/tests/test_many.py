"""Many files per call: extract_many and read_frames give what one file at a time gives."""

import os

import numpy as np
import pandas as pd
import pytest

import cncprobe
import cncprobe.dask
from conftest import results_file, sample_files


def one_at_a_time(files):
    points, checks = [], []
    for file in files:
        p, c = cncprobe.extract(file).to_pandas()
        p.insert(0, "file", pd.Series([file] * len(p), dtype=object, index=p.index))
        c.insert(0, "file", pd.Series([file] * len(c), dtype=object, index=c.index))
        points.append(p)
        checks.append(c)
    return pd.concat(points, ignore_index=True), pd.concat(checks, ignore_index=True)


@pytest.mark.parametrize("threads", [1, 2, 7])
def test_read_frames_equals_each_file_read_alone(threads):
    files = [str(f) for f in sample_files()] * 3  # the same file twice keeps both
    points, checks = cncprobe.read_frames(files, threads=threads)
    expected_points, expected_checks = one_at_a_time(files)
    pd.testing.assert_frame_equal(points, expected_points)
    pd.testing.assert_frame_equal(checks, expected_checks)
    without_labels, _ = cncprobe.read_frames(files, threads=threads, labels=False)
    pd.testing.assert_frame_equal(without_labels, expected_points.drop(columns="label"))


@pytest.mark.parametrize("threads", [1, 3])
def test_extract_many_equals_extract(threads):
    files = sample_files()
    for file, run in zip(files, cncprobe.extract_many(files, threads=threads)):
        alone = cncprobe.extract(file)
        assert run.file == os.fspath(file) and run.status == alone.status
        assert run.results == alone.results
        for name, column in alone.points._arrays().items():
            np.testing.assert_array_equal(getattr(run.points, name), column)
        assert list(run.points.labels) == list(alone.points.labels)


def test_unreadable_files_in_a_batch(tmp_path):
    good = tmp_path / "good.res"
    good.write_bytes(results_file(4))
    missing, folder = tmp_path / "missing.res", tmp_path / "folder.res"
    folder.mkdir()
    files = [good, missing, good, folder]

    # The first unreadable file in the order given is raised, as extract raises it.
    for read in (cncprobe.extract_many, cncprobe.read_frames):
        with pytest.raises(FileNotFoundError) as caught:
            read(files)
        assert caught.value.filename == str(missing) and "no such file" in str(caught.value)

    runs = cncprobe.extract_many(files, errors="return")
    assert [type(r).__name__ for r in runs] == [
        "Extraction", "FileNotFoundError", "Extraction", "IsADirectoryError"]
    assert runs[3].filename == str(folder)

    points, checks = cncprobe.read_frames(files, errors="skip")
    assert points["file"].tolist() == [str(good)] * 8
    assert set(checks["file"]) == {str(good)}

    for bad in [dict(errors="ignore"), dict(threads=0), dict(threads=True), dict(units="cm")]:
        with pytest.raises(ValueError):
            cncprobe.read_frames([good], **bad)
    for read in (cncprobe.extract_many, cncprobe.read_frames):
        with pytest.raises(TypeError):
            read(str(good))  # one name, not a list of them


def test_no_files():
    assert cncprobe.extract_many([]) == []
    points, checks = cncprobe.read_frames([])
    expected_points, expected_checks = (f.iloc[:0] for f in one_at_a_time(sample_files()[:1]))
    assert points.dtypes.equals(expected_points.dtypes) and len(points) == 0
    assert checks.dtypes.equals(expected_checks.dtypes) and len(checks) == 0


@pytest.mark.parametrize("sizes, per_partition, limit, expected", [
    ([1, 1, 1, 1, 1], 2, None, [[0, 1], [2, 3], [4]]),
    ([10, 10, 10, 10], None, 25, [[0, 1], [2, 3]]),
    ([10, 30, 10], None, 25, [[0], [1], [2]]),  # a file larger than a partition: alone
    ([5, None, 5], None, 10, [[0, 1, 2]]),  # an unreadable file counts as empty
    ([], None, 10, []),
])
def test_partitions_group_files_in_order(tmp_path, sizes, per_partition, limit, expected):
    files = []
    for i, size in enumerate(sizes):
        path = tmp_path / f"f{i}.res"
        if size is not None:
            path.write_bytes(b"x" * size)
        files.append(str(path))
    kwargs = {"partition_bytes": limit} if limit else {}
    groups = cncprobe.dask.partitions(files, per_partition, **kwargs)
    assert groups == [[files[i] for i in group] for group in expected]


@pytest.mark.parametrize("sizes, cores, expected", [
    ([10] * 8, 4, [[0, 1], [2, 3], [4, 5], [6, 7]]),
    ([1, 1, 1, 30], 2, [[0, 1, 2], [3]]),  # equal shares of the bytes, not of the files
    ([5, 5], 8, [[0], [1]]),  # no more groups than files
    ([0, 0, 0], 2, [[0, 1, 2]]),
])
def test_a_small_input_gives_every_core_a_partition(tmp_path, monkeypatch, sizes, cores, expected):
    files = []
    for i, size in enumerate(sizes):
        (tmp_path / f"f{i}.res").write_bytes(b"x" * size)
        files.append(str(tmp_path / f"f{i}.res"))
    monkeypatch.setattr(os, "cpu_count", lambda: cores)
    assert cncprobe.dask.partitions(files) == [[files[i] for i in group] for group in expected]


def test_dask_frames_are_lazy_with_the_right_metadata(tmp_path):
    for i in range(5):
        (tmp_path / f"run{i}.res").write_bytes(results_file(3 + i, toolpath=i + 1))
    files = sorted(str(p) for p in tmp_path.glob("*.res"))
    expected_points, expected_checks = one_at_a_time(files)
    points = cncprobe.dask.read_points(files, files_per_partition=2)
    checks = cncprobe.dask.read_checks(files, files_per_partition=2)
    # Nothing read yet: the columns and dtypes come from the metadata alone.
    assert points.npartitions == checks.npartitions == 3
    assert list(points.columns) == list(expected_points.columns)
    assert points.dtypes.equals(expected_points.dtypes)
    assert checks.dtypes.equals(expected_checks.dtypes)
    assert os.fspath(files[0]) in points["file"].compute().tolist()
    pd.testing.assert_frame_equal(points.compute().reset_index(drop=True), expected_points)
    pd.testing.assert_frame_equal(checks.compute().reset_index(drop=True), expected_checks)
    # Far below 64 MB: as many partitions as cores, but no more than files.
    cores = os.cpu_count() or 1
    assert cncprobe.dask.read_points(files).npartitions == min(cores, len(files))
