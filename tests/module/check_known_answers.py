"""Breaks every known answer of the power-up tests in a copy of the library, seals the copy, and sees that
exactly the test it belongs to fails, that the next call runs the tests again, and that nothing is served.

Usage: check_known_answers.py LIBRARY PROBE SOURCE_DIR WORK_DIR NM
"""
import pathlib
import random
import re
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
library, probe_program, source, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:5])
nm = sys.argv[5]
sys.path[:0] = [str(source / "tools"), str(pathlib.Path(__file__).parent)]
import seal  # noqa: E402
from probe import Probe  # noqa: E402

# Table in the library, file of its rows, status of the test.
TABLES = (
    ("kDrbgVectors", "drbg.inc", 0x1A050059),
    ("kHmacVectors", "hmac.inc", 0x1A060059),
    ("kDigestVectors", "digest.inc", 0x1A070059),
    ("kCipherVectors", "cipher.inc", 0x1A090059),
    ("kRsaesKeys", "rsaes_key.inc", 0x1A0B0059),
    ("kRsassaKeys", "rsassa_key.inc", 0x1A0C0059),
    ("kKcdsaVectors", "kcdsa.inc", 0x1A0D0059),
)
TEXTS = (
    (b"Talvern power-up KAT", 0x1A070059),
    (b"5.2.0\0", 0x1A030059),
)
faults = []
generator = random.Random(1)


def expect(condition, message):
    if not condition:
        faults.append(message)


def rows(name):
    """The constants of each row, in order: adjacent literals are one."""
    text = re.sub(r"//.*", "", (source / "src/selftest/vectors" / name).read_text())
    constants = re.findall(r'"[0-9a-f]*"(?:\s+"[0-9a-f]*")*', text)
    return [bytes.fromhex("".join(re.findall(r"[0-9a-f]+", constant))) for constant in constants]


def offset_of(image, address):
    start, size, count = *seal.struct.unpack_from("<Q", image.data, 0x20), *seal.struct.unpack_from("<HH", image.data, 0x36)
    for at in range(start, start + size * count, size):
        kind, _, offset, virtual, _, length = seal.struct.unpack_from("<IIQQQQ", image.data, at)
        if kind == seal.PT_LOAD and virtual <= address < virtual + length:
            return offset + address - virtual
    sys.exit(f"no segment holds the address {address:#x}")


def symbols():
    output = subprocess.run([nm, "-S", str(library)], capture_output=True, text=True, check=True).stdout
    return re.findall(r"^([0-9a-f]+) ([0-9a-f]+) \w (\S+)$", output, re.MULTILINE)


def places():
    """Offset, length, label and status of every constant."""
    image = seal.Image(library.read_bytes())
    names = symbols()
    for table, file, status in TABLES:
        found = [(int(address, 16), int(size, 16)) for address, size, name in names
                 if re.search(rf"\d{table}(?:E|$)", name)]
        if len(found) != 1:
            sys.exit(f"{len(found)} symbols {table}")
        at = offset_of(image, found[0][0])
        end = at + found[0][1]
        for number, constant in enumerate(rows(file)):
            if not constant:
                continue
            place = image.data.find(constant, at, end)
            if place < 0:
                sys.exit(f"constant {number} of {file} is not in {table}")
            yield place, len(constant), f"{file}, constant {number}", status
            at = place + len(constant)
    for text, status in TEXTS:
        end = max(start + size for start, size in image.segments())  # debug information may repeat it
        place = image.data.find(text, 0, end)
        if place < 0 or image.data.find(text, place + 1, end) >= 0:
            sys.exit(f"{text} is not in the library once")
        yield place, len(text), text.strip(b"\0").decode(), status


def write(image, name):
    image.seal()
    path = work / name
    path.write_bytes(image.data)
    return path


def check_service(label, status, services):
    answers_by_value = {"key_length": "00000000", "digest_length": "00000000", "digest_output": "00000000"}
    for name, answer in services.items():
        if name in answers_by_value:
            expect(answer == answers_by_value[name], f"{label}: {name} is {answer}")
        else:
            expect(int(answer, 16) != 0, f"{label}: {name} is served")
        if name.startswith("init_") or name == "rand_bytes":
            expect(int(answer, 16) == status, f"{label}: {name} gives {answer}")


def check_broken(path, label, status, is_first):
    with Probe(probe_program, path) as probe:
        for call in ("VRQ_Crypto_Initialize", "VRQ_Crypto_Initialize", "VRQ_Crypto_Self_Test"):
            answer = probe.status(call)
            expect(answer == status, f"{label}: {call} gives {answer if answer == 'died' else hex(answer)}")
        if is_first:
            check_service(label, status, probe.services())
        expect(probe.ask("VRQ_Is_Proven")[-2:] == "01", f"{label}: left proven mode")


def check_again():
    """The tests run at every call: a process whose file is whole again is served."""
    path = write(seal.Image(library.read_bytes()), "again.so")
    whole = path.read_bytes()
    with Probe(probe_program, path) as probe:
        broken = work / "broken.so"
        broken.write_bytes(whole[:16] + b"!" + whole[17:])
        broken.replace(path)
        expect(probe.status("VRQ_Crypto_Initialize") == 0x1A01000C, "a damaged file passes")
        expect(probe.status("VRQ_Crypto_Initialize") == 0x1A01000C, "a damaged file passes at the second call")
        path.write_bytes(whole)
        expect(probe.status("VRQ_Crypto_Initialize") == 0, "a mended file is refused")
        expect(int(probe.services()["init_digest"], 16) == 0, "a module that has passed refuses service")


shutil.rmtree(work, ignore_errors=True)
work.mkdir(parents=True)
broken_tests = set()
count = 0
for place, length, label, status in places():
    image = seal.Image(library.read_bytes())
    if status == 0x1A030059:
        image.data[place] = 0  # an empty text
    else:
        image.data[place + generator.randrange(length)] ^= 1 << generator.randrange(8)
    check_broken(write(image, "broken.so"), label, status, status not in broken_tests)
    broken_tests.add(status)
    count += 1
check_again()
if faults:
    sys.exit("\n".join(faults))
print(f"{count} constants broken, each reported by its test")
shutil.rmtree(work)
