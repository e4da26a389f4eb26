#!/usr/bin/env python3
"""Compares what the program layers say about many compilers' output with llvm-dwarfdump, nm and gdb.

    matrix.py --dump build/release/tests/program_dump --folder DIR [BUILD ...]

Without names all builds of builds.py are made and compared. Each difference is a line; the sums of what was compared
come at the end, so that a comparison that stopped comparing is seen.
"""
import argparse
import collections
import pathlib
import re
import subprocess
import sys

import builds
import dwarfdump

LIMIT = 12  # differences of one kind that are printed for a build


class Report:
    def __init__(self):
        self.compared, self.differences = collections.Counter(), collections.Counter()

    def check(self, kind, is_same, *texts):
        self.compared[kind] += 1
        if is_same:
            return
        self.differences[kind] += 1
        if self.differences[kind] <= LIMIT:
            print(f"  {kind}:", *texts)


def read_dump(tool, path, machine):
    """The lines of program_dump by their first word."""
    step = "2"
    out = subprocess.run([tool, str(path), step, str(builds.STACK_POINTER[machine])], check=True, capture_output=True, text=True).stdout
    dump = collections.defaultdict(list)
    for line in out.split("\n"):
        fields = line.split("\t")
        dump[fields[0]].append(fields[1:])
    return dump


def aligned(ranges):
    """Ranges as they are shown: without the bit that tells the instruction set."""
    return " ".join(f"{a & ~1:x}-{b:x}" for a, b in ranges)


def is_same_file(ours, theirs):
    """Theirs may be relative to the folder of the compilation."""
    return ours == theirs or (not theirs.startswith("/") and ours.endswith("/" + theirs))


def is_kept(program, entry, low_limit):
    """A function that the linker kept."""
    ranges = program.ranges(entry)
    return bool(ranges) and ranges[0][0] >= low_limit and ranges[0][0] != 0xFFFFFFFF


def check_functions(report, program, dump, low_limit):
    expected = {}
    for entry in program.entries.values():
        if entry.tag == "DW_TAG_subprogram" and is_kept(program, entry, low_limit) and "DW_AT_artificial" not in entry.attributes:
            expected[f"{entry.offset:x}"] = entry
    found = {}
    for identity, name, ranges, file, line in dump["func"]:
        if identity != "elf":
            found[identity] = (name, ranges, file, int(line))
    starts = {ranges.split("-")[0] for _, ranges, _, _ in found.values()}
    for identity, entry in expected.items():
        name, ranges = program.name(entry), aligned(program.ranges(entry))
        if identity not in found:
            # Two functions at one address (folded, or an alias) stand in the list once.
            report.check("function", ranges.split("-")[0] in starts, "missing", identity, name, ranges)
            continue
        file, line = program.place(entry)
        report.check("function", found[identity] == (name, ranges, file or "", line), found[identity], (name, ranges, file, line))
    for identity in found.keys() - expected.keys():
        entry = program.entries[int(identity, 16)]
        report.check("function", entry.tag == "DW_TAG_inlined_subroutine" or "DW_AT_artificial" in entry.attributes, "not expected", identity, found[identity])


def symbols(path):
    """Names of data symbols to their addresses and sizes; a name met twice is left out."""
    out = subprocess.run(["llvm-nm", "-S", "-C", str(path)], check=True, capture_output=True, text=True).stdout
    found, twice = {}, set()
    for line in out.split("\n"):
        if match := re.match(r"([0-9a-f]{8}) ([0-9a-f]{8}) [bBdDrRVuG] (.*)", line):
            if match.group(3) in found:
                twice.add(match.group(3))
            found[match.group(3)] = (int(match.group(1), 16), int(match.group(2), 16))
    return {name: value for name, value in found.items() if name not in twice}


def check_globals(report, program, dump, path):
    named = symbols(path)
    seen = set()
    for identity, name, address, size, file, line in dump["global"]:
        entry = program.entries[int(identity, 16)]
        report.check("global", (file, int(line)) == (program.place(entry)[0] or "", program.place(entry)[1]), name, file, line, program.place(entry))
        key = "(anonymous namespace)::" + name if "(anonymous namespace)::" + name in named else name
        if key in named:
            seen.add(key)
            report.check("global", (int(address, 16), int(size)) == named[key], name, address, size, [f"{v:x}" for v in named[key]])
    for entry in program.entries.values():
        if entry.tag != "DW_TAG_variable" or "DW_OP_addr" not in entry.attributes.get("DW_AT_location", ""):
            continue
        if entry.attributes["DW_AT_location"].startswith("DW_OP_addr") and program.name(entry) in named:
            report.check("global", program.name(entry) in seen or any(program.name(entry) == row[1].split("::")[-1] for row in dump["global"]), "missing", program.name(entry))


