#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the man pages of section 3, one for each function, and SystemApi(7) from Doxygen's XML and the examples.

usage: manpages.py XML_FOLDER EXAMPLE_FOLDER OUT_FOLDER VERSION

What a page cannot answer (no example, nothing on blocking or privilege) ends it with a failure.
"""

import pathlib
import re
import sys
import textwrap
import xml.etree.ElementTree as ElementTree

XML, EXAMPLES, OUT = (pathlib.Path(argument) for argument in sys.argv[1:4])
VERSION = sys.argv[4]
FAMILIES = {"File": "Files", "HardWare": "Hardware", "Process": "Processes", "System": "The system"}
MUST_SAY = ("Blocking", "Privilege")
TITLE = "Surprising on purpose"
faults = []

# ---- text to roff ----


def escaped(text):
    text = text.replace("\\", "\\e")
    text = re.sub(r"(?<!\w)-(?=[\w])", r"\\-", text)  # options and negative numbers, not hyphens
    text = re.sub(r'"[^"]*"', lambda quoted: re.sub(r"(?<=\w)-", r"\\-", quoted[0]), text)  # no line ends in a command
    return re.sub(r"^(?=[.'])", r"\\&", text, flags=re.M)


def words(node):
    """All text below a node, in one line."""
    return re.sub(r"\s+", " ", "".join(node.itertext())).strip()


def sentence(text):
    """Begins with a capital, where that is no name of a field, a parameter or a system call."""
    is_name = re.match(r"\w*[a-z][A-Z]|\w+_|\w+ (failed|was not permitted|gave|or \w+ failed)\b", text)
    return text if is_name else text[:1].upper() + text[1:]


def meaning(text):
    return sentence(text.strip().rstrip(".").replace("; errno", "; errno tells why")) + "."


def wrapped(lines):
    """Lines of moderate length; what is shown as it stands keeps its own."""
    as_it_stands = False
    for line in lines:
        as_it_stands = line == ".nf" or (as_it_stands and line != ".fi")
        if as_it_stands or line.startswith(".") or len(line) <= 80:
            yield line
        else:
            yield from (re.sub(r"^(?=[.'])", r"\\&", part) for part in textwrap.wrap(line, 78, break_on_hyphens=False, break_long_words=False))


def code(lines):
    """As it stands, but for long comments on lines of their own: a page is narrower than a source."""
    out = []
    for line in lines:
        comment = re.match(r"( *)/\* (.*) \*/$", line)
        if comment and len(line) > 72:
            first, *rest = textwrap.wrap(comment[2], 66 - len(comment[1]))
            line = "\n".join([f"{comment[1]}/* {first}", *(f"{comment[1]}   {more}" for more in rest)]) + " */"
        out.append(escaped(line) if line.strip() else ".sp")
    return [".nf", ".in +4n", *out, ".in", ".fi"]


def paragraphs(node):
    """A description as blocks of roff, without parameters, result and titled paragraphs."""
    blocks, text = [], node.text or ""

    def flush():
        nonlocal text
        if text.strip():
            blocks.append([".PP", escaped(re.sub(r"\s+", " ", text).strip())])
        text = ""

    for child in node:
        if child.tag == "para":
            flush()
            blocks += paragraphs(child)
        elif child.tag == "itemizedlist":
            flush()
            for item in child:
                blocks.append([".IP \\(bu 3", escaped(sentence(words(item)))])
        elif child.tag in ("parameterlist", "simplesect", "title"):
            flush()
        else:
            text += "".join(child.itertext())
        text += child.tail or ""
    flush()
    return blocks


def flat(blocks):
    return [line for block in blocks for line in block]


def under(heading, blocks):
    """A section; the break before its first paragraph goes."""
    if blocks and blocks[0][0] == ".PP":
        blocks = [blocks[0][1:], *blocks[1:]]
    return [f".SH {heading}", *flat(blocks)] if blocks else []


# ---- what Doxygen has read ----


class Function:
    def __init__(self, member, header):
        self.name = member.find("name").text
        self.header = header
        self.result = words(member.find("type"))
        self.brief = words(member.find("briefdescription"))
        self.details = member.find("detaileddescription")
        self.arguments = [(words(one.find("type")), one.findtext("declname")) for one in member.findall("param")]
        self.titled = {}
        for section in self.details.iter("simplesect"):
            title = section.findtext("title") or section.get("kind")
            self.titled.setdefault(title, []).append(section)

    def parameters(self):
        for item in self.details.iter("parameteritem"):
            names = [name.text for name in item.iter("parametername")]
            yield names, item.find("parameternamelist/parametername").get("direction"), words(item.find("parameterdescription"))

    def prototype(self):
        lines = [f"{self.result} {self.name}("]
        for place, (kind, name) in enumerate(self.arguments):
            word = f"{kind}{'' if kind.endswith('*') else ' '}{name}" + (", " if place + 1 < len(self.arguments) else ");")
            if len(lines[-1] + word.rstrip()) > 72:
                lines.append("    ")
            lines[-1] += word
        if not self.arguments:
            lines[-1] += "void);"
        return [line.rstrip() for line in lines]


def load(file):
    compound = ElementTree.parse(XML / file).getroot().find("compounddef")
    header = compound.findtext("compoundname")
    common = {section.findtext("title"): words(section.find("para")) for section in compound.find("detaileddescription").iter("simplesect")}
    rules = [words(item) for item in compound.find("detaileddescription").iter("listitem")]
    functions, symbols = [], {}
    for member in compound.iter("memberdef"):
        name = member.findtext("name")
        if member.get("kind") == "function":
            functions.append(Function(member, header))
        elif member.get("kind") == "define" and name.startswith("ERROR_"):
            symbols[name] = (member.findtext("initializer").removesuffix("UL"), words(member.find("briefdescription")))
    return functions, symbols, common, rules


def load_record(name):
    file = XML / ("struct" + name.replace("_", "__") + ".xml")
    if not file.exists():
        return []
    compound = ElementTree.parse(file).getroot().find("compounddef")
    fields = []
    for member in compound.iter("memberdef"):
        declaration = f"{words(member.find('type'))} {member.findtext('name')}{member.findtext('argsstring') or ''};"
        fields.append((declaration, words(member.find("briefdescription")) + " " + words(member.find("detaileddescription"))))
    return fields


def load_examples():
    """Blocks of the programs, without an empty line in them, and the functions that each calls."""
    blocks = []
    for file in sorted(EXAMPLES.glob("*.c")):
        for block in file.read_text().split("\n\n"):
            block = re.sub(r"^int main\(.*\n{\n", "", block.strip("\n"))
            blocks.append((file.name, textwrap.dedent(re.sub(r"\n}$", "", block) if "\n{" not in block else block).split("\n")))
    return blocks


# ---- pages ----


def page(name, section, parts):
    # No hyphens and no stretched lines: names of symbols stay whole.
    # The names are long: in the middle of the heading there is no room.
    manual = "SystemApi Manual" if section == 7 else ""
    lines = [f'.TH {name} {section} "" "SystemApi {VERSION}" "{manual}"', ".nh", ".ad l", *wrapped(parts)]
    (OUT / f"man{section}" / f"{name}.{section}").write_text("\n".join(lines) + "\n")


def link_page(name, target):
    (OUT / "man3" / f"{name}.3").write_text(f".so man3/{target}.3\n")


def references(names):
    rows = sorted(set(names))
    return [f".BR {name} ({section})" + ("," if row + 1 < len(rows) else "") for row, (section, name) in enumerate(rows)]


def errors_of(function, symbols):
    """The codes that the description of the result names."""
    text = " ".join(words(section) for section in function.titled.get("return", []))
    for symbol in dict.fromkeys(re.findall(r"ERROR_SYSTEMAPI_\w+", text)):
        value, condition = symbols[symbol]
        yield [".TP", f".BR {symbol} \" ({value})\""], meaning(condition)
    for value, condition in re.findall(r"(0x040A[0-9A-F]{4}) \(([^)]*)\)", text):
        yield [".TP", f".B {value}"], meaning(condition)


def notes(function, common):
    """Each a title and a text: the function's own, or else the common one."""
    titles = [*MUST_SAY[:1], "Signals", "Threads", *MUST_SAY[1:]]
    if any(kind.endswith("*") for kind, _ in function.arguments):
        titles.append("Buffers")
    if any(kind.endswith("***") for kind, _ in function.arguments):
        titles.append("Tables")
    if any("wchar_t" in kind for kind, _ in function.arguments) or "_File_" in function.name:
        titles.append("Text")
    if re.search(r"\bRuns\b", words(function.details)) or "\" runs" in words(function.details):
        titles.append("Programs")
    for title in titles:
        own = " ".join(words(section.find("para")) for section in function.titled.get(title, []))
        yield title, sentence(own or common.get(title, ""))


