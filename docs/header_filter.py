#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Gives Doxygen a public header with what its plain comments leave to the reader written out.

usage: header_filter.py HEADER

- "..._COPY_EXIST" becomes the one symbol that ends so; where there is none, or more than one, an unknown command
  makes Doxygen fail.
- "Blocking   until ..." and "Surprising on purpose: ..." become paragraphs with a title.
- The comment behind a #define becomes its documentation.
- "As X, for a wide path." is followed by what is said of X.
- A member of a class that has no \\param of its own is described by the C function of its name.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PUBLIC_HEADER = (ROOT / "Tolvane_SystemApi/include/Tolvane_SystemApi.h").read_text()
SYMBOLS = set(re.findall(r"#define (ERROR_SYSTEMAPI_\w+)", PUBLIC_HEADER))


def full_symbol(match):
    found = [symbol for symbol in SYMBOLS if symbol.endswith(match[1])]
    return found[0] if len(found) == 1 else f"\\no_such_error_symbol{match[1]}"


def linked(line):
    """A # makes a link of the names of functions, error symbols and the two variables."""
    return re.sub(r"(?<![\w#:])((?:SystemApi|BaseLib)_\w+|ERROR_SYSTEMAPI_\w+|m_\w+)", r"#\1", line)


def comment_line(line):
    line = re.sub(r"\.\.\.(_[A-Z]\w*[A-Z])\b", full_symbol, line)
    line = re.sub(r"^ \* ([A-Z][a-z]+)(?: {2,}|(?<=Exceptions) )(?=\S)", r" * \\par \1\n * ", linked(line))
    line = re.sub(r"^ \* (Surprising on purpose):$", r" * \\par \1", line)
    return re.sub(r"^ \* (Surprising on purpose): ", r" * \\par \1\n * ", line)


def details_of(name, text):
    """What is said of a function after its first paragraph."""
    name = name.removeprefix("#")
    comment = re.search(rf"^/\*\*\n((?: \*.*\n)+?) \*/\n[^;]*\b{name}\(", text, re.M)
    return comment[1].split("\n *\n", 1)[1].rstrip("\n") if comment else f" * \\no_such_function {name}"


def c_header(text):
    text = re.sub(r"^(#define \w+ \S+ +)/\* (.*) \*/$", r"\1/**< \2 */", text, flags=re.M)
    text = re.sub(r"^/\*\* (As \w+, .*) \*/$", r"/**\n * \1\n */", text, flags=re.M)
    # After its own words, what is said of the other form: Doxygen's own copying cannot tell overloads apart.
    text = re.sub(
        r"^/\*\*\n( \* As (\w+), (?:[^*]|\*(?!/))*?)\n \*/$",
        lambda match: f"/**\n{match[1]}\n *\n{details_of(match[2], text)}\n */",
        text,
        flags=re.M,
    )
    return "\n".join(comment_line(line) if line.startswith(" *") else line for line in text.split("\n"))


def class_header(text):
    # Doxygen's own copying finds the member of the class again, not the C function.
    of_c_function = {name: comment for comment, name in
                     re.findall(r"^(/\*\*\n(?: \*.*\n)+? \*/)\nSYSTEMAPI_EXPORT [\w ]+ (\w+)\(", c_header(PUBLIC_HEADER), re.M)}
    out, comment = [], []
    for line in text.split("\n"):
        if line.startswith("    ///"):
            comment.append(linked(re.sub(r"\.\.\.(_[A-Z]\w*[A-Z])\b", full_symbol, line)))
            continue
        member = re.match(r"    (?:bool|float) (SystemApi_\w+)\(", line)
        if member and not any(word in piece for piece in comment for word in ("\\param", "\\copydoc")):
            comment = [of_c_function[member[1]]]
        out += comment + [line]
        comment = []
    return "\n".join(out)


path = pathlib.Path(sys.argv[1])
source = path.read_text()
sys.stdout.write(source if path.suffix == ".md" else c_header(source) if path.parent.name == "include" else class_header(source))