GDB_SCRIPT = """
import gdb
def fields(prefix, typ, base):
    for f in typ.fields():
        if not hasattr(f, 'bitpos') or f.is_base_class or f.artificial: continue
        print('\\t'.join(['member', prefix, f.name or '', str(f.bitpos), str(f.bitsize), str(f.type.sizeof)]))
for name in NAMES:
    try:
        t = gdb.lookup_type(name).strip_typedefs()
        print('\\t'.join(['type', name, str(t.sizeof)]))
        if t.code in (gdb.TYPE_CODE_STRUCT, gdb.TYPE_CODE_UNION): fields(name, t, 0)
    except gdb.error as e:
        print('\\t'.join(['none', name, str(e)]))
"""


def scoped_name(entry):
    """The name that a debugger would be given; empty for what has none, or lies in a function."""
    words = []
    while entry and not entry.tag.endswith("_unit"):
        name = entry.text("DW_AT_name") or ("(anonymous namespace)" if entry.tag == "DW_TAG_namespace" else "")
        if not name or entry.tag == "DW_TAG_subprogram":
            return ""
        words.insert(0, name)
        entry = entry.parent
    return "::".join(words)


def check_types(report, program, dump, path, folder, is_big_endian):
    """Sizes and members against gdb, which is asked by name; offsets must be those of the entries."""
    by_offset = collections.defaultdict(list)
    for fields in dump["member"]:
        by_offset[fields[0]].append(fields[1:])
    named = {}
    for identity, name, size in dump["type"]:
        entry = program.entries[int(identity, 16)]
        report.check("type", entry.tag in ("DW_TAG_structure_type", "DW_TAG_class_type", "DW_TAG_union_type", "DW_TAG_enumeration_type", "DW_TAG_typedef"), identity, entry.tag)
        if entry.tag != "DW_TAG_typedef" and (scoped := scoped_name(entry)):
            keyword = {"DW_TAG_structure_type": "struct ", "DW_TAG_union_type": "union ", "DW_TAG_enumeration_type": "enum "}
            named[scoped if "cpp" in str(path) else keyword[entry.tag] + scoped] = (identity, int(size))
    expected_types = [e for e in program.entries.values() if e.tag in ("DW_TAG_structure_type", "DW_TAG_class_type", "DW_TAG_union_type") and "DW_AT_byte_size" in e.attributes and "DW_AT_declaration" not in e.attributes]
    present = {int(row[0], 16) for row in dump["type"]}
    for entry in expected_types:
        report.check("type", entry.offset in present, "missing", hex(entry.offset), entry.text("DW_AT_name"))
    script = folder / "types.py"
    script.write_text("NAMES = " + repr(sorted(named)) + GDB_SCRIPT)
    out = subprocess.run(["gdb-multiarch", "-batch", "-nx", "-x", str(script), str(path)], capture_output=True, text=True).stdout
    theirs = collections.defaultdict(list)
    for line in out.split("\n"):
        fields = line.split("\t")
        if fields[0] == "type":
            report.check("type", int(fields[2]) == named[fields[1]][1], fields[1], fields[2], named[fields[1]])
        elif fields[0] == "member":
            theirs[fields[1]].append(fields[2:])
    for name, members in theirs.items():
        ours = by_offset[named[name][0]]
        report.check("member", [m[1] for m in ours] == [m[0] for m in members], name, [m[1] for m in ours], [m[0] for m in members])
        for mine, other in zip(ours, members):
            _, member, location, size, bit_offset, bit_size = mine
            match = re.fullmatch(r"parent \+ (\d+)", location)
            report.check("member", match is not None, name, member, location)
            if not match:
                continue
            bits = int(bit_size)
            # Bits are counted from the least significant one of the storage unit that the member lies in.
            position = int(match.group(1)) * 8 + (int(bit_offset) if bits else 0)
            # The newer attribute counts from the start of the record, in either byte order.
            is_counted_from_start = "DW_AT_data_bit_offset" in program.entries[int(mine[0], 16)].attributes
            if bits and is_big_endian and not is_counted_from_start:
                position = int(match.group(1)) * 8 + int(size) * 8 - bits - int(bit_offset)
            report.check("member", position == int(other[1]) and bits == int(other[2]), name, mine, other)
            if not bits:
                # An array without a length counts as one element.
                report.check("member", size == other[3] or (other[3] == "0" and int(size) > 0), name, mine, other)


