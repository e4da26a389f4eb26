# Run by gdb: stops at each call of Stop and prints frames and registers, and saves the memory. What is printed:
#   STOP <number>
#   FRAME <level> <kind> <name> <pc> <value of r4> ... <value of r11> <sp> <lr>
#   LOCAL <level> <line> <name> <size> <value>          a number, or the address of an array
#   LENGTH <level> <line> <name> <number of elements>   of an array
#   SEEN <level> <name> <name> ...                      the variables that its source sees there, sorted
#   VALUE <level> <line> <name> <path> <state> <value>   each number in a variable and behind its pointers: the path is of
#       .member, [index] and > (what a pointer points to); the state is = or LOST, or SYNTHETIC for a pointer without a value
import gdb
import os
import re
import struct

directory = os.environ["SNAPSHOT_DIR"]
gdb.execute("set pagination off")
gdb.execute("set confirm off")
gdb.execute("set backtrace past-main on")
gdb.Breakpoint("*Stop")


def plain(name):
    """The name of a function without scopes, template arguments and parameters."""
    name, count = str(name), 1
    while count:
        name, count = re.subn(r"<[^<>]*>", "", name)
    name = name.split("::")[-1]
    return "operator()" if name.startswith("operator()") else name.split("(")[0]


def number(value):
    """The bits of a scalar, None for anything else."""
    kind = value.type.strip_typedefs()
    if kind.code == gdb.TYPE_CODE_FLT:
        return int.from_bytes(struct.pack("<f" if kind.sizeof == 4 else "<d", float(value)), "little")
    if kind.code in (gdb.TYPE_CODE_INT, gdb.TYPE_CODE_CHAR, gdb.TYPE_CODE_BOOL, gdb.TYPE_CODE_ENUM, gdb.TYPE_CODE_PTR):
        return int(value) & ((1 << 8 * kind.sizeof) - 1)
    return None


def print_locals(frame, level):
    frame.select()
    block = frame.block()
    while block and not (block.is_static or block.is_global):
        for symbol in block:
            if not (symbol.is_variable or symbol.is_argument):
                continue
            place = "%d %d %s" % (level, symbol.line, symbol.name)
            try:
                value = symbol.value(frame)
                kind = value.type.strip_typedefs()
                if value.is_optimized_out or is_synthetic(value):
                    continue
                if kind.code == gdb.TYPE_CODE_ARRAY:
                    print("LOCAL %s %d %x" % (place, 0, int(value.address)))
                    print("LENGTH %s %d" % (place, int(gdb.parse_and_eval("sizeof({0}) / sizeof({0}[0])".format(symbol.name)))))
                elif number(value) is not None:
                    print("LOCAL %s %d %x" % (place, kind.sizeof, number(value)))
            except (gdb.error, TypeError, ValueError):
                pass
        if block.function:
            break
        block = block.superblock


def print_seen(frame, level):
    names = set()
    block = frame.block()
    while block and not (block.is_static or block.is_global):
        names.update(symbol.name for symbol in block if symbol.is_variable or symbol.is_argument)
        if block.function:
            break
        block = block.superblock
    print("SEEN %d %s" % (level, " ".join(sorted(names))))


def is_synthetic(value):
    return value.type.strip_typedefs().code == gdb.TYPE_CODE_PTR and "synthetic pointer" in value.format_string()


def leaves(value, path, depth):
    kind = value.type.strip_typedefs()
    if kind.code == gdb.TYPE_CODE_STRUCT:
        for field in kind.fields():
            yield from leaves(value[field], path + "." + field.name, depth)
    elif kind.code == gdb.TYPE_CODE_ARRAY:
        for i in range(kind.range()[0], min(kind.range()[1], 3) + 1):
            yield from leaves(value[i], "%s[%d]" % (path, i), depth)
    elif value.is_optimized_out or (kind.code != gdb.TYPE_CODE_PTR and "optimized out" in value.format_string()):
        yield path, "LOST", 0 # also a number of which a part is lost; GDB breaks off at the text of such a pointer
    else:
        yield (path, "SYNTHETIC", 0) if is_synthetic(value) else (path, "=", number(value))
        if kind.code == gdb.TYPE_CODE_PTR and depth < 3:
            yield from leaves(value.dereference(), path + ">", depth + 1)


def print_values(frame, level):
    frame.select()
    block = frame.block()
    while block and not (block.is_static or block.is_global):
        for symbol in block:
            if symbol.is_variable or symbol.is_argument:
                try:
                    for path, state, value in leaves(symbol.value(frame), "", 0):
                        print("VALUE %d %d %s %s %s %x" % (level, symbol.line, symbol.name, path or "-", state, value))
                except (gdb.error, TypeError, ValueError):
                    pass
        if block.function:
            break
        block = block.superblock


registers = ["r%d" % i for i in range(13)] + ["sp", "lr", "pc", os.environ.get("SNAPSHOT_STATUS", "xpsr")]
stop = 0
while stop < 6:
    gdb.execute("continue", to_string=True)
    print("STOP %d" % stop)
    frame = gdb.newest_frame()
    print("LIVE " + " ".join("%x" % (int(frame.read_register(r)) & 0xFFFFFFFF) for r in registers))
    level = 0
    try:
        while frame is not None and frame.is_valid() and level < 32:
            saved = []
            for r in ["r%d" % i for i in range(4, 12)]:
                try:
                    saved.append("%x" % (int(frame.read_register(r)) & 0xFFFFFFFF))
                except (gdb.error, ValueError, TypeError):
                    saved.append("?")
            print("FRAME %d %d %s %x %s" % (level, frame.type(), plain(frame.name()), frame.pc(), " ".join(saved)))
            try:
                print_seen(frame, level)
                print_locals(frame, level)
                print_values(frame, level)
            except RuntimeError:
                pass
            frame = frame.older()
            level += 1
    except gdb.error as error:
        print("ERROR %s" % error)
    gdb.execute("dump binary memory %s/ram%d.bin 0x20000000 0x20010000" % (directory, stop))
    stop += 1
gdb.execute("kill")
