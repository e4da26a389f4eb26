"""Debug information that is made to cost time or memory, a megabyte each. A case gives the bytes of a program file."""
from maker import *

MB = 1 << 20
CASES = []


def case(**expect):
    """What must come of the file: opened=False, message="a part of a message", or a least number for a line of ask_file."""
    def keep(function):
        CASES.append((function.__name__, ".elf", function, expect))
        return function
    return keep


UNIT = abbrev(1, "unit", 1, ("low_pc", "addr"))
ROOT = b"\x01" + u32(CODE)
INT = abbrev(2, "base", 0, ("byte_size", "data1"), ("encoding", "data1"), ("name", "string"))
INT_DIE = b"\x02\x04\x05int\0"


def one_unit(dies, abbrevs, **more):
    return dwarf(unit(ROOT + dies + b"\0"), UNIT + abbrevs + b"\0", **more).build()


def fill(entry, size=MB):
    return entry * (size // len(entry))


# Entries

@case(functions=1, globals=0)
def deep_nesting():
    """A chain of blocks, and behind its end entries that ask for what is around them."""
    depth = 300_000
    dies = b"\x02" + u32(CODE) + u32(CODE + 16) + b"f\0" + b"\x03" * depth + b"\0" * depth + b"\x04x\0" * 100_000
    return one_unit(dies + b"\0", abbrev(2, "subprogram", 1, ("low_pc", "addr"), ("high_pc", "addr"), ("name", "string")) +
                    abbrev(3, "lexical_block", 1) + abbrev(4, "variable", 0, ("name", "string")))


@case(types=100_000)
def deep_classes():
    """Types that are all inside of each other: each name has a hundred thousand scopes."""
    depth = 100_000
    return one_unit(b"".join(b"\x02\x01A%d\0" % (i % 10) for i in range(depth)) + b"\x03x\0" * 100_000,
                    abbrev(2, "class_", 1, ("byte_size", "data1"), ("name", "string")) + abbrev(3, "member", 0, ("name", "string")))


@case()
def one_byte_functions():
    return one_unit(b"\x02" * MB, abbrev(2, "subprogram", 0))


@case()
def one_byte_expansions():
    return one_unit(b"\x02" * MB, abbrev(2, "inlined", 0))


@case(globals=1_000_000)
def one_byte_globals():
    return one_unit(b"\x02" * MB, abbrev(2, "variable", 0))


@case()
def many_attributes():
    """Entries of one byte whose abbreviation has as many attributes as are let through."""
    return one_unit(b"\x02" * MB, abbrev(2, "subprogram", 0, *[(0x2000 + i, "flag_present") for i in range(150)]))


@case(message="could not parse debug info for compilation unit")
def endless_attributes():
    attrs = [(0x2000 + i % 1000, "flag_present") for i in range(100_000)]
    return one_unit(b"\x02" * (MB // 2), abbrev(2, "subprogram", 0, *attrs))


@case(message="could not parse debug info for compilation unit")
def huge_blocks():
    dies = b"\x02" + u32(0xFFFFFFFF) + b"x" * 1000
    return one_unit(dies, abbrev(2, "variable", 0, ("location", "block4")))


@case(message="could not parse debug info for compilation unit")
def huge_leb_blocks():
    return one_unit(fill(b"\x02" + leb(1 << 63)), abbrev(2, "variable", 0, ("location", "block")))


@case(globals=1)
def endless_number():
    """A number of a million digits, which is sound."""
    return one_unit(b"\x02" + b"\x80" * MB + b"\0", abbrev(2, "variable", 0, ("location", "udata")))


@case(message="could not parse debug info for compilation unit")
def indirect_chain():
    return one_unit(fill(b"\x02" + b"\x16" * 100), abbrev(2, "variable", 0, ("location", "indirect")))


@case(functions=1, message="could not parse debug info for compilation unit")
def ranges_everywhere():
    """Functions that all have the same long list of ranges."""
    ranges = b"".join(u32(4 * i) + u32(4 * i + 2) for i in range(60_000)) + bytes(8)
    dies = fill(b"\x02" + u32(0), MB // 2)
    return one_unit(dies, abbrev(2, "subprogram", 0, ("ranges", "sec_offset")), debug_ranges=ranges)


@case(message="could not parse debug info for compilation unit")
def ranges_inside_ranges():
    """Lists that begin in each place of one list, all of the same long stretches."""
    ranges = b"".join(u32(i) + u32(0x100000 - i) for i in range(60_000)) + bytes(8)
    dies = b"".join(b"\x02" + u32(8 * (i % 60_000)) for i in range(MB // 10))
    return one_unit(dies, abbrev(2, "inlined", 0, ("ranges", "sec_offset")) + abbrev(3, "subprogram", 0), debug_ranges=ranges)


@case()
def nested_expansions():
    """Each expansion lies inside the one before, and all have code."""
    count = 90_000
    dies = b"\x02" + u32(CODE) + u32(0xFFFFFF) + b"".join(b"\x03" + u32(CODE + 2 * i) + u32(0xF00000 - 2 * i) for i in range(count))
    return one_unit(dies, abbrev(2, "subprogram", 1, ("low_pc", "addr"), ("high_pc", "data4")) +
                    abbrev(3, "inlined", 1, ("low_pc", "addr"), ("high_pc", "addr")))


@case(functions=1)
def staggered_functions():
    """Functions that begin one after the other and all end at the top of the address space."""
    dies = b"".join(b"\x02" + u32(CODE + 4 * i) + u32(0x10000000 + 4 * i) for i in range(110_000))
    return one_unit(dies, abbrev(2, "subprogram", 0, ("low_pc", "addr"), ("high_pc", "addr")))


# Units and abbreviations

@case(message="could not parse debug info for compilation unit")
def units_in_one_table():
    """Each unit begins its table of abbreviations elsewhere in one large table."""
    table = b"".join(abbrev(i + 1, "variable", 0) for i in range(80_000)) + b"\0"
    info = b"".join(unit(b"\x01", table=5 * i) for i in range(40_000))
    return dwarf(info, table).build()


@case()
def units_of_one_table():
    table = b"".join(abbrev(i + 1, "variable", 0) for i in range(80_000)) + b"\0"
    return dwarf(fill(unit(b"\x01"), MB // 2), table).build()


@case(functions=1, message="could not parse debug info for compilation unit")
def units_of_a_byte():
    good = unit(ROOT + b"\x02" + u32(CODE) + u32(CODE + 4) + b"\0")
    return dwarf(good + fill(u32(1) + b"\x04"), UNIT + abbrev(2, "subprogram", 0, ("low_pc", "addr"), ("high_pc", "addr")) + b"\0").build()


@case()
def sparse_codes():
    table = b"".join(abbrev(i * 1000 + 1, "variable", 0) for i in range(120_000))
    return dwarf(unit(b"\x01" * 1000), table + b"\0").build()


# Types

def chain(links):
    """A variable whose type is a chain of entries of 4-byte references; links: (code, next offset)."""
    return b"".join(bytes([code]) + u32(offset) for code, offset in links)


TYPES = (abbrev(2, "typedef", 0, ("type", "ref4")) + abbrev(3, "array", 1, ("type", "ref4")) + abbrev(4, "subrange", 0, ("upper_bound", "data4")) +
         abbrev(5, "variable", 0, ("type", "ref4"), ("name", "string")) + abbrev(6, "struct", 1, ("byte_size", "data1"), ("name", "string")) +
         abbrev(7, "member", 0, ("type", "ref4"), ("name", "string")) + abbrev(8, "pointer", 0, ("type", "ref4")) +
         abbrev(9, 0x15, 1, ("type", "ref4")) + abbrev(10, "parameter", 0, ("type", "ref4")))
FIRST = UNIT_DIE + len(ROOT)  # offset of the first entry below the unit


@case(types=100_000)
def typedef_cycles():
    count = 100_000
    return one_unit(chain((2, FIRST + 5 * ((i * 7919 + 1) % count)) for i in range(count)) + fill(b"\x05" + u32(FIRST) + b"v\0", 1000), TYPES)


@case(types=1)
def struct_of_itself():
    dies = b"\x06\x08S\0" + fill(b"\x07" + u32(FIRST) + b"m\0") + b"\0" + b"\x05" + u32(FIRST) + b"v\0"
    return one_unit(dies, TYPES)


@case(globals=1)
def array_chain():
    """Arrays without elements of arrays without elements."""
    step = 11  # array, subrange, end of the children
    count = 60_000
    dies = b"".join(b"\x03" + u32(FIRST + step * (i + 1)) + b"\x04" + u32(0xFFFFFFFF) + b"\0" for i in range(count))
    return one_unit(dies + b"\x02" + u32(FIRST) + fill(b"\x05" + u32(FIRST) + b"v\0", 70_000), TYPES)


@case(globals=1)
def array_cycle():
    dies = b"\x03" + u32(FIRST) + b"\x04" + u32(0xFFFFFFFF) + b"\0" + fill(b"\x05" + u32(FIRST) + b"v\0")
    return one_unit(dies, TYPES)


@case(globals=1)
def huge_arrays():
    step = 11
    count = 60_000
    dies = b"".join(b"\x03" + u32(FIRST + step * (i + 1)) + b"\x04" + u32(0xFFFFFFFE) + b"\0" for i in range(count))
    return one_unit(dies + b"\x02" + u32(FIRST) + fill(b"\x05" + u32(FIRST) + b"v\0", 70_000), TYPES)


@case(globals=1)
def functions_of_functions():
    """A function type whose parameters are all that type."""
    dies = b"\x09" + u32(FIRST) + fill(b"\x0a" + u32(FIRST), MB // 2) + b"\0" + fill(b"\x05" + u32(FIRST) + b"v\0", MB // 2)
    return one_unit(dies, TYPES)


@case(types=1)
def namesakes():
    """Declarations of one name, each in a namespace of its own, and as many definitions."""
    decl = b"".join(b"\x02N%d\0\x03A\0\0" % i for i in range(30_000))
    defs = b"".join(b"\x02M%d\0\x04A\0\x04\0" % i for i in range(30_000))
    return one_unit(decl + defs + b"".join(b"\x05" + u32(FIRST + 7) + b"v\0" for i in range(20_000)),
                    abbrev(2, "namespace", 1, ("name", "string")) + abbrev(3, "class_", 0, ("name", "string"), ("declaration", "flag_present")) +
                    abbrev(4, "class_", 0, ("name", "string"), ("byte_size", "data1")) +
                    abbrev(5, "variable", 0, ("type", "ref4"), ("name", "string")))


@case(functions=1)
def origin_cycles():
    """Functions that take their facts over from each other."""
    count = 70_000
    dies = b"".join(b"\x02" + u32(FIRST + 13 * ((i + 1) % count)) + u32(CODE + 4 * i) + u32(CODE + 4 * i + 4) for i in range(count))
    return one_unit(dies, abbrev(2, "subprogram", 0, ("origin", "ref4"), ("low_pc", "addr"), ("high_pc", "addr")))


# Texts

@case(functions=1, message="Texts of more than")
def names_in_one_text():
    """Functions whose names begin in each place of one long text."""
    text = b"a" * (MB // 2) + b"\0"
    dies = b"".join(b"\x02" + u32(7 * i % (MB // 2)) + u32(CODE + 4 * i) + u32(CODE + 4 * i + 4) for i in range(40_000))
    return one_unit(dies, abbrev(2, "subprogram", 0, ("name", "strp"), ("low_pc", "addr"), ("high_pc", "addr")), debug_str=text)


@case(types=1)
def type_names_in_one_text():
    text = b"".join(b"a" * 30_000 + b"\0" for _ in range(15))
    dies = b"".join(b"\x02\x04" + u32(11 * i % len(text)) for i in range(80_000))
    dies += b"".join(b"\x03" + u32(FIRST + 6 * i) for i in range(1000))
    return one_unit(dies, abbrev(2, "struct", 0, ("byte_size", "data1"), ("name", "strp")) + abbrev(3, "variable", 0, ("type", "ref4")),
                    debug_str=text)


@case()
def text_without_end():
    dies = b"".join(b"\x02" + u32(i) for i in range(150_000))
    return one_unit(dies, abbrev(2, "typedef", 0, ("name", "strp")), debug_str=b"a" * 400_000)


@case(types=1)
def text_offsets_outside():
    dies = fill(b"\x02" + leb(0xFFFFFFF0), MB // 4) + b"".join(b"\x02" + leb(i) for i in range(100_000))
    info = unit(b"\x01" + u32(0x7FFFFFFF) + dies + b"\0", 5)
    table = abbrev(1, "unit", 1, ("str_offsets_base", "sec_offset")) + abbrev(2, "typedef", 0, ("name", "strx")) + b"\0"
    return dwarf(info, table, debug_str_offsets=u32(0xFFFFFFFF) * 1000, debug_str=b"a\0").build()


@case(macros=1)
def macros_in_one_text():
    """Macros whose texts begin in each place of one long text without a blank."""
    macro = u16(5) + b"\0" + b"".join(b"\x05\x01" + u32(13 * i % (MB // 2)) for i in range(80_000)) + b"\0"
    info = unit(b"\x01" + u32(0) + b"\0", 5)
    return dwarf(info, abbrev(1, "unit", 1, ("macros", "sec_offset")) + b"\0", debug_macro=macro, debug_str=b"a" * (MB // 2) + b"\0").build()


@case(macros=1)
def macros_of_macros():
    """Parts that import each other, one in each place of the section."""
    part = u16(5) + b"\0"
    macro = b"".join(part + b"\x07" + u32(i * 37 * 14 % 560_000) + b"\x01\x01a\0" + b"\0" + b"\0" for i in range(40_000))
    info = b"".join(unit(b"\x01" + u32(14 * i), 5) for i in range(20_000))
    return dwarf(info, abbrev(1, "unit", 0, ("macros", "sec_offset")) + b"\0", debug_macro=macro).build()


@case(macros=1)
def macro_parts_overlap():
    """Each unit begins to read the macros elsewhere."""
    macro = (u16(5) + b"\0" + b"\x01\x01a\0") * 60_000
    info = b"".join(unit(b"\x01" + u32(7 * i), 5) for i in range(30_000))
    return dwarf(info, abbrev(1, "unit", 0, ("macros", "sec_offset")) + b"\0", debug_macro=macro).build()


# Locations

@case(globals=0)
def location_lists_overlap():
    """Variables whose lists begin in each place of one list."""
    entry = u32(CODE) + u32(CODE + 4) + u16(1) + b"\x50"
    locs = entry * 50_000 + bytes(8)
    dies = b"\x02" + u32(CODE) + u32(CODE + 0x1000) + b"f\0" + b"".join(b"\x03" + u32(11 * i % len(locs)) + b"x\0" for i in range(60_000)) + b"\0"
    return one_unit(dies, abbrev(2, "subprogram", 1, ("low_pc", "addr"), ("high_pc", "addr"), ("name", "string")) +
                    abbrev(3, "variable", 0, ("location", "sec_offset"), ("name", "string")), debug_loc=locs)


@case(globals=1)
def location_loops():
    """Expressions that jump back to their own start, and one of a megabyte."""
    loop = b"\x03" + u32(CODE) + b"\x2f\xf8\xff"
    dies = fill(b"\x02" + leb(len(loop)) + loop + b"x\0", 100_000) + b"\x02" + leb(900_000) + b"\x30" * 900_000 + b"y\0"
    return one_unit(dies, abbrev(2, "variable", 0, ("location", "exprloc"), ("name", "string")))