def ranges_of_files(program, expected, low_limit):
    """The stretch of addresses that each file owns: the functions that lie wholly between its first and last address,
    in the units that name it. Line records outside of it count as those of dropped code."""
    first, last = {}, {}
    for address, places in expected.items():
        for file, _ in places:
            first[file], last[file] = min(first.get(file, address), address), max(last.get(file, address), address)
    owned = {}
    for root in program.roots:
        functions = [program.ranges(entry) for entry in root.walk() if entry.tag == "DW_TAG_subprogram" and is_kept(program, entry, low_limit)
                     and "DW_AT_artificial" not in entry.attributes]
        for file in first:
            for low, high in (pair for ranges in functions for pair in ranges):
                if first[file] <= low and high - 1 <= last[file] + 4:
                    mine = owned.setdefault(file, (low, high))
                    owned[file] = (min(mine[0], low), max(mine[1], high))
    return owned


def check_lines(report, program, dump, low_limit):
    """Every row of the line tables is answered both ways, and nothing else but the call sites of inlined copies."""
    expected, previous = collections.defaultdict(set), None
    for address, line, file, is_end in program.line_rows():
        if address < low_limit or is_end:
            continue
        if line == 0 and previous and previous[0] == file:
            line = previous[1]
        previous = (file, line)
        expected[address].add((file, line))
    file_ranges = ranges_of_files(program, expected, low_limit)
    calls = set()
    for entry in program.entries.values():
        if entry.tag == "DW_TAG_inlined_subroutine" and program.ranges(entry):
            calls.add((program.ranges(entry)[0][0], entry.number("DW_AT_call_line")))
            calls.add((entry.number("DW_AT_entry_pc"), entry.number("DW_AT_call_line")))
    ours = collections.defaultdict(set)
    for address, file, line in dump["line"]:
        ours[int(address, 16)].add((file, int(line)))
    kept = [(a, b) for e in program.entries.values() if e.tag == "DW_TAG_subprogram" for a, b in program.ranges(e)]
    for address, places in expected.items():
        for place in places:
            inside = any(a <= address < b for a, b in kept)
            low, high = file_ranges.get(place[0], (0, 0))
            if place[1] and inside and (low == high or low <= address < high):
                report.check("line", any(line == place[1] and is_same_file(file, place[0]) for file, line in ours[address]),
                             "missing", f"{address:x}", place, ours[address])
    for address, places in ours.items():
        for place in places:
            report.check("line", (address, place[1]) in calls or any(line == place[1] and is_same_file(place[0], file) for file, line in expected[address]),
                         "not expected", f"{address:x}", place, expected[address])
    back = {(file, int(line)): {int(a, 16) for a in addresses.split()} for file, line, addresses in dump["back"]}
    for address, places in ours.items():
        for place in places:
            report.check("back", address in back[place], f"{address:x}", place)


def check_locals(report, program, dump):
    """The place of every local at every address of its function."""
    runs = collections.defaultdict(list)
    for _, identity, name, size, low, high, location in dump["local"]:
        runs[int(identity, 16)].append((int(low, 16), int(high, 16), location))
        report.check("local", name == (program.name(program.entries[int(identity, 16)]) or ""), identity, name)
    for offset, found in runs.items():
        entry = program.entries[offset]
        attribute = program.inherited(entry, "DW_AT_location", lambda e: e.attributes["DW_AT_location"])
        expected = dwarfdump.locations(attribute) if attribute else []
        constant = program.inherited(entry, "DW_AT_const_value", lambda e: e.attributes["DW_AT_const_value"])
        if constant and not attribute:
            expected = [(None, None, "DW_OP_consts " + constant if re.fullmatch(r"[-+]?\w+", constant) else "block")]
        for low, high, location in found:
            for address in range(low, high, 2):
                texts = [text for a, b, text in expected if a is None or a <= address < b or a == b == address]
                words = dwarfdump.parts(texts[0]) if texts else "none"
                if words is None or "addrx" in (texts or [""])[0]:
                    report.compared["local of another form"] += 1
                    continue
                report.check("local", location == words, f"{offset:x}", f"{address:x}", location, "/", words)
    wanted = {e.offset for e in program.entries.values() if e.tag in ("DW_TAG_variable", "DW_TAG_formal_parameter") and "DW_AT_location" in e.attributes and program.name(e) and has_code(program, e)}
    for offset in sorted(wanted):
        report.check("local", offset in runs, "missing", f"{offset:x}", program.name(program.entries[offset]))


