"""Checks that the committed export list, the public headers and the built library name the same symbols.

Usage: check_exports.py SOURCE_DIR LIBRARY [NM]
"""
import pathlib
import re
import subprocess
import sys

VERSION = "TALVERN_5.2"
SECTION = re.compile(r"# (talvern/\w+\.h)")
COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)
DIRECTIVE = re.compile(r"^#.*(?:\\\n.*)*$", re.MULTILINE)
# The declared name is the last word before the parameters of a function or the end of a datum.
DECLARATION = re.compile(r"\bVRQ_API\b[^;(\[=]*?(\w+)\s*[;(\[=]")


def listed(path, faults):
    """Names of the list with the header each stands under."""
    names, sections, header = {}, [], None
    for line in path.read_text().splitlines():
        if section := SECTION.fullmatch(line):
            header = section[1]
            sections.append((header, []))
        elif line and not line.startswith("#"):
            if header is None:
                sys.exit(f"{path}: {line} stands under no header")
            if line in names:
                faults.append(f"{line} is listed twice")
            names[line] = header
            sections[-1][1].append(line)
    if [header for header, _ in sections] != sorted(header for header, _ in sections):
        faults.append("the sections of the list are not sorted by header")
    faults += [f"the section {header} is not sorted" for header, section in sections if section != sorted(section)]
    return names


def declared(include):
    names = {}
    for header in sorted(include.glob("talvern/*.h")):
        text = DIRECTIVE.sub("", COMMENT.sub("", header.read_text()))
        names |= {name: f"talvern/{header.name}" for name in DECLARATION.findall(text)}
    return names


def built(library, nm, faults):
    command = [nm, "-D", "--defined-only", "--with-symbol-versions", str(library)]
    names = set()
    for line in subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines():
        kind, symbol = line.split()[-2:]
        name, _, version = symbol.partition("@@")
        if kind == "A" and name == VERSION:
            continue  # the version node itself
        if version != VERSION:
            faults.append(f"{symbol} does not carry the version {VERSION}")
        names.add(name)
    return names


def main():
    source, library = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    faults = []
    in_list = listed(source / "cmake" / "exports.txt", faults)
    in_headers = declared(source / "include")
    in_library = built(library, sys.argv[3] if len(sys.argv) > 3 else "nm", faults)

    for name in sorted(in_list.keys() | in_headers.keys() | in_library):
        places = {"cmake/exports.txt": name in in_list, "the headers": name in in_headers,
                  "the library": name in in_library}
        missing = [place for place, holds in places.items() if not holds]
        if missing:
            faults.append(f"{name} is missing in {' and '.join(missing)}")
        elif in_list[name] != in_headers[name]:
            faults.append(f"{name} is listed under {in_list[name]} but declared in {in_headers[name]}")
    if not in_list:
        faults.append("the list is empty")
    if faults:
        sys.exit("\n".join(faults))
    print(f"{len(in_list)} exported symbols agree")


main()
