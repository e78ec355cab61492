"""The manual's own tools: the link check, the headers' filter for the API reference and the
manual page comparison find what they are for, and only that.

    /usr/bin/python3 -m pytest tests/docs_tools_test.py
"""
import importlib.machinery
import importlib.util
import os
import pathlib

import pytest

ROOT = pathlib.Path(__file__).resolve().parent.parent


def load(name, path):
    loader = importlib.machinery.SourceFileLoader(name, str(path))
    spec = importlib.util.spec_from_loader(name, loader)
    module = importlib.util.module_from_spec(spec)
    loader.exec_module(module)
    return module


links = load("check_links", ROOT / "scripts" / "check-links")
doxygen_filter = load("doxygen_filter", ROOT / "scripts" / "doxygen-filter")
man_page = load("man_page_test", ROOT / "tests" / "man_page_test.py")


@pytest.mark.parametrize("heading, anchor", [
    ("Options of `extract`", "options-of-extract"),
    ("Did the part pass?", "did-the-part-pass"),
    ("Linearity (10k / 100k / 1M)", "linearity-10k--100k--1m"),
    ("Where the time goes now, and the floor under it", "where-the-time-goes-now-and-the-floor-under-it"),
    ("The [C interface](c.md) and `cncprobe_c.h`", "the-c-interface-and-cncprobe_ch"),
    ("Größe und Maß", "größe-und-maß"),
])
def test_a_heading_gets_the_anchor_the_hosting_sites_give_it(heading, anchor):
    assert links.slug(heading) == anchor


def test_only_broken_relative_links_are_reported(tmp_path):
    (tmp_path / "docs").mkdir()
    (tmp_path / "docs" / "other.md").write_text("# Other\n\n## Twice\n\n## Twice\n", encoding="utf-8")
    (tmp_path / "docs" / "picture.png").write_bytes(b"")
    page = tmp_path / "docs" / "page.md"
    page.write_text("\n".join([
        "# Page",                                             # 1
        "[fine](other.md) [fine too](other.md#twice-1)",      # 2
        "![shown](picture.png) [this page](#page)",           # 3
        "[gone](missing.md) ![gone](missing.png)",            # 4: two broken
        "[no such heading](other.md#thrice)",                 # 5: broken anchor
        "`[in code](missing.md)` <!-- [in a comment](missing.md) -->",
        "```",
        "[in a block](missing.md)",
        "```",
        "[elsewhere](https://example.invalid/missing.md) [parent](../docs/other.md)",
        "[folder](./) [absolute](/etc/passwd)",               # 11: absolute
        '<img src="missing.svg">',                            # 12: broken
        "[defined]: other.md#no-such",                        # 13: broken anchor
    ]) + "\n", encoding="utf-8")
    found = [line.split(": ")[0] for line in links.problems(str(page), str(tmp_path))]
    assert found == ["docs/page.md:4", "docs/page.md:4", "docs/page.md:5", "docs/page.md:11",
                     "docs/page.md:12", "docs/page.md:13"]


HEADER = """\
// kptThing: what a thing is for.
//
//   kptThing thing;   // an example, kept as written
#pragma once

// The limits < and > of a thing; `a<b>` stays code.
class CNCPROBE_API kptThing {
 public:
  kptThing(const kptThing&) = delete;
  int size() const;  // how many, "// not a comment" aside
  double o, u, l;    // offset, upper and lower limit
  const char* text() const { return "http://x"; }
};
"""


def test_the_filter_keeps_every_line_where_it_was():
    # Doxygen's warnings name the header's own line numbers: the filter must not add or drop one,
    # on this header or on any header that is installed.
    headers = [HEADER.splitlines(keepends=True)]
    for path in sorted((ROOT / "cncprobe").rglob("*.h")):
        if "internal" not in path.parts and "_test" not in path.name and not path.name.startswith("test_"):
            headers.append(path.read_text(encoding="utf-8").splitlines(keepends=True))
    for original in headers:
        filtered = doxygen_filter.documented_runs(original, doxygen_filter.filter_lines(original))
        assert len("".join(filtered).splitlines()) == len(original)


@pytest.mark.parametrize("line, expected", [
    (1, "/// kptThing: what a thing is for. @file"),
    (3, "///      kptThing thing;   // an example, kept as written"),
    (6, "/// The limits \\< and \\> of a thing; `a<b>` stays code."),
    (9, "/** Not copyable. */ kptThing(const kptThing&) = delete;"),
    (10, "int size() const;  ///< how many, \"// not a comment\" aside"),
    (11, "/** offset, upper and lower limit */ double o; /** offset, upper and lower limit */ double u;"
         " /** offset, upper and lower limit */ double l;"),
    (12, 'const char* text() const { return "http://x"; }'),
])
def test_the_filter_turns_comments_into_documentation(line, expected):
    original = HEADER.splitlines(keepends=True)
    filtered = doxygen_filter.documented_runs(original, doxygen_filter.filter_lines(original))
    assert filtered[line - 1].strip() == expected


CLI_HELP = """\
Print every probe path
Usage: cncprobe extract [OPTIONS] FILE

Positionals:
  FILE TEXT REQUIRED          The results file, - for standard input

Options:
  -h,--help                   Print this help message and exit
  --units mm|in               The units the file was written in (default mm)
  -o,--output TEXT            The page to write (default: the input's base name)
  --true-position diametral|radial
                              How TOL TP is read: a zone (-x is no option here)

"""

PAGE = """\
# COMMANDS

## extract FILE

Text that names --not-an-option in passing.

**--units** *mm*|*in*
:   The units.

**-o**, **--output** *FILE.html*
:   The page.

# GENERAL OPTIONS

**-h**, **--help**
:   Help.

# EXIT STATUS

**--gone**
:   Not in a command's section: not counted.
"""


def test_the_comparison_reads_options_from_the_help_and_from_the_page():
    assert man_page.tool_options(CLI_HELP) == {"-h", "--help", "--units", "-o", "--output",
                                               "--true-position"}
    assert man_page.page_sections(PAGE) == {"extract": {"--units", "-o", "--output"},
                                            "": {"-h", "--help"}}
