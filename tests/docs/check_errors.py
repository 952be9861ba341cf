"""Compares docs/errors.md with the code, both ways: numbers with their names and texts, exception classes, and the
texts that are written out where something is raised. Usage: check_errors.py SOURCE-FOLDER"""

import html
import re
import sys
from pathlib import Path

ROOT = Path(sys.argv[1])
UNITS = ROOT / "source/ComponentSets/Components/network"
LITERALS = re.compile(r'(?:"(?:[^"\\\n]|\\.)*"\s*)+')
problems = []


def without_comments(text):
    return re.sub(r'("(?:[^"\\\n]|\\.)*")|//[^\n]*', lambda found: found[1] or "", text)


def joined(literals):
    """The text of adjacent literals, with its escapes undone and line breaks as blanks."""
    text = "".join(re.findall(r'"((?:[^"\\\n]|\\.)*)"', literals))
    return text.replace("\\r\\n", " ").replace("\\n", " ").replace('\\"', '"')


def pieces(text):
    """What stays of a text when what is put into it is taken out. "..." stands for that on the page, % in a format."""
    text = re.sub(r"%%|%[-.0-9]*(?:l|ll|z)?[dusX]", lambda found: "%" if found[0] == "%%" else "...", text)
    return tuple(" ".join(part.split()) for part in text.split("...") if re.search(r"\w", part))


def sections(page):
    return {title: body for title, body in re.findall(r"^#+ (.*)\n((?:(?!#)[^\n]*\n)*)", page, re.M)}


def rows(body):
    for line in body.splitlines():
        if line.startswith("| ") and not line.startswith("| Number") and not line.startswith("| Class"):
            yield [cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]]


def compare(what, in_code, on_page):
    for item in sorted(in_code - on_page, key=str):
        problems.append(f"{what}: the page lacks {item}")
    for item in sorted(on_page - in_code, key=str):
        problems.append(f"{what}: the code has no {item}")


code = {path: without_comments(path.read_text())
        for folder in ("platform", "common", "source") for path in sorted((ROOT / folder).rglob("*"))
        if path.suffix in (".h", ".cpp")}
page = sections((ROOT / "docs/errors.md").read_text())

# Numbers
named = dict(re.findall(r"^\s+([A-Z][A-Z_0-9]+) = (\d+),", code[ROOT / "platform/errors/Errors.h"], re.M))
texts = {name: joined(text) for name, text in
         re.findall(r"\{([A-Z_0-9]+),\s*(" + LITERALS.pattern + r")\}", code[ROOT / "platform/errors/ErrorTexts.cpp"])}
compare("number", {(number, f"`{name}`", texts.get(name)) for name, number in named.items()},
        {tuple(row[:3]) for title in ("System", "Sockets and names", "HTTP client's numbers") for row in rows(page[title])})
compare("status of an echo", {(number, f"`{name}`") for name, number in
                              re.findall(r"(IP_[A-Z_]+) = (\d+),", code[ROOT / "platform/icmp/Icmp.h"])},
        {tuple(row[:2]) for row in rows(page["What became of an echo"])})
for path, text in code.items():
    for found in re.findall(r"\b((?:ERROR|WSA)_?[A-Z_]+) = \d+", text):
        if path.name != "Errors.h":
            problems.append(f"number: {found} is declared in {path.name}, not in platform/errors/Errors.h")

socket_texts = re.findall(r'\{(10\d+), "(.*?)"\}', code[UNITS / "uZnIPHelper/SocketErrors.cpp"])
compare("socket text", {(number, text.replace("%d", number).strip()) for number, text in socket_texts},
        {tuple(row[:2]) for row in rows(page["Texts of socket errors"])})
client_source = code[UNITS / "uZnWinHTTPH/ErrorTexts.cpp"]
obsolete = re.search(r'cObsolete = ("[^"]*");', client_source)[1]
client_texts = re.findall(r"\{(\d+),\s*(" + LITERALS.pattern + r")\}", client_source.replace("cObsolete}", obsolete + "}"))
compare("client text", {(number, re.sub(" +", " ", joined(text))) for number, text in client_texts},
        {tuple(row[:2]) for row in rows(page["Texts of the HTTP client"])})
second_source = code[UNITS / "uZnWinINetH/ErrorTexts.cpp"]
compare("second transport's text",
        {(number, re.sub(" +", " ", joined(text)))
         for number, text in re.findall(r"\{(\d+),\s*(" + LITERALS.pattern + r")\}", second_source)},
        {tuple(row[:2]) for row in rows(page["Texts of the second transport"])})

# Classes
classes = {name for text in code.values() for name in re.findall(r'ZN_EXCEPTION_NAME\("(\w+)"\)', text)} | {"Exception"}
compare("class", classes, {row[0].strip("`") for row in rows(page["Exception classes"])})


# Texts
def statement(text, start):
    """The arguments behind "throw Class(" or "ZnAssert(", up to the bracket that closes them."""
    depth, position = 1, start
    while depth and position < len(text):
        if literal := re.compile(r'"(?:[^"\\\n]|\\.)*"').match(text, position):
            position = literal.end()
            continue
        depth += {"(": 1, "{": 1, ")": -1, "}": -1}.get(text[position], 0)
        position += 1
    return text[start:position - 1]


raised = {}
every_literal = set()
for path, text in code.items():
    for literal in LITERALS.finditer(text):
        every_literal.update(pieces(joined(literal[0])))
    for found in re.finditer(r"\b(?:throw\s+\w+|ZnAssert)\s*\(", text):
        arguments = statement(text, found.end())
        for alternative in re.split(r" : (?=\s*\")", arguments.replace('"text/html",', "")):
            parts = [part for literal in LITERALS.findall(alternative) for part in pieces(joined(literal))]
            if parts:
                raised.setdefault(tuple(parts), path.name)

written = {pieces(html.unescape(row[1][1:-1])) for title, body in page.items() if title.startswith("Texts: ")
           for row in rows(body)}
for parts, file in sorted(raised.items()):
    if parts not in written:
        problems.append(f"text: the page lacks \"{' ... '.join(parts)}\" of {file}")
for parts in sorted(written):
    for part in parts:
        if part not in every_literal:
            problems.append(f"text: the code has no \"{part}\"")

for problem in problems:
    print(problem)
print(f"{len(named)} numbers, {len(classes)} classes, {len(raised)} texts: {len(problems)} differences")
sys.exit(1 if problems else 0)
