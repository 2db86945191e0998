"""Installs the built library into a folder of its own and uses it as an application would: the CMake
package with the demonstration program, pkg-config with the example of the README.

Usage: check_install.py SOURCE_DIR BUILD_DIR WORK_DIR
"""
import hashlib
import hmac
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys

source, build, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
stage = work / "stage"
REAL_NAME = "libTalvern_v5.2.0_Linux_2.6_64.so"


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))} failed:\n{done.stdout}{done.stderr}")
    return done.stdout


def expect(condition, message):
    if not condition:
        sys.exit(message)


def check_files():
    library = next(stage.glob(f"lib*/**/{REAL_NAME}"))
    for link in ("libTalvern.so", "libTalvern.so.5"):
        expect((library.parent / link).resolve() == library, f"{link} does not lead to {REAL_NAME}")
    sections = run("readelf", "-SW", library)
    expect(".debug_info" not in sections, "the installed library still holds its debug information")
    expect(".gnu_debuglink" in sections, "the installed library does not name its debug file")
    expect(".debug_info" in run("readelf", "-SW", library.parent / f"{REAL_NAME}.debug"),
           "the installed debug file holds no debug information")
    extra = {p.name for p in library.parent.iterdir() if p.is_file()} - {f"{REAL_NAME}.debug"}
    extra -= {REAL_NAME, "libTalvern.so", "libTalvern.so.5"}
    expect(not extra, f"more than the shared library is installed: {extra}")
    return library.parent


def check_demo():
    run("cmake", "-S", source / "examples", "-B", work / "examples", f"-DCMAKE_PREFIX_PATH={stage}")
    run("cmake", "--build", work / "examples")
    data = random.Random(5).randbytes(3_000_001)
    sample = work / "sample.bin"
    sample.write_bytes(data)
    output = run(work / "examples" / "demo", sample)
    for name in ("sha224", "sha256", "sha384", "sha512"):
        expect(hashlib.new(name, data).hexdigest() in output, f"the demo's {name} differs:\n{output}")
    mac = hmac.new(b"demonstration key", data, "sha256").hexdigest()
    expect(mac in output, f"the demo's HMAC differs:\n{output}")
    expect("proven mode" in output and "0x0A010059" in output and "0x0A0400F0" in output,
           f"the demo does not show the refusal of SHA-1:\n{output}")
    missing = subprocess.run([work / "examples" / "demo", work / "absent"], capture_output=True, check=False)
    expect(missing.returncode != 0, "the demo succeeds on a missing file")


def check_readme_example(libdir):
    program = re.search(r"```c\n(.*?)```", (source / "README.md").read_text(), re.DOTALL).group(1)
    (work / "example.c").write_text(program)
    environment = dict(os.environ, PKG_CONFIG_PATH=str(libdir / "pkgconfig"), LD_LIBRARY_PATH=str(libdir))
    flags = run("pkg-config", "--cflags", "--libs", "talvern", env=environment).split()
    run("cc", "-std=c99", "-Wall", "-Wextra", "-Werror", work / "example.c", "-o", work / "example", *flags)
    message = b"The quick brown fox jumps over the lazy dog"
    output = run(work / "example", env=environment)
    expect(output.strip() == hashlib.sha256(message).hexdigest(), f"the README's example prints {output}")


shutil.rmtree(work, ignore_errors=True)
work.mkdir(parents=True)
run("cmake", "--install", build, "--prefix", stage, "--strip")
check_files()
shutil.rmtree(stage)
run("cmake", "--install", build, "--prefix", stage)
check_demo()
check_readme_example(check_files())
