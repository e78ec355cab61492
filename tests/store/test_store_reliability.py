"""The run store under the faults a shop floor brings: a killed ingest, two ingests at once, a
file still being written, a store that cannot be used, and text meant to break SQL."""

import os
import pathlib
import signal
import stat
import subprocess
import sys
import time

import pytest

from conftest import BRACKET, POSTGRES, big_file, count, run_tool, small_file

import cncprobe.store


def wait_for(condition, timeout=60.0):
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        if condition():
            return True
        time.sleep(0.01)
    return False


def writing_points(url, store_file):
    """True once an ingest is in the middle of writing its points."""
    if url.startswith("postgresql"):
        return count(url, "SELECT count(*) FROM pg_stat_activity WHERE query LIKE 'COPY points%'") > 0
    wal = store_file + "-wal"
    return os.path.exists(wal) and os.path.getsize(wal) > 4 << 20


def test_killed_ingest_leaves_no_partial_run(tool, store_url, tmp_path):
    big = tmp_path / "big.txt"
    big_file(big, 300_000)
    # The store and its tables exist before the kill, so the test sees what the kill leaves.
    small = tmp_path / "small.txt"
    small_file(small, 1)
    assert run_tool(tool, "ingest", small, "--db", store_url).returncode == 0

    process = subprocess.Popen([tool, "ingest", str(big), "--db", store_url],
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        assert wait_for(lambda: writing_points(store_url, store_url)), "never saw the points written"
    finally:
        process.send_signal(signal.SIGKILL)
        process.wait()
    assert count(store_url, "SELECT count(*) FROM runs") == 1
    assert count(store_url, "SELECT count(*) FROM points") == 0
    assert count(store_url, "SELECT count(*) FROM checks") == 2

    done = run_tool(tool, "ingest", big, "--db", store_url)
    assert done.returncode == 0, done.stderr
    assert count(store_url, "SELECT count(*) FROM runs") == 2
    assert count(store_url, "SELECT count(*) FROM points") == 300_000


def test_two_ingests_at_once_store_each_run_once(tool, store_url, tmp_path):
    folder = tmp_path / "m1"
    folder.mkdir()
    for i in range(60):
        (folder / f"part {i:03}.txt").write_bytes(BRACKET.read_bytes() + f"( PART {i} )\n".encode())
    processes = [subprocess.Popen([tool, "ingest", str(folder), "--db", store_url],
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                 for _ in range(2)]
    outcomes = [p.communicate(timeout=300) + (p.returncode,) for p in processes]
    for out, err, code in outcomes:
        assert code == 0, err
        assert err == b""
    assert count(store_url, "SELECT count(*) FROM runs") == 60
    assert count(store_url, "SELECT count(DISTINCT path) FROM runs") == 60
    assert count(store_url, "SELECT count(*) FROM points") == 60 * 10


def test_file_written_while_watched_is_stored_once_whole(tool, store_url, tmp_path):
    folder = tmp_path / "share"
    folder.mkdir()
    alarms = tmp_path / "alarms.txt"
    hostile = tmp_path / "pwned"
    watch = subprocess.Popen(
        [tool, "watch", str(folder), "--db", store_url, "--interval", "100ms", "--settle", "3s",
         "--on-alarm", f'printf "%s|%s|%s\\n" "$CNCPROBE_FILE" "$CNCPROBE_PROGRAM" '
                       f'"$CNCPROBE_REASON" >> {alarms}'],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=tmp_path)
    try:
        lines = BRACKET.read_bytes().splitlines(keepends=True)
        target = folder / "run 1.txt"
        with open(target, "wb") as out:
            for start in range(0, len(lines), 10):
                out.writelines(lines[start:start + 10])
                out.flush()
                time.sleep(0.3)  # a machine writes in bursts, well within the settle time
        # A part that fails, whose feature name and program would run commands in a shell.
        small_file(folder / "run 2.txt", 2, feature_name="$(touch pwned)",
                   cl="C:\\jobs\\`touch pwned`.cl")
        assert wait_for(lambda: count(store_url, "SELECT count(*) FROM runs") == 2
                        if os.path.exists(store_url) or store_url.startswith("postgresql")
                        else False, timeout=30)
        time.sleep(1.5)  # another poll or two: nothing more may be stored
    finally:
        watch.send_signal(signal.SIGTERM)
        out, err = watch.communicate(timeout=30)
    assert watch.returncode == 0, err
    assert count(store_url, "SELECT count(*) FROM runs") == 2
    assert count(store_url, "SELECT points FROM runs WHERE status_code = 0 AND points = 10") == 10
    printed = out.decode().splitlines()
    assert len(printed) == 2 and "run 1.txt" in printed[0] and printed[1].endswith("FAIL")
    assert not hostile.exists()
    alarm = alarms.read_text().splitlines()
    assert len(alarm) == 2  # each of the two FAIL runs, once
    assert alarm[1] == f"{folder / 'run 2.txt'}|`touch pwned`|FAIL"


def test_hostile_text_reads_back_exactly(tool, store_url, tmp_path):
    name = "O'Brien \"bore\" '; DROP TABLE runs; -- \\N\tend"
    file = tmp_path / os.fsdecode(b"x'; DROP TABLE runs; --\xe9\xff.txt")
    small_file(file, 1, feature_name=name)
    program = os.fsdecode(b"OP20 '; DROP TABLE programs; -- \xc3\x28")
    done = run_tool(tool, "ingest", file, "--db", store_url, "--program", program)
    assert done.returncode == 0, done.stderr
    runs = cncprobe.store.runs(store_url, program=program)
    assert list(runs["program"]) == [program]
    assert list(runs["file"]) == [str(file)]
    checks = cncprobe.store.checks(store_url, program=program)
    assert set(checks["name"]) == {name}
    points = cncprobe.store.points(store_url, program=program)
    assert len(points) == 0
    listed = run_tool(tool, "runs", "--db", store_url, "--format", "json")
    assert listed.returncode == 0 and b"DROP TABLE" in listed.stdout


def one_error_line(done, code):
    lines = done.stderr.decode(errors="replace").splitlines()
    assert done.returncode == code, done.stderr
    assert len(lines) == 1 and lines[0].startswith("cncprobe: "), lines
    return lines[0]


@pytest.mark.parametrize("case", ["not a store", "other database", "read-only", "missing"])
def test_unusable_sqlite_store_is_one_line(tool, tmp_path, case):
    store = tmp_path / "runs.sqlite"
    command = "ingest"
    if case == "not a store":
        store.write_text("these are the operator's notes, not a database " * 5)
    elif case == "other database":
        import sqlite3

        sqlite3.connect(store).execute("CREATE TABLE parts (name TEXT)").connection.commit()
    elif case == "read-only":
        assert run_tool(tool, "ingest", BRACKET, "--db", store).returncode == 0
        if os.geteuid() == 0:
            pytest.skip("root writes read-only files: test_read_only_mount covers it")
        store.chmod(stat.S_IRUSR)
    else:
        command = "runs"
    before = store.read_bytes() if store.exists() else None
    args = [BRACKET] if command == "ingest" else []
    line = one_error_line(run_tool(tool, command, *args, "--db", store), 5)
    assert str(store) in line
    assert (store.read_bytes() if store.exists() else None) == before


@pytest.fixture
def small_tmpfs(tmp_path):
    if os.geteuid() != 0:
        pytest.skip("a full disk is made with a small tmpfs, which needs root")
    mount = tmp_path / "disk"
    mount.mkdir()
    if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "tmpfs", str(mount)]).returncode:
        pytest.skip("tmpfs cannot be mounted here")
    yield mount
    subprocess.run(["umount", str(mount)], check=False)


