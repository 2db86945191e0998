"""Checks that every test which the documents name exists, and that their links lead somewhere.

Usage: check_docs.py SOURCE_DIR
"""
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
tests = set()
for path in (source / "tests").rglob("*.cpp"):
    tests |= {".".join(names) for names in re.findall(r"TEST(?:_[FP])?\((\w+),\s*(\w+)\)", path.read_text())}
suites = {name.split(".")[0] for name in tests}

faults = []
for path in [*source.glob("*.md"), *source.glob("docs/*.md")]:
    text = path.read_text()
    where = path.relative_to(source)
    if path.name == "behaviour.md":
        for name in re.findall(r"`([A-Z]\w+\.[\w*]+)`", text):
            if name not in tests:
                faults.append(f"{where}: there is no test {name}")
        for row in re.findall(r"^\| (?!---|Behaviour).*\|$", text, re.MULTILINE):
            if "`" not in row.rsplit("|", 2)[1]:
                faults.append(f"{where}: no test pins: {row}")
    for link in re.findall(r"\]\(([^)#:]+)\)", text):
        if not (path.parent / link).exists():
            faults.append(f"{where}: {link} does not exist")
if not suites:
    faults.append("no test found at all")
print("\n".join(faults))
sys.exit(1 if faults else 0)
