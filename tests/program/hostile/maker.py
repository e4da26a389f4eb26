"""Small makers of ELF files and debug sections, for files that no compiler would write."""
import struct

ARM = 40
LOAD, SYMTAB, STRTAB, PROGBITS, NOBITS = 1, 2, 3, 1, 8
ALLOC, EXEC, COMPRESSED = 2, 4, 0x800
CODE = 0x8000  # where the code of all these programs lies

# Tags, attributes and forms by the names of the format.
TAG = dict(array=0x01, class_=0x02, enum=0x04, parameter=0x05, lexical_block=0x0B, pointer=0x0F, unit=0x11, struct=0x13,
           typedef=0x16, inlined=0x1D, subrange=0x21, base=0x24, subprogram=0x2E, variable=0x34, member=0x0D, namespace=0x39)
AT = dict(sibling=0x01, location=0x02, name=0x03, byte_size=0x0B, stmt_list=0x10, low_pc=0x11, high_pc=0x12, language=0x13,
          comp_dir=0x1B, const_value=0x1C, upper_bound=0x2F, origin=0x31, declaration=0x3C, encoding=0x3E, external=0x3F,
          frame_base=0x40, type=0x49, ranges=0x55, str_offsets_base=0x72, macros=0x79, member_location=0x38,
          decl_file=0x3A, call_file=0x58, call_line=0x59)
FORM = dict(addr=0x01, block2=0x03, block4=0x04, data2=0x05, data4=0x06, data8=0x07, string=0x08, block=0x09, block1=0x0A, data1=0x0B,
            strp=0x0E, ref4=0x13, indirect=0x16, sec_offset=0x17, exprloc=0x18, flag_present=0x19, strx=0x1A, line_strp=0x1F,
            implicit_const=0x21, strx1=0x25, udata=0x0F)


def leb(value):
    out = bytearray()
    while value >= 0x80:
        out.append(value & 0x7F | 0x80)
        value >>= 7
    out.append(value)
    return bytes(out)


def u16(value):
    return struct.pack("<H", value)


def u32(value):
    return struct.pack("<I", value & 0xFFFFFFFF)


def abbrev(code, tag, children, *attrs):
    """attrs: pairs of an attribute and a form by name; a number stands for itself."""
    out = leb(code) + leb(TAG.get(tag, tag)) + bytes([children])
    for name, form in attrs:
        out += leb(AT.get(name, name)) + leb(FORM.get(form, form))
        if form == "implicit_const":
            out += b"\0"
    return out + b"\0\0"


def unit(dies, version=4, table=0):
    head = u16(version) + (b"\x01\x04" + u32(table) if version >= 5 else u32(table) + b"\x04")
    return u32(len(head) + len(dies)) + head + dies


UNIT_DIE = 11 + 0  # offset of the root entry in a unit of version 4


def symbol(name, value, size, info, section):
    return struct.pack("<IIIBBH", name, value, size, info, 0, section)


class Elf:
    """An executable for ARM. Sections are laid out in the order they are added."""

    def __init__(self):
        self.sections = [dict(name="", type=0, flags=0, addr=0, data=b"", size=0, link=0, entsize=0)]
        self.segments = []

    def add(self, name, data, type=PROGBITS, flags=0, addr=0, link=0, entsize=0, size=None):
        self.sections.append(dict(name=name, type=type, flags=flags, addr=addr, data=data, link=link, entsize=entsize,
                                  size=len(data) if size is None else size))
        return len(self.sections) - 1

    def text(self, size=0x1000):
        return self.add(".text", bytes(size), flags=ALLOC | EXEC, addr=CODE)

    def symbols(self, entries, names):
        """entries: bytes of all symbols behind the empty one."""
        strtab = self.add(".strtab", names, STRTAB)
        return self.add(".symtab", bytes(16) + entries, SYMTAB, link=strtab, entsize=16)

    def build(self):
        body, headers = bytearray(), b""
        names = bytearray(b"\0")
        shstrtab = self.add(".shstrtab", b"", STRTAB)
        start = 52 + 32 * len(self.segments)
        for section in self.sections:
            section["name_pos"] = len(names) if section["name"] else 0
            if section["name"]:
                names += section["name"].encode() + b"\0"
        self.sections[shstrtab]["data"] = bytes(names)
        self.sections[shstrtab]["size"] = len(names)
        for section in self.sections:
            section["offset"] = start + len(body)
            body += section["data"]
        for section in self.sections:
            headers += struct.pack("<10I", section["name_pos"], section["type"], section["flags"], section["addr"], section["offset"],
                                   section["size"], section["link"], 0, 1, section["entsize"])
        head = header(start + len(body), len(self.sections), shstrtab, len(self.segments))
        return head + b"".join(self.segments) + bytes(body) + headers


def header(section_pos, num_sections, names, num_segments=0, segment_pos=52):
    return b"\x7fELF\1\1\1" + bytes(9) + struct.pack("<HHIIIIIHHHHHH", 2, ARM, 1, CODE, segment_pos, section_pos, 0x05000200, 52, 32,
                                                      num_segments, 40, num_sections, names)


def dwarf(info, abbrevs, **more):
    """A program of debug sections: keyword debug_str is the section .debug_str."""
    elf = Elf()
    elf.text()
    elf.add(".debug_info", info)
    elf.add(".debug_abbrev", abbrevs)
    for name, data in more.items():
        elf.add("." + name, data)
    return elf
