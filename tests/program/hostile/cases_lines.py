"""Line tables and call frame records that are made to cost time or memory."""
from cases_dwarf import *

LINE_ABBREV = abbrev(1, "unit", 1, ("stmt_list", "sec_offset"), ("comp_dir", "strp"))
FUNC_ABBREV = abbrev(2, "subprogram", 0, ("low_pc", "addr"), ("high_pc", "addr"))


def line_table(program, files=b"a.c\0\0\0\0", dirs=b"", min_inst=1, version=4, tables=None, line_range=14):
    """tables: those of version 5, in place of dirs and files."""
    rest = bytes([min_inst, 1, 1, 0xFB, line_range, 13]) + bytes([0, 1, 1, 1, 1, 0, 0, 0, 1, 0, 0, 1])
    rest += tables if tables is not None else dirs + b"\0" + files + b"\0"
    head = u16(version) + (b"\x04\0" if version >= 5 else b"") + u32(len(rest)) + rest
    return u32(len(head) + len(program)) + head + program


def with_lines(lines, functions=b"", units=1, text=b"/dir\0", **more):
    info = unit(b"\x01" + u32(0) + u32(0) + functions + b"\0") * units
    return dwarf(info, LINE_ABBREV + FUNC_ABBREV + b"\0", debug_line=lines, debug_str=text, **more).build()


SET_ADDR = b"\0\x05\x02" + u32(CODE)
END = b"\0\x01\x01"


@case(rows=1_000_000)
def special_opcodes():
    return with_lines(line_table(SET_ADDR + b"\xff" * MB + END))


@case(rows=1_000_000)
def rows_far_apart():
    """Rows that lie over as much of the address space as they can."""
    return with_lines(line_table(SET_ADDR + b"\xff" * MB + END, min_inst=30), b"\x02" + u32(CODE) + u32(CODE + 64))


@case(rows=1_000_000)
def rows_of_one_address():
    """A megabyte of rows that all have the same address, each another line."""
    return with_lines(line_table(SET_ADDR + b"\x13" * MB + END), b"\x02" + u32(CODE) + u32(CODE + 64))


@case(rows=1)
def huge_advances():
    return with_lines(line_table(SET_ADDR + fill(b"\x02" + leb((1 << 64) - 1) + b"\x01") + END, min_inst=255))


@case(rows=1)
def sequences():
    return with_lines(line_table(fill(SET_ADDR + b"\x20" + END)), b"\x02" + u32(CODE) + u32(CODE + 64))


