"""The manual page describes the commands and options the tool has, no fewer and no more.

    man_page_test.py CNCPROBE_TOOL docs/cncprobe.1.md

Compares the commands of `cncprobe --help`, the options of every `cncprobe COMMAND --help` and the
general options with the COMMANDS and GENERAL OPTIONS sections of the manual page's source, and
prints, per command, what the tool has that the page lacks and what the page describes that the
tool no longer has.
"""
import re
import subprocess
import sys

OPTION = re.compile(r"(?<![\w-])(--?[A-Za-z][\w-]*)")


def help_text(tool, *words):
    done = subprocess.run([tool, *words, "--help"], capture_output=True, text=True, timeout=60)
    if done.returncode != 0:
        sys.exit(f"{tool} {' '.join(words)} --help exited {done.returncode}: {done.stderr}")
    return done.stdout


def help_section(text, title):
    """The lines of one section of CLI help ("Options:", "Subcommands:"), up to a blank line."""
    lines, inside = [], False
    for line in text.splitlines():
        if line.strip() == title:
            inside = True
        elif inside and not line.strip():
            break
        elif inside:
            lines.append(line)
    return lines


def tool_options(text):
    """The option names of a help text: the first column of the lines that start with "-"."""
    names = set()
    for line in help_section(text, "Options:"):
        if line.lstrip().startswith("-"):
            names.update(OPTION.findall(line.split("  ", 2)[1] if line.startswith("  ") else line))
    return names


def tool_commands(text):
    return {line.split()[0] for line in help_section(text, "Subcommands:") if line.strip()}


def page_sections(source):
    """{command: options} from "## COMMAND ..." under "# COMMANDS", and the general options under
    "# GENERAL OPTIONS" as the command "" : the options are the terms of the definition lists, the
    lines that start with a bold option and are followed by a ":" definition."""
    sections, top, command = {}, None, None
    lines = source.splitlines()
    for i, line in enumerate(lines):
        if line.startswith("# "):
            top, command = line[2:].strip(), None
            if top == "GENERAL OPTIONS":
                command = ""
                sections[command] = set()
        elif line.startswith("## ") and top == "COMMANDS":
            command = line[3:].split()[0]
            sections[command] = set()
        elif command is not None and line.startswith("**-"):
            following = next((l for l in lines[i + 1:] if l.strip()), "")
            if following.startswith(":"):
                sections[command].update(OPTION.findall(line.replace("*", " ")))
    return sections


def main(tool, page):
    with open(page, encoding="utf-8") as f:
        described = page_sections(f.read())
    general = help_text(tool)
    actual = {"": tool_options(general)}
    for command in tool_commands(general):
        # Every command's help lists -h,--help; the page describes it once, among the general options.
        actual[command] = tool_options(help_text(tool, command)) - {"-h", "--help"}

    differences = []
    for command in sorted(set(actual) | set(described)):
        name = f"command {command}" if command else "the general options"
        if command not in described:
            differences.append(f"{name}: the tool has it, the manual page has no section for it")
            continue
        if command not in actual:
            differences.append(f"{name}: the manual page describes it, the tool has no such command")
            continue
        for option in sorted(actual[command] - described[command]):
            differences.append(f"{name}: the tool has {option}, the manual page does not describe it")
        for option in sorted(described[command] - actual[command]):
            differences.append(f"{name}: the manual page describes {option}, the tool has no such option")

    for line in differences:
        print(line)
    commands = len(actual) - 1
    options = sum(len(v) for v in actual.values())
    print(f"man page: {commands} commands and {options} options compared, {len(differences)} differences")
    return 1 if differences else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2]))
