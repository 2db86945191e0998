"""Builds the library a second time from a copy of the sources in another folder and compares the files.

Usage: check_reproducible.py SOURCE_DIR LIBRARY WORK_DIR
"""
import filecmp
import pathlib
import shutil
import subprocess
import sys

source, library, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
copy = work / "another" / "place"
shutil.rmtree(work, ignore_errors=True)
copy.mkdir(parents=True)
for name in ("CMakeLists.txt", "CMakePresets.json", "cmake", "include", "src", "tools"):
    (shutil.copytree if (source / name).is_dir() else shutil.copy)(source / name, copy / name)

configure = ["cmake", "--preset", "release", "-DTALVERN_TESTS=OFF"]
build = ["cmake", "--build", "--preset", "release", "--target", "talvern"]
for command in (configure, build):
    done = subprocess.run(command, cwd=copy, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)} failed:\n{done.stdout}{done.stderr}")

again = copy / library.relative_to(source)
if not filecmp.cmp(library, again, shallow=False):
    sys.exit(f"{library} and {again} differ")
shutil.rmtree(work)
