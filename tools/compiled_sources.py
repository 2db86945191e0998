"""Filters a list of sources on standard input to those that a compilation database compiles."""
import json
import os
import sys

with open(sys.argv[1], encoding="utf-8") as database:
    compiled = {os.path.realpath(os.path.join(e["directory"], e["file"])) for e in json.load(database)}
for line in sys.stdin:
    if os.path.realpath(line.strip()) in compiled:
        print(line.strip())
