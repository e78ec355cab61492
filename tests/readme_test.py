"""The README's quick start works as shown.

    readme_test.py CNCPROBE_TOOL SOURCE_DIR

- The command the README and the tool's page say `./dev run` runs is the one `./dev` runs, and its
  output begins with the lines they show.
- Every `cncprobe ...` line of the README's shell blocks runs on the bundled examples and ends with
  exit code 0, or with the code its comment names ("# exit 1: ...").
- The README's C++ and C examples compile against the library's headers (as the body of a main
  function), so they cannot drift from the interface they show.
"""
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

# How each kind of example is compiled: the compiler, its flags, the file suffix.
COMPILERS = {
    "cpp": (os.environ.get("CXX", "c++"), ["-std=c++20"], ".cpp", "#include <memory>\n"),
    "c": (os.environ.get("CC", "cc"), ["-std=c99"], ".c", "#include <stdio.h>\n#include <stdlib.h>\n"),
}


def run(tool, words, cwd):
    return subprocess.run([tool, *words], cwd=cwd, capture_output=True, text=True, timeout=120)


def blocks(readme, language):
    """(text before the block, lines of the block) for every fenced block of that language."""
    for m in re.finditer(r"^```" + language + r"\n(.*?)^```$", readme, re.S | re.M):
        yield readme[: m.start()], m.group(1).splitlines()


def main(tool, source):
    with open(os.path.join(source, "README.md"), encoding="utf-8") as f:
        readme = f.read()
    with open(os.path.join(source, "docs", "tool.md"), encoding="utf-8") as f:
        tool_page = f.read()
    with open(os.path.join(source, "dev"), encoding="utf-8") as f:
        dev = f.read()
    failures, checked = [], 0

    # The quick start: "`./dev run` runs `cncprobe extract FILE`, which begins:" and the text block
    # shown after it, in the README (its first lines) and on the tool's page (all of it).
    shown = [(before, lines) for page in (readme, tool_page) for before, lines in blocks(page, "text")
             if re.search(r"`\./dev run` runs `cncprobe ([^`]+)`[^`]*$", before)]
    if len(shown) < 2:
        failures.append("README.md, docs/tool.md: no text block after \"`./dev run` runs `cncprobe ...`\"")
    for before, lines in shown:
        words = re.search(r"`\./dev run` runs `cncprobe ([^`]+)`[^`]*$", before).group(1)
        if f"tools/cncprobe {words}\n" not in dev:
            failures.append(f"README: ./dev run does not run `cncprobe {words}`")
        done = run(tool, shlex.split(words), source)
        printed = done.stdout.splitlines()
        if printed[: len(lines)] != lines:
            failures.append(f"`cncprobe {words}` no longer begins as shown:\n"
                            + "\n".join(f"  shown:   {a}\n  printed: {b}"
                                        for a, b in zip(lines, printed + [""] * len(lines)) if a != b))
        checked += 1

    # Every tool command of the shell blocks, in a scratch folder that sees the examples.
    with tempfile.TemporaryDirectory() as scratch:
        os.symlink(os.path.join(source, "examples"), os.path.join(scratch, "examples"))
        for _, lines in blocks(readme, "sh"):
            for line in lines:
                command, _, comment = line.partition("#")
                words = shlex.split(command)
                if not words or words[0] != "cncprobe":
                    continue
                wanted = re.search(r"\bexit (\d+)", comment)
                wanted = int(wanted.group(1)) if wanted else 0
                done = run(tool, words[1:], scratch)
                if done.returncode != wanted:
                    failures.append(f"README: `{command.strip()}` exited {done.returncode}, not "
                                    f"{wanted}: {done.stderr.strip()}")
                checked += 1

    # The C++ and C examples: their includes at the top, the rest as the body of main.
    with tempfile.TemporaryDirectory() as scratch:
        for language, (compiler, flags, suffix, prelude) in COMPILERS.items():
            if not shutil.which(compiler):
                print(f"readme: no {compiler}, the {language} examples are not compiled")
                continue
            for number, (_, lines) in enumerate(blocks(readme, language)):
                includes = [l for l in lines if l.startswith("#include")]
                body = [l for l in lines if not l.startswith("#include")]
                first = next((l.strip() for l in body if l.strip()), "")
                example = os.path.join(scratch, f"example{number}{suffix}")
                with open(example, "w", encoding="utf-8") as f:
                    f.write(prelude + "\n".join(includes) + "\nint main(void) {\n" + "\n".join(body)
                            + "\nreturn 0;\n}\n")
                done = subprocess.run([compiler, *flags, "-fsyntax-only", "-w", "-I", source, example],
                                      capture_output=True, text=True, timeout=120)
                if done.returncode != 0:
                    failures.append(f"README: the {language} example that begins "
                                    f"`{first}` does not compile:\n{done.stderr}")
                checked += 1

    for line in failures:
        print(line)
    print(f"readme: {checked} commands and examples checked, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2]))
