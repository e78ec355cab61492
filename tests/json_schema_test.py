#!/usr/bin/python3
"""Validates every JSON document the cncprobe tool prints against the schemas in docs/schema.

Runs extract (both units, both true-position conventions, standard input), refs (file and
standard input) and settings (both units) over every file in tests/data and examples, and
every results file in one run with --format jsonl. Exits 77 (skipped) when python3-jsonschema
is not installed.
"""
import json
import pathlib
import subprocess
import sys

try:
    import jsonschema
except ImportError:
    print("python3-jsonschema is not installed (scripts/install-deps installs it)")
    sys.exit(77)


def main(tool, source):
    source = pathlib.Path(source)
    validators = {}
    for name in ("extract", "refs", "settings"):
        schema = json.loads((source / "docs" / "schema" / f"{name}.schema.json").read_text())
        jsonschema.Draft202012Validator.check_schema(schema)
        validators[name] = jsonschema.Draft202012Validator(schema)

    runs = []
    files = sorted(p for root in ("tests/data", "examples") for p in (source / root).rglob("*")
                   if p.is_file())
    for path in files:
        if path.suffix == ".xml":
            runs += [("settings", [str(path), "--units", u], None) for u in ("mm", "in")]
            continue
        if path.suffix not in (".txt", ".res", ".gz", ""):
            continue
        runs += [("extract", [str(path), "--units", "in"], None),
                 ("extract", [str(path), "--true-position", "radial"], None),
                 ("extract", ["-"], path),
                 ("refs", [str(path)], None),
                 ("refs", ["-"], path)]

    failures = 0
    for command, args, stdin_path in runs:
        with open(stdin_path or "/dev/null", "rb") as feed:
            done = subprocess.run([tool, command, *args, "--format", "json"], stdin=feed,
                                  capture_output=True, timeout=120)
        where = f"{command} {' '.join(args)}" + (f" < {stdin_path}" if stdin_path else "")
        if done.returncode not in (0, 1):
            print(f"FAIL {where}: exit {done.returncode}: {done.stderr.decode(errors='replace')}")
            failures += 1
            continue
        try:
            document = json.loads(done.stdout)
        except ValueError as error:
            print(f"FAIL {where}: not one JSON document: {error}")
            failures += 1
            continue
        errors = sorted(validators[command].iter_errors(document), key=lambda e: list(e.path))
        for error in errors[:5]:
            print(f"FAIL {where}: {'/'.join(map(str, error.path))}: {error.message[:300]}")
        failures += bool(errors)
    # Every results file in one run, one document per line, with an unreadable one among them.
    batch = [str(p) for p in files if p.suffix in (".txt", ".res")] + [str(source / "missing.res")]
    done = subprocess.run([tool, "extract", *batch, "--format", "jsonl"], capture_output=True,
                          timeout=120)
    lines = done.stdout.decode().splitlines()
    if done.returncode != 3 or len(lines) != len(batch):
        print(f"FAIL extract FILE... --format jsonl: exit {done.returncode}, {len(lines)} lines")
        failures += 1
    for file, line in zip(batch, lines):
        errors = list(validators["extract"].iter_errors(json.loads(line)))
        for error in errors[:5]:
            print(f"FAIL jsonl {file}: {'/'.join(map(str, error.path))}: {error.message[:300]}")
        failures += bool(errors)
    runs += batch

    print(f"{len(runs)} documents validated, {failures} failed")
    return 1 if failures or not runs else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
