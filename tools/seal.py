"""Writes the digest of a linked library, or of a program that holds its objects, into the file.

The digest is HMAC-SHA-256 under the module key over the file bytes of all loadable segments; the fields of the
ELF header that locate section headers, and the digest itself, count as zeros.
src/selftest/integrity.cpp computes the same when the module starts.

Usage: seal.py FILE            seals the file, anew if it was sealed before
       seal.py --check FILE    exits with status 1 unless the seal is valid
"""
import hmac
import pathlib
import struct
import sys

MODULE_KEY = b"Talvern library file integrity 1"
SLOT_SECTION = b".talvern_seal"
SLOT_LENGTH = 32
PT_LOAD = 1
# Offset and length of e_shoff, and of e_shentsize, e_shnum and e_shstrndx.
SECTION_HEADER_FIELDS = ((0x28, 8), (0x3A, 6))


class Image:
    """A 64-bit little-endian ELF file in memory."""

    def __init__(self, data):
        self.data = bytearray(data)
        if self.data[:6] != b"\x7fELF\x02\x01":
            raise ValueError("not a 64-bit little-endian ELF file")

    def segments(self):
        """Offset and length in the file of each segment that the digest covers."""
        start, size, count = *struct.unpack_from("<Q", self.data, 0x20), *struct.unpack_from("<HH", self.data, 0x36)
        for at in range(start, start + size * count, size):
            kind, _, offset, _, _, length = struct.unpack_from("<IIQQQQ", self.data, at)
            if kind == PT_LOAD:
                if offset + length > len(self.data):
                    raise ValueError("a segment reaches beyond the end of the file")
                yield offset, length

    def slot(self):
        """Offset of the digest."""
        table, = struct.unpack_from("<Q", self.data, 0x28)
        size, count, names = struct.unpack_from("<HHH", self.data, 0x3A)
        headers = [struct.unpack_from("<IIQQQQ", self.data, table + i * size) for i in range(count)]
        if names >= count:
            raise ValueError("section headers without names")
        for name, _, _, _, offset, length in headers:
            start = headers[names][4] + name
            if self.data[start:self.data.index(0, start)] == SLOT_SECTION:
                # Sanitizers may append a zone of their own.
                if length < SLOT_LENGTH or not any(a <= offset and offset + SLOT_LENGTH <= a + n
                                                   for a, n in self.segments()):
                    raise ValueError(f"{SLOT_SECTION.decode()} is not where the digest can stand")
                return offset
        raise ValueError(f"no section {SLOT_SECTION.decode()}")

    def digest(self):
        seen = bytearray(self.data)
        for offset, length in (*SECTION_HEADER_FIELDS, (self.slot(), SLOT_LENGTH)):
            seen[offset:offset + length] = bytes(length)
        mac = hmac.new(MODULE_KEY, digestmod="sha256")
        for offset, length in self.segments():
            mac.update(seen[offset:offset + length])
        return mac.digest()

    def is_sealed(self):
        return bytes(self.data[self.slot():self.slot() + SLOT_LENGTH]) == self.digest()

    def seal(self):
        self.data[self.slot():self.slot() + SLOT_LENGTH] = self.digest()


def seal_file(path):
    image = Image(path.read_bytes())
    with path.open("r+b") as file:
        file.seek(image.slot())
        file.write(image.digest())


def main(arguments):
    if len(arguments) == 2 and arguments[0] == "--check":
        if not Image(pathlib.Path(arguments[1]).read_bytes()).is_sealed():
            sys.exit(f"{arguments[1]}: the seal is not valid")
    elif len(arguments) == 1:
        seal_file(pathlib.Path(arguments[0]))
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    try:
        main(sys.argv[1:])
    except (OSError, ValueError, OverflowError, struct.error) as error:
        sys.exit(f"seal.py: {error}")
