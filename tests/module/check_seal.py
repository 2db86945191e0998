"""The seal of the library file: what keeps it valid, what breaks it, and with which status.

Usage: check_seal.py LIBRARY PROBE SOURCE_DIR WORK_DIR STRIP OBJCOPY
"""
import os
import pathlib
import random
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
library, probe_program, source, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:5])
strip, objcopy = sys.argv[5:7]
sys.path[:0] = [str(source / "tools"), str(pathlib.Path(__file__).parent)]
import seal  # noqa: E402
from probe import Probe  # noqa: E402

NOT_READ = 0x1A010050
DIFFERS = 0x1A01000C
PT_DYNAMIC = 2
HEADERS = 640  # every byte of the ELF and program headers is flipped, and about so many of the rest
FLIPS = 2000
whole = library.read_bytes()
image = seal.Image(whole)
slot = image.slot()
faults = []


def expect(answer, wanted, label):
    if answer != wanted:
        faults.append(f"{label}: {answer if isinstance(answer, str) else hex(answer)} instead of {wanted:#x}")


def fresh(name="lib.so", data=whole):
    path = work / name
    path.parent.mkdir(exist_ok=True)
    path.unlink(missing_ok=True)
    path.write_bytes(data)
    return path


def first_call(path, folder=None):
    with Probe(probe_program, path, folder) as probe:
        return probe.status("VRQ_Crypto_Initialize")


def check_tools():
    """Tools of packagers leave the seal valid."""
    debug = work / "lib.debug"
    for label, commands in {
            "strip": [[strip]],
            "strip --strip-debug": [[strip, "--strip-debug"]],
            "strip --strip-unneeded": [[strip, "--strip-unneeded"]],
            "debug link": [[objcopy, f"--add-gnu-debuglink={debug}"]],
            "strip and debug link": [[strip, "--strip-unneeded"], [objcopy, f"--add-gnu-debuglink={debug}"]],
            "compressed debug information": [[objcopy, "--compress-debug-sections"]],
    }.items():
        path = fresh()
        subprocess.run([objcopy, "--only-keep-debug", str(path), str(debug)], check=True)
        for command in commands:
            subprocess.run([*command, str(path)], check=True)
        expect(first_call(path), 0, label)


def check_places():
    """The file is found under every name that it is loaded by."""
    path = fresh()
    link = work / "link.so"
    link.symlink_to(path.name)
    expect(first_call(link), 0, "symbolic link")
    expect(first_call("./lib.so", folder=work), 0, "relative name")
    expect(first_call(fresh("a folder (with) blanks/lib name.so")), 0, "name with blanks")
    sealed_folder = fresh("read-only/lib.so").parent
    sealed_folder.chmod(0o555)
    expect(first_call(sealed_folder / "lib.so"), 0, "read-only folder")
    sealed_folder.chmod(0o755)

    with Probe(probe_program, "./lib.so", work) as probe:
        probe_other = fresh("other/lib.so", b"another file of this name")
        probe.ask(f"folder {probe_other.parent}")
        expect(probe.status("VRQ_Crypto_Initialize"), 0, "relative name and another folder")
    with Probe(probe_program, path) as probe:
        path.rename(work / "renamed.so")
        fresh("lib.so", b"another file of this name")
        expect(probe.status("VRQ_Crypto_Initialize"), 0, "renamed, its name taken by another file")


def check_seals():
    blank = image.data.copy()
    blank[slot:slot + seal.SLOT_LENGTH] = bytes(seal.SLOT_LENGTH)
    expect(first_call(fresh(data=blank)), DIFFERS, "no seal")
    damaged = image.data.copy()
    damaged[slot + seal.SLOT_LENGTH - 1] ^= 1
    expect(first_call(fresh(data=damaged)), DIFFERS, "damaged seal")
    again = seal.Image(blank)
    again.seal()
    expect(first_call(fresh(data=again.data)), 0, "sealed again")
    if bytes(again.data) != whole:
        faults.append("sealing again gives another file")


def patched(at, form, value):
    data = bytearray(whole)
    seal.struct.pack_into(form, data, at, value)
    return data