def test_read_only_mount(tool, small_tmpfs):
    store = small_tmpfs / "runs.sqlite"
    assert run_tool(tool, "ingest", BRACKET, "--db", store).returncode == 0
    assert subprocess.run(["mount", "-o", "remount,ro", str(small_tmpfs)]).returncode == 0
    other = BRACKET.read_bytes() + b"( ANOTHER PART )\n"
    done = subprocess.run([tool, "ingest", "-", "--db", str(store)], input=other,
                          capture_output=True, check=False)
    assert "read-only" in one_error_line(done, 5)
    listed = run_tool(tool, "runs", "--db", store, "--format", "json")
    assert listed.returncode == 0, listed.stderr  # still readable
    assert len(__import__("json").loads(listed.stdout)["runs"]) == 1


def test_full_disk_stores_nothing_half(tool, tmp_path, small_tmpfs):
    store = small_tmpfs / "runs.sqlite"
    assert run_tool(tool, "ingest", BRACKET, "--db", store).returncode == 0
    big = tmp_path / "big.txt"
    big_file(big, 50_000)
    line = one_error_line(run_tool(tool, "ingest", big, "--db", store), 5)
    assert "full" in line
    assert count(str(store), "SELECT count(*) FROM runs") == 1
    assert count(str(store), "SELECT count(*) FROM points") == 10


@pytest.mark.skipif(not POSTGRES, reason="PostgreSQL: set CNCPROBE_TEST_POSTGRES under pg_virtualenv")
@pytest.mark.parametrize("url, words", [
    ("postgresql://127.0.0.1:1/runs", "cannot reach the server"),
    ("postgresql://intruder:wrong@{host}:{port}/postgres", "refused"),
])
def test_unusable_postgresql_is_one_line(tool, url, words):
    url = url.format(host=os.environ.get("PGHOST", "localhost").split(",")[0]
                     if not os.environ.get("PGHOST", "").startswith("/") else "localhost",
                     port=os.environ.get("PGPORT", "5432"))
    env = {k: v for k, v in os.environ.items() if k != "PGPASSWORD"}
    done = run_tool(tool, "ingest", BRACKET, "--db", url, env=env)
    assert words in one_error_line(done, 5)
