#!/usr/bin/python3
"""The library's folders include only folders below them, and internal headers stay internal.

Run by ctest (`layout`): python3 tests/layout_test.py SOURCE_DIR
"""
import pathlib
import re
import sys

# From the bottom up: a folder may include itself and any folder before it. The platform rooms
# come first; support and text depend on nothing else of ours.
ORDER = [
    "platform/support", "platform/text", "platform/geometry", "platform/xml", "platform/model",
    "foundation", "events", "macrooutput", "resultsfile", "extraction", "filereferences",
    "settings", "inspection", "exchange", "capi",
]
# Folders that are side by side rather than stacked: neither may include the other.
SIDE_BY_SIDE = {frozenset({"filereferences", "extraction"}), frozenset({"settings", "extraction"}),
                frozenset({"filereferences", "settings"}), frozenset({"filereferences", "resultsfile"}),
                frozenset({"filereferences", "macrooutput"}), frozenset({"filereferences", "events"}),
                frozenset({"settings", "resultsfile"}), frozenset({"settings", "macrooutput"}),
                frozenset({"settings", "events"})}
INCLUDE = re.compile(r'^\s*#\s*include\s+"cncprobe/([^"]+)"', re.M)


def folder_of(relative):
    """The folder (room) a path below cncprobe/ belongs to, or None for the top-level headers."""
    parts = relative.split("/")
    if parts[0] == "platform" and len(parts) > 2:
        return "platform/" + parts[1]
    return parts[0] if len(parts) > 1 else None


def main(source_dir):
    root = pathlib.Path(source_dir) / "cncprobe"
    problems = []
    for path in sorted(root.rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        relative = path.relative_to(root).as_posix()
        own = folder_of(relative)
        if own is None:
            continue  # cncprobe.h and export.h gather everything
        is_test = path.stem.endswith("_test") or "test_util" in path.stem
        for included in INCLUDE.findall(path.read_text(encoding="utf-8", errors="replace")):
            other = folder_of(included)
            if other is None or other == own:
                continue
            if ORDER.index(other) > ORDER.index(own) and not is_test:
                problems.append(f"{relative} includes cncprobe/{included}, a folder above it")
            if frozenset({own, other}) in SIDE_BY_SIDE and not is_test:
                problems.append(f"{relative} includes cncprobe/{included}, a folder beside it")
            if "/internal/" in included and "/internal/" not in relative and path.suffix == ".h" \
                    and not is_test:
                problems.append(f"{relative} is installed but includes internal cncprobe/{included}")
    for problem in problems:
        print(problem)
    print(f"layout: {len(problems)} problem(s)")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
