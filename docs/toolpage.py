#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Fills the commands of systemapi(1) in, from what the tool itself prints.

usage: toolpage.py TOOL TEMPLATE VERSION > systemapi.1

Asks the tool for --help, and each subcommand that it lists, in turn. A line @OPTIONS@ of the template becomes the
tool's own options, a line @COMMON@ those of all commands, a line @COMMANDS@ the commands with the others.
"""

import os
import re
import subprocess
import sys

TOOL, TEMPLATE, VERSION = sys.argv[1:4]


def escaped(text):
    text = re.sub(r"(?<!\w)-|(?<=-)-", r"\\-", text.replace("\\", "\\e"))
    return re.sub(r"^(?=[.'])", r"\\&", text)


def name_of(name):
    """Without what says nothing to readers; what the values are stays."""
    name = re.sub(r" REQUIRED\b| Excludes:.*", "", name).replace(",--", ", --")
    return re.sub(r" (?:TEXT|U?INT)\b:?(?:SIZE.*|INT in)? ?", " ", name.replace(" INT=", " N=")).strip()


def help_of(command):
    """What --help prints of a command: its description, and rows of name and meaning by section."""
    environment = {**os.environ, "NO_COLOR": "1"}
    text = subprocess.run([TOOL, *command, "--help"], check=True, capture_output=True, text=True, env=environment).stdout
    description, usage, sections, footer = "", "", {}, []
    rows = None
    for line in text.split("\n"):
        if line.startswith("Usage:"):
            usage = line.removeprefix("Usage:").strip()
        elif re.match(r"[A-Z]\w*( \w+)*:$", line):
            rows = sections.setdefault(line[:-1], [])
        elif line.startswith(" ") and rows is not None:
            name, _, meaning = line.strip().partition("  ")
            if len(line) - len(line.lstrip()) > 8 and rows:  # the meaning stands on a line of its own, or goes on
                rows[-1][1] = f"{rows[-1][1]} {line.strip()}".strip()
            else:
                rows.append([name_of(name), meaning.strip()])
        elif not usage:
            description = f"{description} {line}".strip()
        elif line.strip():
            footer.append(line.strip())
    return description, usage, sections, " ".join(footer)


def rows_of(rows):
    for name, meaning in rows:
        if name != "-h, --help" and meaning:
            yield from [".TP", f".B {escaped(name)}", escaped(meaning)]


def stop(text):
    return escaped(text.rstrip(".")) + "."


COMMON_FOOTER = help_of(())[3]  # which commands without one of their own repeat
COMMON = [row for row in help_of(["report"])[2]["Options"] if row in help_of(["doctor"])[2]["Options"]]


def commands(path=()):
    description, usage, sections, footer = help_of(path)
    below = [name.split(",")[0] for name, _ in sections.pop("Subcommands", [])]
    if len(path) == 1:
        yield from [f".SS {path[0]}", *([stop(description)] if below else [])]
    if path and not below:
        synopsis = usage.replace(" [OPTIONS]", "").replace("[", " [").replace("  ", " ")
        yield from [".TP", f".B {escaped(synopsis)}", stop(description)]
        if footer != COMMON_FOOTER:
            yield escaped(footer)
        details = [line for title in sections for line in rows_of(row for row in sections[title] if row not in COMMON)]
        yield from ([".RS", *details, ".RE"] if details else [])
    for name in below:
        yield from commands((*path, name))


for line in open(TEMPLATE, encoding="utf-8"):
    line = line.rstrip("\n")
    if line == "@COMMANDS@":
        print("\n".join(commands()))
    elif line == "@OPTIONS@":
        print("\n".join(rows_of(help_of(())[2].get("Options", []))))
    elif line == "@COMMON@":
        print("\n".join(rows_of(COMMON)))
    else:
        print(line.replace("@VERSION@", VERSION))
