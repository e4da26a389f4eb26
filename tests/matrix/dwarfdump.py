"""Debug information as llvm-dwarfdump prints it: entries with attributes, line rows, expected places of values."""
import re
import subprocess


class Entry:
    """One debugging information entry; attributes are the tool's texts."""

    def __init__(self, offset, tag, parent):
        self.offset, self.tag, self.parent = offset, tag, parent
        self.attributes, self.children = {}, []

    def text(self, name):
        """A quoted attribute without its quotes, None if there is none."""
        value = self.attributes.get(name)
        match = value and re.search(r'"(.*)"', value)
        return match.group(1) if match else value

    def number(self, name):
        value = self.attributes.get(name)
        return int(value, 0) if value and re.fullmatch(r"-?(0x)?[0-9a-fA-F]+", value) else None

    def walk(self):
        yield self
        for child in self.children:
            yield from child.walk()


class Program:
    """All entries of a file by offset; those of .debug_types have bit 31 set."""

    def __init__(self, path):
        self.path, self.entries, self.roots = path, {}, []
        self._read(self._run("--debug-info"), 0)
        self._read(self._run("--debug-types"), 1 << 31)

    def _run(self, *options):
        return subprocess.run(["llvm-dwarfdump", *options, str(self.path)], check=True, capture_output=True, text=True).stdout

    def _read(self, text, section):
        stack, entry, name = [], None, None
        for line in text.split("\n"):
            match = re.match(r"0x([0-9a-f]{8}):( *)(DW_TAG_\w+|NULL)", line)
            if match:
                depth = (len(match.group(2)) - 1) // 2
                del stack[depth:]
                name = None
                if match.group(3) == "NULL":
                    continue
                entry = Entry(int(match.group(1), 16) | section, match.group(3), stack[-1] if stack else None)
                (stack[-1].children if stack else self.roots).append(entry)
                stack.append(entry)
                self.entries[entry.offset] = entry
                continue
            match = re.match(r"\s+(DW_AT_\w+)\t\((.*)", line)
            if match and entry:
                name = match.group(1)
                entry.attributes[name] = match.group(2).removesuffix(")")
            elif name and line.strip():
                entry.attributes[name] += "\n" + line.strip().removesuffix(")" if not line.strip().startswith("[") or line.count(")") > line.count("(") + 1 else "")
            elif not line.strip():
                name = None

    def target(self, entry, name):
        """The entry that a reference names."""
        value = entry.attributes.get(name)
        match = value and re.match(r"0x([0-9a-f]+)", value)
        if not match:
            return None
        offset = int(match.group(1), 16)
        return self.entries.get(offset | entry.offset & (1 << 31)) or self.entries.get(offset)

    def inherited(self, entry, name, get):
        """An attribute of the entry or of what it specifies or is a copy of."""
        for _ in range(8):
            if entry is None:
                return None
            if name in entry.attributes:
                return get(entry)
            entry = self.target(entry, "DW_AT_abstract_origin") or self.target(entry, "DW_AT_specification")
        return None

    def name(self, entry):
        return self.inherited(entry, "DW_AT_name", lambda e: e.text("DW_AT_name"))

    def ranges(self, entry):
        """Address ranges, low and exclusive high."""
        if "DW_AT_ranges" in entry.attributes:
            found = re.findall(r"\[0x([0-9a-f]+), 0x([0-9a-f]+)", entry.attributes["DW_AT_ranges"])
            return sorted((int(a, 16), int(b, 16)) for a, b in found if int(b, 16) > int(a, 16))
        low, high = entry.number("DW_AT_low_pc"), entry.number("DW_AT_high_pc")
        return [(low, high)] if low is not None and high is not None else []

    def place(self, entry):
        """Declaration: file and line, None and 0 where there is none."""
        return (self.inherited(entry, "DW_AT_decl_file", lambda e: e.text("DW_AT_decl_file")),
                self.inherited(entry, "DW_AT_decl_line", lambda e: e.number("DW_AT_decl_line")) or 0)

    def line_rows(self):
        """Rows of all line tables: sequences of (address, line, file, is_end)."""
        files, directories, row_header, version = {}, {}, False, 0
        for line in self._run("--debug-line").split("\n"):
            if match := re.match(r"\s+version: (\d+)", line):
                files, directories, version = {}, {}, int(match.group(1))
            elif match := re.match(r'include_directories\[\s*(\d+)\] = "(.*)"', line):
                directories[int(match.group(1))] = match.group(2)
            elif match := re.match(r"file_names\[\s*(\d+)\]:", line):
                current = int(match.group(1))
            elif match := re.match(r'\s+name: "(.*)"', line):
                files[current] = match.group(1)
            elif match := re.match(r"\s+dir_index: (\d+)", line):
                directory = directories.get(int(match.group(1)), "")
                if directory and not files[current].startswith("/"):
                    files[current] = directory + "/" + files[current]
            elif match := re.match(r"0x([0-9a-f]+)\s+(\d+)\s+(\d+)\s+(\d+)\s+\d+\s+\d+\s*(.*)", line):
                yield int(match.group(1), 16), int(match.group(2)), files.get(int(match.group(4)), "?"), "end_sequence" in match.group(5)


def locations(attribute):
    """The expressions of a location attribute: (low, high, text); one for all addresses has low None."""
    found = re.findall(r"\[0x([0-9a-f]+), 0x([0-9a-f]+)\): ([^\n]*)", attribute)
    if found or "\n" in attribute or re.fullmatch(r"0x[0-9a-f]+: ?", attribute):
        return [(int(a, 16), int(b, 16), text) for a, b, text in found]
    return [(None, None, attribute)]


def parts(expression):
    """The place an expression of simple form names, in the words of program_dump. None: a form that has no such words."""
    if "decoding error" in expression:
        return None
    result, computed = [], False
    for operation in re.split(r", (?![^(]*\))", expression):
        word, _, rest = operation.partition(" ")
        if match := re.fullmatch(r"DW_OP_(?:GNU_)?entry_value\(DW_OP_reg(\d+).*\)", operation):
            result.append(f"entry reg {match.group(1)}")
        elif match := re.fullmatch(r"DW_OP_reg(\d+)", word):
            result.append(f"reg {match.group(1)}")
        elif match := re.fullmatch(r"DW_OP_breg(\d+)", word):
            result.append(f"mem reg {match.group(1)} + {int(re.search(r'[+-][0-9]+$', rest).group())}")
        elif word == "DW_OP_fbreg":
            result.append(f"mem fb + {int(rest)}")
        elif word == "DW_OP_addr":
            result.append(f"mem {int(rest, 16):x}")
        elif match := re.fullmatch(r"DW_OP_lit(\d+)", word):
            result.append(f"const {match.group(1)}")
        elif re.fullmatch(r"DW_OP_const(u|s|[1248][us])", word):
            result.append(f"const {int(rest, 0)}")
        elif word == "DW_OP_stack_value" and result and not computed:
            computed = True
            if result[-1].startswith("mem"):
                result[-1] = "value " + result[-1].removeprefix("mem ") if " reg " in result[-1] else None
        elif word == "DW_OP_piece" and result and " piece " not in result[-1]:
            result[-1] += f" piece {int(rest, 0)}"
            computed = False
        else:
            return None
    if None in result or len(result) > 2 or (len(result) == 2 and " piece " not in result[0]):
        return None
    return ", ".join(result)
