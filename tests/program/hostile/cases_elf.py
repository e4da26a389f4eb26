"""ELF tables and data files that are made to cost time or memory."""
import random
import zlib

from cases_lines import *

NUM_ROWS = 6_500_000

REFUSED = dict(opened=False, message="error reading file data")


@case(**REFUSED)
def symbol_tables_overlap():
    """Each section header names the whole file as a table of symbols."""
    count = 20_000
    one = struct.pack("<10I", 0, SYMTAB, 0, 0, 0, MB, 0, 0, 1, 16)
    return (header(52, count, 0) + one * count).ljust(MB, b"\0")


@case()
def sections_overlap():
    """65,000 sections of the same bytes."""
    count = 26_000
    names = b".debug_info\0"
    one = struct.pack("<10I", 0, PROGBITS, ALLOC, CODE, 52, MB - 100, 0, 0, 1, 0)
    table = struct.pack("<10I", 0, STRTAB, 0, 0, 52, len(names), 0, 0, 1, 0)
    return header(52 + len(names), count, 0) + names + table + one * (count - 1)


@case()
def section_names_without_end():
    count = 13_000
    names = b"a" * (MB // 2)
    table = struct.pack("<10I", 0, STRTAB, 0, 0, 52, len(names), 0, 0, 1, 0)
    rest = b"".join(struct.pack("<10I", i, PROGBITS, 0, 0, 52, 4, 0, 0, 1, 0) for i in range(count - 1))
    return header(52 + len(names), count, 0) + names + table + rest


@case(**REFUSED)
def segments_overlap():
    """Each segment is the whole file."""
    count = 30_000
    one = struct.pack("<8I", LOAD, 0, CODE, CODE + 1, MB - 100, MB, 5, 4)
    return (header(0, 0, 0, count) + one * count).ljust(MB, b"\0")


@case()
def segments_and_sections():
    """As many segments as sections, each section inside all segments."""
    count = 12_000
    segments = struct.pack("<8I", LOAD, 52, CODE, CODE + 1, 100, 100, 5, 4) * count
    sections = struct.pack("<10I", 0, PROGBITS, ALLOC, CODE, 100, 4, 0, 0, 1, 0) * count
    return header(52 + len(segments), count, 0, count) + segments + sections


def with_symbols(entries, names):
    elf = Elf()
    elf.text()
    elf.add(".data", b"", flags=ALLOC, addr=0, size=0xFFFFFFFF, type=NOBITS)
    elf.symbols(entries, names)
    return elf.build()


@case(symbols=30_000)
def symbol_names_in_one_text():
    """Symbols whose names begin in each place of one long text."""
    return with_symbols(b"".join(symbol(13 * i, CODE + 4 * i, 4, 2, 1) for i in range(33_000)), b"a" * (MB // 2) + b"\0")


@case(symbols=60_000)
def symbol_names_without_end():
    return with_symbols(b"".join(symbol(i, CODE + 4 * i, 4, 2, 1) for i in range(60_000)), b"a" * 50_000)


@case(symbols=60_000)
def symbols_of_one_address():
    return with_symbols(b"".join(symbol(1 + 2 * i, CODE, 0, i % 4, 1) for i in range(60_000)), b"\0" + b"a\0" * 60_000)


@case(symbols=60_000)
def symbols_without_size():
    """Each has its end at the next one, ten million bytes away and more."""
    return with_symbols(b"".join(symbol(1, (10_000_001 * (i % 400) + i) & 0xFFFFFFFF, 0, 1, 2) for i in range(60_000)), b"\0a\0")


def packed_section(data, claim=None):
    return struct.pack("<III", 1, len(data) if claim is None else claim, 1) + zlib.compress(data, 9)


def compressed(name, data, claim=None):
    packed = packed_section(data, claim)
    elf = Elf()
    elf.text()
    for section in (".debug_info", ".debug_abbrev"):
        if section == name:
            elf.add(section, packed, flags=COMPRESSED)
        else:
            elf.add(section, unit(b"\x01" * 10) if section == ".debug_info" else UNIT + b"\0")
    if name not in (".debug_info", ".debug_abbrev"):
        elf.add(name, packed, flags=COMPRESSED)
    return elf.build()


NO_DEBUG = dict(opened=True, message="the program file does not contain debug information")


@case(**NO_DEBUG)
def claims_four_gigabytes():
    return compressed(".debug_info", bytes(1000), 0xFFFFFFFF)


@case(**NO_DEBUG)
def zip_bomb():
    return compressed(".debug_info", bytes(800 * MB))


@case(message="is damaged or far larger than it can be")
def zip_bomb_of_lines():
    return compressed(".debug_line", bytes(800 * MB))


def zipped_entries(entry, kind):
    """As much as a section can unfold to without being taken for a bomb: small entries behind a block of noise."""
    noise = random.Random(1).randbytes(960_000)
    elf = Elf()
    elf.text()
    info = unit(ROOT + b"\x03" + u32(len(noise)) + noise + fill(entry, 14 * MB))
    elf.add(".debug_info", packed_section(info), flags=COMPRESSED)
    elf.add(".debug_abbrev", UNIT + kind + abbrev(3, "variable", 0, ("const_value", "block4")) + b"\0")
    return elf.build()


@case(entries=14_000_000)
def zip_bomb_of_entries():
    return zipped_entries(b"\x02", abbrev(2, "subprogram", 0))


@case(globals=14_000_000)
def zip_bomb_of_globals():
    return zipped_entries(b"\x02", abbrev(2, "variable", 0))


@case(entries=4_000_000)
def zip_bomb_of_names():
    return zipped_entries(b"\x02f\0", abbrev(2, "subprogram", 0, ("name", "string")))


@case(types=3_000_000)
def zip_bomb_of_scopes():
    return zipped_entries(b"\x02\x01A\0", abbrev(2, "struct", 1, ("byte_size", "data1"), ("name", "string")))


@case(types=4_000_000)
def zip_bomb_of_typedefs():
    return zipped_entries(b"\x02A\0", abbrev(2, "typedef", 0, ("name", "string")))


@case(files=1)
def zip_bomb_of_rows():
    """Rows of a line table behind an instruction that is skipped, full of noise."""
    noise = random.Random(1).randbytes(960_000)
    program = b"\0" + leb(len(noise) + 1) + b"\x80" + noise + SET_ADDR + b"\xff" * NUM_ROWS + END
    elf = Elf()
    elf.text()
    elf.add(".debug_info", unit(b"\x01" + u32(0) + u32(0) + b"\0"))
    elf.add(".debug_abbrev", LINE_ABBREV + b"\0")
    elf.add(".debug_line", packed_section(line_table(program)), flags=COMPRESSED)
    elf.add(".debug_str", b"/dir\0")
    return elf.build()


@case()
def notes():
    elf = Elf()
    elf.text()
    elf.add(".note.iar", struct.pack("<III", 0xFFFFFFFF, 0xFFFFFFFF, 1) * 80_000, 7)
    return elf.build()


# Data files

def data_case(suffix, **expect):
    def keep(function):
        CASES.append((function.__name__, "." + suffix, function, expect))
        return function
    return keep


CORRUPT = dict(opened=False, message="file contains corrupt data record at line 0")


def hex_record(kind, addr, data):
    body = bytes([len(data)]) + struct.pack(">H", addr) + bytes([kind]) + data
    return b":" + (body + bytes([-sum(body) & 0xFF])).hex().encode() + b"\n"


def s_record(addr, data):
    body = bytes([len(data) + 5]) + struct.pack(">I", addr) + data
    return b"S3" + (body + bytes([~sum(body) & 0xFF])).hex().encode() + b"\n"


@data_case("hex", blocks=30_000)
def hex_scattered():
    """Two bytes in each of as many places of the address space as fit."""
    out, size, i = [], 0, 0
    while size < MB:
        out.append(hex_record(4, 0, struct.pack(">H", i * 40503 & 0xFFFF)) + hex_record(0, i * 7 & 0xFFFC, b"ab"))
        size += len(out[-1])
        i += 1
    return b"".join(out)


@data_case("srec", blocks=50_000)
def srec_scattered():
    return b"".join(s_record(i * 2654435761 & 0xFFFFFFF0, b"ab") for i in range(58_000))


@data_case("srec", blocks=1)
def srec_of_one_address():
    return s_record(0x100, b"ab") * 58_000


@data_case("srec", blocks=1)
def srec_at_the_top():
    return s_record(0xFFFFFFFF, bytes(200)) * 2000


@data_case("srec", blocks=1)
def srec_backwards():
    return b"".join(s_record(0x200000 - 2 * i, b"ab") for i in range(58_000))


@data_case("hex", **CORRUPT)
def hex_of_nothing():
    return b"x\n" * (MB // 2)


@data_case("hex", **CORRUPT)
def hex_without_line_end():
    return b":" * (MB + 1000)


@data_case("srec", opened=False)
def srec_of_blanks():
    return b" \t\n\r" * (MB // 4)
