#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the documents against the tree: links, names, fields, commands, and the programs that they show.

usage: guides_test.py SOURCE
"""

import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(sys.argv[1])
GUIDE = ROOT / "docs/guide"
faults = []


def require(holds, fault):
    if not holds:
        faults.append(fault)


def read(path):
    return (ROOT / path).read_text()


def without_blocks(text):
    return re.sub(r"^```.*?^```$", "", text, flags=re.M | re.S)


def anchors(text):
    titles = re.findall(r"^#+ (.*)$", without_blocks(text), re.M)
    return {re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-") for title in titles}


documents = {path: path.read_text() for path in [*ROOT.glob("*.md"), *(ROOT / "docs").rglob("*.md")]}
headers = "\n".join(path.read_text() for path in ROOT.glob("Tolvane_*/**/*.h"))
examples = [path.read_text() for path in (ROOT / "examples").iterdir() if path.is_file()]

# Links lead somewhere, and every page of the guide is in its contents.
for path, text in documents.items():
    for target in re.findall(r"\]\(([^)\s]+)\)", without_blocks(text)):
        if re.match(r"[a-z]+:", target):
            continue
        file, _, anchor = target.partition("#")
        goal = (path.parent / file).resolve() if file else path
        require(goal.exists(), f"{path.name}: no {target}")
        if anchor and goal.suffix == ".md" and goal.exists():
            require(anchor in anchors(goal.read_text()), f"{path.name}: no place {target}")
for path in GUIDE.glob("*.md"):
    require(path.name == "README.md" or f"({path.name})" in documents[GUIDE / "README.md"], f"{path.name} is not in the contents")

# Names are those of the headers.
known = set(re.findall(r"\w+", headers)) | {path.stem for path in ROOT.glob("Tolvane_*/**/*.h")}
for path, text in documents.items():
    for name in re.findall(r"\b(?:SystemApi|BaseLib|CSystemApi|ERROR_SYSTEMAPI|tag)_[A-Za-z]\w*", text):
        require(name in known, f"{path.name}: no {name}")

# Each function has its row, and each field its unit.
calls, units = read("docs/guide/calls.md"), read("docs/guide/units.md")
functions = re.findall(r"^SYSTEMAPI_EXPORT [a-z ]+ (SystemApi_\w+)\(", read("Tolvane_SystemApi/include/Tolvane_SystemApi.h"), re.M)
require(len(functions) == 43, f"{len(functions)} functions in the header")
for function in functions:
    row = f"\n| `{function}` |" if not function.endswith("W") else f"\n| `{function[:-1]}A` and W |"
    require(calls.count(row) + calls.count(row.replace(" |", " and W |")) == 1, f"calls.md: {function}")
records = re.findall(r"typedef struct (\w+)\n{(.*?)\n}", headers, re.S)
rows = {record: rest for record, rest in re.findall(r"^\| `(\w+)` (.*?)(?=^\| `|\n\n)", units, re.M | re.S)}
for record, body in records:
    for field in re.findall(r"^    [\w ]+ (\w+)(?:\[\d+\])?;", body, re.M):
        require(f"`{field}`" in rows.get(record, ""), f"units.md: {record}.{field}")

# The commands are those of the sources, and sudo's those of the drop-in.
sources = "\n".join(path.read_text() for path in ROOT.glob("Tolvane_SystemApi/SystemApi_*/*.cpp"))
commands = set(re.findall(r'"((?:ps|cat|sudo|xset|pkill|gnome)[- ](?:[^"\\]|\\.)*)"', sources))
require(len(commands) > 10, f"{len(commands)} commands in the sources")
for command in commands:
    pattern = re.sub(r"%(\\\.\\\*)?[sd]", "[A-Z]+", re.escape(command).replace("\\%", "%"))
    require(re.search(f"`{pattern}`", calls.replace("\\|", "|")), f"calls.md: {command}")
drop_in = read("examples/systemapi.sudoers")
for command in re.findall(r"sudo ([^|\"]+?) *[|\"]", "\n".join(f'"{command}"' for command in commands)):
    require(f"bin/{command.replace('%.*s', '/dev/sda')}" in drop_in, f"systemapi.sudoers: {command}")
visudo = shutil.which("visudo", path="/usr/sbin:/usr/bin")
if visudo:
    require(subprocess.run([visudo, "-cqf", ROOT / "examples/systemapi.sudoers"], check=False).returncode == 0, "visudo -c")

# Programs that a document shows whole, or by a function, are the examples, which are built and run.
shown = 0
for path, text in documents.items():
    for block in re.findall(r"^```\w+\n(.*?)^```$", text, re.M | re.S):
        if re.match(r"#include|#!|//|extern|Cmnd_Alias", block):
            require(any(block in example for example in examples), f"{path.name}: shows another program than the example")
            shown += 1
require(shown > 4, f"{shown} programs are shown")

sys.exit("\n".join(faults) or None)