def surprises(function, wide):
    for one in [function, wide]:
        if not one:
            continue
        for section in one.titled.get(TITLE, []):
            text = [words(node) for node in section.findall("para")]
            if one is wide and text in [[words(node) for node in other.findall("para")] for other in function.titled.get(TITLE, [])]:
                continue
            blocks = flat(paragraphs(section))
            blocks = [line if line.startswith(".") else sentence(line) for line in blocks]
            yield ([".PP", escaped(f"The wide form: {text[0]}")] if one is wide else blocks)


def function_page(function, wide, common, symbols, rules, examples, siblings):
    forms = [function] + ([wide] if wide else [])
    brief = function.brief.rstrip(".")
    parts = [".SH NAME", ", ".join(form.name for form in forms) + " \\- " + escaped(brief[:1].lower() + brief[1:])]
    library = "systemapi" if function.header == "Tolvane_SystemApi.h" else "baselib"
    parts += [".SH LIBRARY", f"SystemApi: link with", f".BR \"$(pkg\\-config \\-\\-cflags \\-\\-libs tolvane\\-{library})\" ."]
    parts += [".SH SYNOPSIS", ".nf", f".B #include <{function.header}>"]
    for form in forms:
        parts += [".sp", *(f".B \"{escaped(line)}\"" for line in form.prototype())]
    parts += [".fi", *under("DESCRIPTION", [[".PP", escaped(function.brief)], *paragraphs(function.details)])]
    parts += [".SH PARAMETERS"] if function.arguments else []
    for names, direction, text in function.parameters():
        way = {"in": "in", "out": "out", "inout": "in and out"}[direction]
        parts += [".TP", f".IR {', '.join(names)}".replace(", ", " \", \" ") + f" \" ({way})\"", escaped(meaning(text))]
    for kind, _ in function.arguments:
        fields = load_record(kind.rstrip("* ").split(" ")[-1])
        if fields:
            parts += [".SH RECORD", "The fields of", f".BR {kind.rstrip('* ')} :"]
            for declaration, said in fields:
                parts += [".TP", f".B \"{declaration}\"", escaped(meaning(said))]
    for section in function.titled.get("return", []):
        blocks = [block for block in paragraphs(section)]
        blocks[0][1] = sentence(blocks[0][1])
        parts += under("RETURN VALUE", blocks)
    errors = list(errors_of(function, symbols))
    for head, condition in errors:
        parts += ([".SH ERRORS"] if head is errors[0][0] else []) + [*head, escaped(condition)]
    if "_File_" in function.name and "filesystem_error" in words(function.details):
        parts += [".TP", ".B std::filesystem::filesystem_error", escaped(common["Exceptions"])]
    parts.append(".SH NOTES")
    if function.header == "Tolvane_SystemApi.h":
        for title, text in notes(function, common):
            if not text:
                faults.append(f"{function.name}: nothing on {title}")
            parts += [".TP", f".B {title}", escaped(text)]
    else:
        for rule in rules:
            parts += [".IP \\(bu 3", escaped(rule)]
    odd = list(surprises(function, wide))
    if odd:
        parts += [".SH SURPRISES", "What follows is meant, and callers rely on it.", *flat(odd)]
    mine = [(file, lines) for file, lines in examples if re.search(rf"\b{function.name}\(", "\n".join(lines))]
    if mine:
        file, lines = mine[0]
        parts += [".SH EXAMPLE", f"From the example program", f".IR {file} :", ".PP", *code(lines)]
    elif function.header == "Tolvane_SystemApi.h":
        faults.append(f"{function.name}: no example calls it")
    related = [(7, "SystemApi")] + [(3, other) for other in siblings if other != function.name]
    if function.header == "Tolvane_SystemApi.h" and function.name != "SystemApi_GetLastError":
        related.append((3, "SystemApi_GetLastError"))
    if any(kind.endswith("***") for kind, _ in function.arguments):
        related.append((3, "BaseLib_Memory_Free"))
    parts += [".SH SEE ALSO", *references(related)]
    page(function.name, 3, parts)
    if wide:
        link_page(wide.name, function.name)