def check_refusals_to_seal():
    """A file that cannot be what the linker wrote gets a message and no seal, not even a part of one."""
    first_segment, section_table = 64, seal.struct.unpack_from("<Q", whole, 0x28)[0]
    sections = [section_table + 64 * i for i in range(seal.struct.unpack_from("<H", whole, 0x3C)[0])]
    slot_header = next(at for at in sections if seal.struct.unpack_from("<QQ", whole, at + 24) == (slot, 32))
    for label, data in {
            "empty": b"",
            "32 bits": patched(4, "B", 1),
            "big-endian": patched(5, "B", 2),
            "ELF header alone": whole[:64],
            "cut": whole[:-1 - len(whole) // 2],
            "program headers of size 0": patched(0x36, "<H", 0),
            "65535 program headers": patched(0x38, "<H", 0xFFFF),
            "program headers far away": patched(0x20, "<Q", 2**64 - 1),
            "no program headers": patched(0x38, "<H", 0),
            "segment longer than the file": patched(first_segment + 32, "<Q", 2**63),
            "segment behind the file": patched(first_segment + 8, "<Q", len(whole)),
            "section headers far away": patched(0x28, "<Q", 2**64 - 64),
            "no section headers": patched(0x3C, "<H", 0),
            "no section names": patched(0x3E, "<H", 0xFFFF),
            "section name far away": patched(slot_header, "<I", 2**32 - 1),
            "slot in no segment": patched(slot_header + 24, "<Q", section_table),
            "slot across the end of a segment":
                patched(slot_header + 24, "<Q", max(start + length for start, length in loaded()) - 16),
            "slot too short": patched(slot_header + 32, "<Q", 31),
    }.items():
        path = fresh("refused.so", data)
        done = subprocess.run([sys.executable, source / "tools/seal.py", path],
                              capture_output=True, text=True, check=False)
        if done.returncode != 1 or not done.stderr.startswith("seal.py: "):
            faults.append(f"{label}: sealing ends with {done.returncode} and says {done.stderr!r}")
        if path.read_bytes() != bytes(data):
            faults.append(f"{label}: changed by a refusal")


def is_section_field(at):
    return any(start <= at < start + length for start, length in seal.SECTION_HEADER_FIELDS)


def loaded(kind=seal.PT_LOAD):
    """Offset and length in the file of all that the loader maps, writable or not."""
    start, = seal.struct.unpack_from("<Q", whole, 0x20)
    count, = seal.struct.unpack_from("<H", whole, 0x38)
    headers = [seal.struct.unpack_from("<IIQQQQ", whole, start + 56 * i) for i in range(count)]
    return [(header[2], header[5]) for header in headers if header[0] == kind]


def check_damage():
    """Every damaged byte in the covered range is refused. The file is damaged under a process that has loaded
    it whole: a fresh process would fail to load, or crash, for reasons of its own."""
    path = fresh()
    with Probe(probe_program, path) as probe:
        probe.ask("VRQ_Change_Test_Mode")
        path = fresh()  # the loaded file has no name any more
        expect(probe.status("vrq_Verify_DLL"), 0, "replaced by its like")

        covered = [at for start, length in loaded() for at in range(start, start + length)]
        stride = len(covered) // FLIPS | 1  # odd, so that every position within a word is met
        chosen = [*covered[:HEADERS], *covered[HEADERS::stride]]
        chosen += [*range(slot, slot + seal.SLOT_LENGTH), *(start + length - 1 for start, length in loaded())]
        chosen += [start + at for start, length in loaded(PT_DYNAMIC) for at in range(0, length, 8)]
        bits = random.Random(2)
        with path.open("r+b", buffering=0) as file:
            for at in chosen:
                os.pwrite(file.fileno(), bytes([whole[at] ^ 1 << bits.randrange(8)]), at)
                wanted = 0 if is_section_field(at) else DIFFERS
                expect(probe.status("vrq_Verify_DLL"), wanted, f"byte {at:#x} flipped")
                os.pwrite(file.fileno(), whole[at:at + 1], at)
        expect(probe.status("vrq_Verify_DLL"), 0, "mended")

        end = max(start + length for start, length in loaded())
        for size in (0, 1, 63, 64, 4096, slot, slot + 16, end - 1):
            expect(probe.status_after(lambda: fresh(data=whole[:size])), NOT_READ, f"cut to {size} bytes")
        expect(probe.status_after(lambda: fresh(data=whole[:end])), 0, "cut behind the segments")
        path.unlink()
        expect(probe.status("vrq_Verify_DLL"), NOT_READ, "removed")
        path.mkdir()
        expect(probe.status("vrq_Verify_DLL"), NOT_READ, "a folder in its place")
        path.rmdir()
        os.mkfifo(path)
        expect(probe.status("vrq_Verify_DLL"), NOT_READ, "a pipe in its place")
        path.unlink()
        if os.getuid() != 0:
            fresh().chmod(0)
            expect(probe.status("vrq_Verify_DLL"), NOT_READ, "without permission")
        return len(chosen)


shutil.rmtree(work, ignore_errors=True)
work.mkdir(parents=True)
check_tools()
check_places()
check_seals()
check_refusals_to_seal()
flipped = check_damage()
if faults:
    sys.exit("\n".join(faults[:40]))
print(f"{flipped} flipped bytes met")
shutil.rmtree(work)
