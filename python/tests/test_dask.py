"""cncprobe.dask on a two-process LocalCluster on the loopback and on the local scheduler."""

import os

import pytest

import cncprobe
import cncprobe.dask
from conftest import ROOT, results_file

# Measured points without a probing direction, and a point never measured.
UNJUDGED = ROOT / "tests" / "data" / "extraction" / "unmeasured_and_unjudged_points.res"


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    root = tmp_path_factory.mktemp("runs")
    for i in range(6):
        (root / f"run{i:02}.res").write_bytes(results_file(5 + 7 * i, toolpath=i + 1))
    (root / "run90.res").write_bytes(results_file(3, end=False))  # missing END: kept
    (root / "run91.res").write_bytes(b"nothing to read\n")  # no results
    (root / "run92.res").write_bytes(UNJUDGED.read_bytes())
    (root / "run99.res").mkdir()  # matched by the glob, cannot be read
    return root


def single(folder):
    counts = {}
    for path in sorted(folder.glob("*.res")):
        try:
            run = cncprobe.extract(path)
        except OSError:
            counts[str(path)] = (0, 0)
            continue
        counts[str(path)] = (len(run.points), len(run.to_pandas()[1]))
    return counts


def check(folder, points, checks, summary, partitions):
    expected = single(folder)
    assert points.npartitions == checks.npartitions == summary.npartitions == partitions
    # Used lazily, as a script does before it computes: the frames' metadata is what every
    # partition holds, column for column and dtype for dtype.
    lazy_sizes = points.groupby("file").size().compute()
    assert lazy_sizes.reindex(list(expected), fill_value=0).tolist() == [
        n for n, _ in expected.values()]
    assert checks.groupby("file")["tolerance"].count().compute().sum() == checks["tolerance"].count().compute()
    assert len(summary[summary.status != 0].compute()) == 4
    for lazy in (points, checks, summary):
        computed = lazy.compute()
        assert list(lazy.columns) == list(computed.columns)
        assert lazy.dtypes.astype(str).tolist() == computed.dtypes.astype(str).tolist()
    p, c, s = points.compute(), checks.compute(), summary.compute()
    assert p.groupby("file").size().reindex(list(expected), fill_value=0).tolist() == [
        n for n, _ in expected.values()]
    assert c.groupby("file").size().reindex(list(expected), fill_value=0).tolist() == [
        n for _, n in expected.values()]
    assert s["file"].tolist() == list(expected)
    by_file = s.set_index("file")
    unreadable = by_file.loc[str(folder / "run99.res")]
    assert unreadable["status"] == -1 and unreadable["error"].startswith("IsADirectoryError")
    assert by_file.loc[str(folder / "run90.res"), "status_name"] == "missing_end"
    assert by_file.loc[str(folder / "run91.res"), "status_name"] == "no_results"
    unjudged = by_file.loc[str(folder / "run92.res")]
    assert (unjudged["points"], unjudged["measured"], unjudged["not_toleranced"]) == (5, 4, 1)
    assert by_file["not_toleranced"].dtype == "int64"
    assert by_file["points"].tolist() == [n for n, _ in expected.values()]
    assert p.dtypes["verdict"].name == "category" and p["instance"].eq(-1).all()
    assert c["tolerance"].dtype == "float64"


def test_local_scheduler_by_default(folder):
    pattern = str(folder / "*.res")
    check(folder, cncprobe.dask.read_points(pattern), cncprobe.dask.read_checks(pattern),
          cncprobe.dask.read_summary(pattern),
          len(cncprobe.dask.partitions(cncprobe.dask.expand(pattern))))


def test_two_worker_processes_on_the_loopback(folder):
    distributed = pytest.importorskip("distributed")
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  host="127.0.0.1", dashboard_address=None,
                                  worker_dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        assert len(client.scheduler_info()["workers"]) == 2
        files = sorted(str(p) for p in folder.glob("*.res"))  # a list works as a glob does
        check(folder, cncprobe.dask.read_points(files, files_per_partition=3),
              cncprobe.dask.read_checks(files, files_per_partition=3),
              cncprobe.dask.read_summary(files, files_per_partition=3), (len(files) + 2) // 3)
        # The work ran in the workers' processes, not in this one.
        pids = client.run(os.getpid)
        assert len(pids) == 2 and os.getpid() not in pids.values()


def test_nothing_matched_gives_an_empty_frame(tmp_path):
    assert len(cncprobe.dask.read_points(str(tmp_path / "*.res")).compute()) == 0
