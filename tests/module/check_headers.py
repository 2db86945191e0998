"""Compiles every public header alone, in every C and C++ standard, with every compiler given, and checks that
the umbrella header includes them all.

Usage: check_headers.py INCLUDE_DIR COMPILER...   (gcc, clang for C; g++, clang++ for C++)
"""
import concurrent.futures
import os
import pathlib
import subprocess
import sys

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
STANDARDS = {"c": ["c99", "c11", "c17"], "c++": ["c++98", "c++11", "c++17", "c++20"]}

include = pathlib.Path(sys.argv[1])
headers = [str(path) for path in sorted(include.rglob("*.h"))]
compilers = sys.argv[2:]
if not headers or not compilers:
    sys.exit(__doc__)


def compile_all(compiler, language, standard):
    """Each header is a translation unit of its own."""
    command = [compiler, "-fsyntax-only", f"-std={standard}", *WARNINGS, "-I", str(include), "-x", language]
    done = subprocess.run(command + headers, capture_output=True, text=True, check=False)
    return "" if done.returncode == 0 else f"{compiler} -std={standard}:\n{done.stderr}"


def jobs():
    for compiler in compilers:
        language = "c++" if compiler.endswith("++") else "c"
        for standard in STANDARDS[language]:
            yield compiler, language, standard


umbrella = (include / "talvern.h").read_text()
faults = [f"talvern.h does not include {header}" for header in sorted(include.glob("talvern/*.h"))
          if f'#include "talvern/{header.name}"' not in umbrella]
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    results = list(pool.map(lambda job: compile_all(*job), jobs()))
faults += [result for result in results if result]
if faults:
    sys.exit("\n".join(faults))
print(f"{len(headers)} headers, {len(results)} combinations of compiler and standard")