@case(message="could not parse source line info")
def line_programs_overlap():
    table = line_table(SET_ADDR + b"\x20" * (MB // 2) + END)
    info = b"".join(unit(b"\x01" + u32(i) + u32(0)) for i in range(20_000))
    return dwarf(info, LINE_ABBREV + b"\0", debug_line=table, debug_str=b"\0").build()


@case(files=100_000)
def many_files():
    return with_lines(line_table(SET_ADDR + b"\x20" + END, b"".join(b"%x\0\0\0\0" % i for i in range(110_000))))


@case(files=50_000)
def files_of_one_name():
    """Files that have the name of one that is asked for, each in a folder of its own."""
    dirs = b"".join(b"%x\0" % i for i in range(55_000))
    return with_lines(line_table(SET_ADDR + b"\x20" + END, b"".join(b"main.c\0" + leb(i + 1) + b"\0\0" for i in range(55_000)), dirs))


@case(message="could not parse source file info")
def files_of_long_folders():
    """Short names in a folder whose name is as long as half of the file."""
    files = b"".join(b"%x\0\1\0\0" % i for i in range(50_000))
    return with_lines(line_table(SET_ADDR + b"\x20" + END, files, b"d" * (MB // 2) + b"\0"))


@case(message="could not parse source file info")
def files_of_folders():
    """Many names in a folder whose name is just as long as a path may be."""
    files = b"".join(b"%x\0\1\0\0" % i for i in range(110_000))
    return with_lines(line_table(SET_ADDR + b"\x20" + END, files, b"d" * 4000 + b"\0"))


@case(message="could not parse source file info")
def file_entries_without_bytes():
    tables = b"\1\x01\x1f" + b"\1" + u32(0) + b"\1\x05\x19" + leb(900_000)
    return with_lines(line_table(SET_ADDR + b"\x20" * MB + END, tables=tables, version=5), debug_line_str=b"a" * 4000 + b"\0")


@case(message="Texts of more than")
def file_names_in_one_text():
    names = b"".join(u32(i) for i in range(100_000))
    tables = b"\1\x01\x1f" + leb(100_000) + names + b"\1\x01\x1f" + b"\0"
    return with_lines(line_table(SET_ADDR + END, tables=tables, version=5), debug_line_str=b"a" * 500_000 + b"\0")


@case(files=1_000)
def many_line_tables():
    """Small tables, each with files whose names begin elsewhere in one long text."""
    def table(i):
        return line_table(END, tables=b"\1\x01\x1f\1" + u32(0) + b"\1\x01\x1f\3" + u32(3 * i % 1900) + u32(3 * i % 1900 + 1) + u32(3 * i % 1900 + 2), version=5)
    count, size = 11_000, len(table(0))
    info = b"".join(unit(b"\x01" + u32(size * i) + u32(0)) for i in range(count))
    return dwarf(info, LINE_ABBREV + b"\0", debug_line=b"".join(map(table, range(count))), debug_line_str=b"a" * 2000 + b"\0", debug_str=b"\0").build()


@case(functions=1, files=1)
def expansions_without_lines():
    """Each call is in a file whose path is as long as a path may be."""
    functions = b"\x02" + u32(CODE) + u32(CODE + 0x1000000) + b"".join(b"\x03" + u32(CODE + 4 * i) + u32(CODE + 4 * i + 4) + b"\1\1" for i in range(85_000)) + b"\0"
    table = LINE_ABBREV + abbrev(2, "subprogram", 1, ("low_pc", "addr"), ("high_pc", "addr")) + abbrev(
        3, "inlined", 0, ("low_pc", "addr"), ("high_pc", "addr"), ("call_file", "data1"), ("call_line", "data1")) + b"\0"
    info = unit(b"\x01" + u32(0) + u32(0) + functions + b"\0")
    return dwarf(info, table, debug_line=line_table(SET_ADDR + b"\x13" + END, b"f" * 4000 + b"\0\0\0\0"), debug_str=b"\0").build()


@case(files=70_000)
def units_of_one_line_table():
    """All units have the same table of files, and each has a function."""
    files = b"".join(b"%x\0\0\0\0" % i for i in range(80_000))
    rows = b"".join(b"\x04" + leb(i + 1) + b"\x21" for i in range(80_000))
    function = b"\x02" + u32(CODE) + u32(CODE + 64)
    return with_lines(line_table(SET_ADDR + rows + END, files), function, 8000)


@case(functions=1)
def functions_in_all_files():
    """Files that all have the same range, and functions without a line in them."""
    rows = b"".join(b"\x04" + leb(i + 1) + b"\x13" for i in range(40_000))
    both = SET_ADDR + rows + b"\0\x05\x02" + u32(CODE + 0x100000) + rows + END
    functions = b"\x02" + u32(CODE) + u32(CODE + 0x200000)
    functions += b"".join(b"\x02" + u32(CODE + 0x1000 + 4 * i) + u32(CODE + 0x1004 + 4 * i) for i in range(25_000))
    return with_lines(line_table(both, b"".join(b"%x\0\0\0\0" % i for i in range(40_000))), functions)


@case(functions=1)
def functions_at_zero():
    """Many functions and many symbols at the address 0, all of one name's beginning."""
    names = b"\0" + b"".join(b"f.%d\0" % i for i in range(15_000))
    entries, pos = b"", 1
    for i in range(15_000):
        entries += symbol(pos, 0, 4, 2, 1)
        pos += len("f.%d" % i) + 1
    functions = b"".join(b"\x03" + u32(0) + u32(4) + b"f%d\0" % i for i in range(20_000))
    functions += b"".join(b"\x03" + u32(0) + u32(4) + b"f\0" for i in range(1000))
    files = b"".join(b"%x\0\0\0\0" % i for i in range(10_000))
    info = unit(b"\x01" + u32(0) + u32(0) + functions + b"\0")
    table = LINE_ABBREV + abbrev(3, "subprogram", 0, ("low_pc", "addr"), ("high_pc", "addr"), ("name", "string")) + b"\0"
    elf = Elf()
    elf.add(".text", bytes(64), flags=ALLOC | EXEC, addr=0)
    elf.add(".debug_info", info)
    elf.add(".debug_abbrev", table)
    elf.add(".debug_line", line_table(b"\0\x05\x02" + u32(0) + b"\x20\x20" + END, files))
    elf.add(".debug_str", b"/d\0")
    elf.symbols(entries, names)
    return elf.build()


# Call frame records

CIE = u32(12) + u32(0xFFFFFFFF) + b"\3\0\1\x7c\x0e" + b"\x0c\x0d\0"
LONG_CIE = u32(0xFFFFFFFF)


def fde(cie, low, size, instructions=b""):
    return u32(12 + len(instructions)) + u32(cie) + u32(low) + u32(size) + instructions


def with_frames(frames):
    return dwarf(unit(ROOT + b"\0"), UNIT + b"\0", debug_frame=frames).build()


@case(message="could not parse call frame info")
def frame_heads():
    """A head for each frame, used in an order that makes the library look for each from the start."""
    count = 30_000
    heads = CIE * count
    return with_frames(heads + b"".join(fde(len(CIE) * (i * 7919 % count), CODE + 4 * i, 4) for i in range(count)))


@case(frames=60_000)
def frames_of_one_head():
    return with_frames(CIE + b"".join(fde(0, CODE + i, 1) for i in range(60_000)))


@case(frames=60_000)
def frames_around_all():
    """Frames that all begin at one address or cover all addresses."""
    return with_frames(CIE + b"".join(fde(0, CODE + (i & 1), 0x10000000 + i) for i in range(60_000)))


@case(frames=1)
def remembered_states():
    return with_frames(CIE + fde(0, CODE, 0x1000, b"\x0a" * (MB - 16)))


@case(frames=1)
def frame_expressions():
    """Rules that are expressions which jump to their own start."""
    return with_frames(CIE + fde(0, CODE, 0x1000, fill(b"\x10\x04\x03\x2f\xfd\xff" + b"\x16\x05\x03\x2f\xfd\xff")))


@case(frames=1)
def frame_rows():
    return with_frames(CIE + fde(0, CODE, 0x1000000, fill(b"\x41\x0e\x08")))


@case(frames=0)
def frame_lengths():
    return with_frames(CIE + fill(u32(0) + u32(0)))


@case(frames=0)
def long_augmentation():
    return with_frames(u32(MB) + u32(0xFFFFFFFF) + b"\3" + b"z" * (MB - 6) + b"\0")
