"""Reads the built shared library: what it needs, what runs at load, how it is protected, what it gives away.

Usage: check_library.py LIBRARY SOURCE_DIR BUILD_DIR [READELF]
"""
import pathlib
import re
import subprocess
import sys

library, source, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
readelf = sys.argv[4] if len(sys.argv) > 4 else "readelf"
faults = []


def read(*options):
    command = [readelf, "-W", *options, str(library)]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def expect(condition, message):
    if not condition:
        faults.append(message)


dynamic = read("--dynamic")
segments = read("--program-headers")
sections = read("--section-headers")
relocations = read("--relocs")
# Value, type and section number of each symbol by name; an imported symbol stands in section UND.
SYMBOL = re.compile(r"^ *\d+: ([0-9a-f]+) +\w+ +(\w+) +\w+ +\w+ +(?:\[.*\] +)?(\w+) ([^\s@]+)", re.MULTILINE)
symbols = SYMBOL.findall(read("--symbols"))
imported = {name for _, _, section, name in symbols if section == "UND"}


def entries(tag):
    return re.findall(rf"\({tag}\).*?\[(.*)\]", dynamic)


def check_dependencies():
    expect(entries("NEEDED") == ["libc.so.6"], f"needs {entries('NEEDED')}")
    expect(entries("SONAME") == ["libTalvern.so.5"], f"is called {entries('SONAME')}")
    expect("(RPATH)" not in dynamic and "(RUNPATH)" not in dynamic, "holds a search path for libraries")


def check_protection():
    expect(re.search(r"\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW", dynamic), "binds symbols lazily")
    expect("GNU_RELRO" in segments, "its relocations stay writable")
    stack = re.search(r"GNU_STACK.* ([RWE ]{3}) 0x", segments)
    expect(stack and "E" not in stack[1], "asks for an executable stack")
    writable_code = re.search(r"LOAD.* RWE 0x", segments)
    expect(not writable_code, "holds a segment that is writable and executable")
    expect("TEXTREL" not in dynamic, "relocates its code")


def functions_of(section):
    """Names of the functions whose addresses stand in an array of the dynamic loader."""
    place = re.search(rf" \{section} +\w+ +([0-9a-f]+) [0-9a-f]+ ([0-9a-f]+)", sections)
    if place is None:
        return []
    start, size = int(place[1], 16), int(place[2], 16)
    targets = [int(target, 16) for where, target in re.findall(r"^([0-9a-f]+) .*_RELATIVE +([0-9a-f]+)",
                                                               relocations, re.MULTILINE)
               if start <= int(where, 16) < start + size]
    expect(len(targets) * 8 == size, f"{section} holds more than plain addresses")
    names = {int(value, 16): name for value, kind, _, name in symbols if kind == "FUNC"}
    return [names.get(target, hex(target)) for target in targets]


def check_load_time_code():
    for section, expected in ((".init_array", ["frame_dummy"]), (".fini_array", ["__do_global_dtors_aux"]),
                              (".preinit_array", [])):
        found = functions_of(section)
        expect(set(found) <= set(expected), f"{section} runs {found}")
    expect(symbols, "holds no symbol table to look into")
    indirect = [name for _, kind, _, name in symbols if kind == "IFUNC"]
    expect(not indirect and "IRELATIV" not in relocations, f"chooses functions at load: {indirect}")
    hooks = imported & {"atexit", "__cxa_atexit", "on_exit", "__cxa_thread_atexit_impl"}
    expect(not hooks, f"registers code for the exit of the process through {hooks}")


def check_initial_state():
    """No variable of ours has a first value in the file, where damage could weaken the module before it tests
    itself. The compiler's own objects stay."""
    section = re.search(r"\[ *(\d+)\] \.data ", sections)
    values = {name for _, kind, at, name in symbols if kind == "OBJECT" and section and at == section[1]}
    expect(values <= {"__dso_handle", "__TMC_END__"}, f"starts with values in the file: {values}")


def check_environment():
    variables = imported & {"getenv", "secure_getenv", "environ", "__environ", "setenv", "putenv"}
    expect(not variables, f"uses the environment through {variables}")
    data = library.read_bytes()
    for folder in (source, build):
        expect(str(folder).encode() not in data, f"holds the path {folder} of the machine that built it")


check_dependencies()
check_protection()
check_load_time_code()
check_initial_state()
check_environment()
if faults:
    sys.exit("\n".join(f"{library.name} {fault}" for fault in faults))
