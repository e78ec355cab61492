#!/usr/bin/python3
"""Runs of the bracket program (examples/bracket_mm.txt) as a machine would write them over a
shift: every actual moves a little from run to run, and from run `drift_from` on the main bore's
diameter grows with a wearing tool. The same runs from the same seed, everywhere.

    python3 tests/support/drift_runs.py OUT_DIR [COUNT]   # OUT_DIR/bracket_run01.txt ...
"""
import pathlib
import random
import sys

BRACKET = pathlib.Path(__file__).resolve().parents[2] / "examples" / "bracket_mm.txt"


def run_text(run, drift_from=10, wear_per_run=0.004, seed=24, noise=0.002):
    """The text of run `run` (0-based)."""
    rng = random.Random(seed * 1000 + run)
    out = []
    in_bore = False
    for line in BRACKET.read_text(encoding="utf-8").splitlines():
        if line.startswith("COMPONENT NO") or line.startswith("FEATURE NO"):
            in_bore = line.strip() == "COMPONENT NO 1 FEATURE NO 1"
        if line.startswith("RESULTSFILE "):
            line = f"RESULTSFILE BRACKET_OP20_RUN{run + 1}.TXT"
        elif line.startswith("G801"):
            words = line.split()
            words = [w[0] + f"{float(w[1:]) + rng.gauss(0, noise):.4f}" if w[0] in "XYZ" else w
                     for w in words]
            line = " ".join(words)
        elif " ACTUAL " in line and "NaN" not in line:
            words = line.split()
            nominal = float(words[words.index("ACTUAL") - 1])
            actual = float(words[words.index("ACTUAL") + 1]) + rng.gauss(0, noise)
            if in_bore and words[:2] == ["SIZE", "D"] and run >= drift_from:
                actual += wear_per_run * (run - drift_from + 1)
            words[words.index("ACTUAL") + 1] = f"{actual:.4f}"
            if "DEV" in words:
                words[words.index("DEV") + 1] = f"{actual - nominal:.4f}"
            line = " ".join(words)
        out.append(line)
    return "\n".join(out) + "\n"


def write_runs(directory, count=20, **kwargs):
    """Writes bracket_run01.txt ... into `directory` and returns their paths in run order."""
    directory = pathlib.Path(directory)
    paths = []
    for run in range(count):
        path = directory / f"bracket_run{run + 1:02d}.txt"
        path.write_text(run_text(run, **kwargs), encoding="utf-8")
        paths.append(path)
    return paths


if __name__ == "__main__":
    for p in write_runs(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 20):
        print(p)