C_VALUES = """g_flags.ready g_flags.level g_flags.wide g_flags.kind g_flags.rest g_flags.tail g_frame.head g_frame.length
    g_frame.stamp g_frame.bits g_frame.more g_node.matrix[2][3] g_node.level g_node.pNext->level g_pNode->pOther->matrix[0][1]
    g_value.i g_value.flags.level g_vector[3] g_colour g_atomic g_isReady s_count g_packet.type g_packet.word g_packet.low
    g_packet.high g_packet.bytes[3] g_packet.at.x g_packet.at.y g_packet.colour sizeof(g_node) sizeof(packet)
    g_frame.length+g_frame.head g_node.matrix[1][g_packet.type] *g_node.pNext->matrix[2]
    g_switches.isOn g_switches.isOff g_switches.sign g_switches.colour g_switches.isLast g_switches.isOn+1 g_bit17 g_bit3 g_bit40
    g_precise.a g_precise.b g_precise.field g_bit17*g_bit3 g_half g_half*4 g_half+g_bit3""".split()
CPP_VALUES = ("g_mode g_char8 g_char16 sizeof(g_rect) sizeof(g_ring) geometry::v2::g_total "
              "geometry::v2::inner::g_switches.isOn geometry::v2::inner::g_switches.isOff geometry::v2::inner::g_switches.sign "
              "geometry::v2::inner::g_switches.small").split()


def check_values(report, tool, path, machine, is_cpp):
    """Values of variables and their parts, out of the data of the file, against gdb."""
    expressions = CPP_VALUES if is_cpp else C_VALUES
    out = subprocess.run([tool, str(path), "2", str(builds.STACK_POINTER[machine]), *expressions], check=True, capture_output=True, text=True).stdout
    ours = dict(line.split("\t")[1:] for line in out.split("\n") if line)
    commands = [part for text in expressions for part in ("-ex", f"echo @{text}=", "-ex", f'printf "%lld", (long long)({text.replace("sizeof(packet)", "sizeof(struct packet)")})')]
    out = subprocess.run(["gdb-multiarch", "-batch", "-nx", *commands, str(path)], capture_output=True, text=True).stdout
    for text, value in (item.split("=") for item in out.split("@")[1:]):
        if value == "":
            report.compared["value gdb doesn't have"] += 1
            continue
        report.check("value", ours[text] == value, text, ours[text], value)


def has_code(program, entry):
    """The entry lies in a function that has code, not below an abstract one, a call site, or one of the compiler's own."""
    entry = entry.parent
    while entry and entry.tag == "DW_TAG_lexical_block":
        entry = entry.parent
    outer = entry
    while outer:
        origin = program.target(outer, "DW_AT_abstract_origin") or program.target(outer, "DW_AT_specification") or outer
        if "DW_AT_artificial" in outer.attributes or "DW_AT_artificial" in origin.attributes:
            return False
        outer = outer.parent
    return bool(entry) and entry.tag in ("DW_TAG_subprogram", "DW_TAG_inlined_subroutine") and any(high > low >= 0x8000 for low, high in program.ranges(entry))


def compare(build, tool, folder):
    path = builds.make(build, folder)
    program, dump = dwarfdump.Program(path), read_dump(tool, path, build[1])
    report, low_limit = Report(), 0x8000
    check_functions(report, program, dump, low_limit)
    check_globals(report, program, dump, path)
    check_types(report, program, dump, path, folder, "big-endian" in build[3])
    check_lines(report, program, dump, low_limit)
    check_locals(report, program, dump)
    check_values(report, tool, path, build[1], build[2] == "cpp")
    return report


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--dump", required=True)
    parser.add_argument("--folder", required=True)
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    folder = pathlib.Path(options.folder)
    folder.mkdir(parents=True, exist_ok=True)
    failed = 0
    total = collections.Counter()
    for build in builds.BUILDS:
        if options.names and builds.name_of(build) not in options.names:
            continue
        report = compare(build, options.dump, folder)
        number = sum(report.differences.values())
        print(f"{builds.name_of(build)}: {number} differences {dict(report.differences) or ''}")
        failed += number
        total += report.compared
    print("compared:", ", ".join(f"{kind} {count}" for kind, count in sorted(total.items())))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
