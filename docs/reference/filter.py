"""What Doxygen reads in the place of a file. Lines stay lines, so that its messages name the right ones.

The house style of a header becomes Doxygen's:

- the first comment of a header is the file's;
- a comment behind a member describes it;
- a setter right behind its getter shares the getter's text, an overload is called one;
- what nobody calls by name has no entry: deleted functions, destructors, inherited constructors, IIDs. Neither has a
  protected member without a text, as only descendants of the library's own see it.

The headings of a page get the anchors that links expect."""

import html
import re
import sys
from pathlib import Path

OWNER = "AOwner frees the component with itself; nullptr: whoever makes it does."
FUNCTION = re.compile(r"\s+(?:ZN_API |virtual |static |explicit |constexpr )*(?:[\w:<>,*&\[\]]+[ &*]+)*?(~?\w+)\(")


def end_of_declaration(lines, start):
    """The line in which what begins at `start` ends: with ";", or with the bracket of its body."""
    depth = 0
    for index in range(start, len(lines)):
        code = re.sub(r"//.*", "", lines[index])
        depth += sum(code.count(each) for each in "({") - sum(code.count(each) for each in ")}")
        if depth == 0 and code.rstrip().endswith((";", "}")):
            return index
    return start


def hide(lines, start):
    end = end_of_declaration(lines, start)
    lines[start] = "/** @cond */ " + lines[start]
    lines[end] += " /** @endcond */"
    return end


def header(text):
    lines = text.split("\n")
    # "/// text" on the third line, with a blank line behind its block, describes the file.
    end = next((index for index in range(2, len(lines)) if not lines[index].startswith("///")), 2)
    if end > 2 and lines[end] == "":
        lines[1] = "/// @file"
    else:
        lines[0] = "/** @file */"
    access = previous = getter = None
    index = 0
    while index < len(lines) - 1:
        index += 1
        line = lines[index]
        if found := re.match(r"(public|protected|private):", line):
            access = found[1]
        elif re.match(r"(class|struct) ", line):
            access = previous = getter = None
        if not re.match(r"(    )?[\w~]", line) or line.endswith(":"):
            continue
        if found := re.match(r"(.*?[;,{}(\w]\s*)// (?!---)(.*)$", line):
            lines[index] = f"{found[1]}///< {found[2]}"
            continue
        commented = lines[index - 1].strip().startswith(("///", "template "))
        if re.match(r"    using (\w+::)?(\w+)::\2;|    using \w+::\w+;", line) or "= delete;" in line or " IID{" in line:
            index = hide(lines, index)
            continue
        if not commented and line.startswith("    ") and (re.search(r"= default;|~\w+\(", line) or
                                                          access == "protected"):
            index = hide(lines, index)
            continue
        found = FUNCTION.match(line)
        name = found[1] if found else None
        if not commented and name:
            if name == previous:
                lines[index] = "/** @overload */ " + line
            elif getter and name == "S" + getter[1:]:
                lines[index] = f"/** @copydoc {getter} */ " + line
            elif re.search(r"\(TComponent\* AOwner", line):
                lines[index] = f"/** {OWNER} */ " + line
        if commented or name != previous:
            previous = name if commented else None
        if name and name.startswith("Get"):
            getter = name if commented or previous else None
    return "\n".join(lines)


def slug(heading):
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def code_span(found):
    """One with quotes in a form that they don't upset."""
    if found[0].count('"') % 2:
        return f"<code>{html.escape(found[0][1:-1])}</code>"
    return f"`{found[0]}`" if "'" in found[0] else found[0]


def page(text, name):
    fenced = False
    lines = text.split("\n")
    for index, line in enumerate(lines):
        if line.startswith("```"):
            fenced = not fenced
        if fenced:
            continue
        line = re.sub(r"\]\((?:(?:[\w.-]*/)*([\w-]+)\.md)?#([\w-]+)\)",
                      lambda found: f"](#{found[1] or name}_{found[2]})", line)
        line = re.sub(r"(!\[[^\]]*\]\()(?:[\w.-]+/)+", r"\1", line)  # IMAGE_PATH finds it
        if not line.startswith("#"):
            line = re.sub(r"`[^`]+`", code_span, line)
        if found := re.match(r"(##+) (.*)", line):
            line = f"{found[1]} {found[2].replace('`', '')} {{#{name}_{slug(found[2])}}}"
        lines[index] = line
    return "\n".join(lines)


if __name__ == "__main__":
    path = Path(sys.argv[1])
    contents = path.read_text()
    print(header(contents) if path.suffix == ".h" else page(contents, path.stem), end="")