def overview(functions, base, common, symbols):
    parts = [".SH NAME", "SystemApi \\- one flat, C-callable interface to the operating system"]
    parts += [".SH LIBRARY", "Link with", ".BR \"$(pkg\\-config \\-\\-cflags \\-\\-libs tolvane\\-systemapi)\" ."]
    parts += [".SH SYNOPSIS", ".nf", ".B #include <Tolvane_SystemApi.h>", ".fi", ".SH DESCRIPTION"]
    parts += ["Operations on files and folders, hardware, processes, and the system as a whole. Nothing has to be called "
              "first, and nothing last. The pages of section 3 describe each operation; here is what is common to all."]
    groups = {"ERRORS": ("Results", "Symbols", "Exceptions"), "THREADS AND SIGNALS": ("Threads", "Signals"),
              "OWNERSHIP": ("Buffers", "Tables"), "UNITS AND TEXT": ("Units", "Text"), "ENVIRONMENT": ("Programs", "Variables")}
    left = set(common) - {title for titles in groups.values() for title in titles}
    if left:
        faults.append(f"no place in SystemApi(7) for {left}")
    for heading, titles in groups.items():
        parts.append(f".SH {heading}")
        for title in titles:
            parts += [".TP", f".B {title}", escaped(common[title])]
    parts.append(".SH FUNCTIONS")
    for family, heading in [*FAMILIES.items(), ("GetLastError", "Errors")]:
        parts.append(f".SS {heading}")
        for function in functions:
            if f"SystemApi_{family}" in function.name and not function.brief.startswith("As "):
                parts += [".TP", f".BR {function.name} (3)", escaped(function.brief)]
    parts.append(".SS The base library")
    for function in base:
        if not function.brief.startswith("As "):
            parts += [".TP", f".BR {function.name} (3)", escaped(function.brief)]
    parts.append(".SH SURPRISES")
    parts.append("All of these are meant, and callers rely on them.")
    for function in functions:
        wide_only = function.brief.startswith("As ")
        for section in function.titled.get(TITLE, []):
            base_of = next((other for other in functions if other.name == function.name[:-1] + "A"), None) if wide_only else None
            if base_of and words(section) in [words(other) for other in base_of.titled.get(TITLE, [])]:
                continue
            blocks = flat(paragraphs(section))
            blocks = [line if line.startswith(".") else sentence(line) for line in blocks if line != ".PP"]
            if any(line.startswith(".IP") for line in blocks):
                blocks = [".RS", *blocks, ".RE"]
            parts += [".TP 7", f".BR {function.name} (3)", *blocks]
    parts.append(".SH ERROR CODES")
    parts.append("By value. Where several symbols share one, the operation called tells them apart.")
    for symbol, (value, condition) in sorted(symbols.items(), key=lambda row: (row[1][0], row[0])):
        parts += [".TP", f".BR {value} \" {symbol}\"", escaped(meaning(condition))]
    parts += [".SH SEE ALSO", *references([(1, "systemapi"), (3, "SystemApi_GetLastError"), (3, "BaseLib_Memory_Free")])]
    page("SystemApi", 7, parts)


def check_symbols(functions, symbols):
    named = " ".join(words(section) for function in functions for section in function.titled.get("return", []))
    faults.extend(f"{symbol}: no operation's result names it" for symbol in symbols if not re.search(rf"\b{symbol}\b", named))


def main():
    for section in (3, 7):
        (OUT / f"man{section}").mkdir(parents=True, exist_ok=True)
    functions, symbols, common, _ = load("Tolvane__SystemApi_8h.xml")
    base, _, _, rules = load("Tolvane__BaseLib_8h.xml")
    examples = load_examples()
    for group in (functions, base):
        by_name = {function.name: function for function in group}
        for function in group:
            if function.brief.startswith("As "):
                continue
            wide = by_name.get(re.sub("A$", "W", function.name)) if function.name.endswith("A") else None
            family = function.name.split("_")[1]
            siblings = [other.name for other in group if f"_{family}_" in other.name and not other.brief.startswith("As ")]
            function_page(function, wide, common, symbols, rules, examples, siblings)
    overview(functions, base, common, symbols)
    check_symbols(functions, symbols)
    if faults:
        sys.exit("\n".join(faults))


main()
