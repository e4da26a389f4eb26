"""Makes the files that the tests of bad input open, in the folder given, from a good ELF.

  make_bad_inputs.py GOOD.elf FOLDER
"""
import pathlib
import struct
import sys

good = pathlib.Path(sys.argv[1]).read_bytes()
folder = pathlib.Path(sys.argv[2])
folder.mkdir(parents=True, exist_ok=True)


def write(name, content):
    (folder / name).write_bytes(content if isinstance(content, bytes) else content.encode())


def with_machine(machine):
    return good[:18] + struct.pack("<H", machine) + good[20:]


write("empty.elf", b"")
write("empty.bin", b"")
write("empty.hex", b"")
write("text.elf", "this is no program\n" * 20)
write("truncated_header.elf", good[:40])
write("truncated.elf", good[: len(good) * 2 // 3])
write("other_machine.elf", with_machine(243))
write("class64.elf", good[:4] + b"\x02" + good[5:])
write("relocatable.elf", good[:16] + struct.pack("<H", 1) + good[18:])

head = ('void OnProjectLoad (void) {\n  Project.SetHostIF ("USB", "");\n  Project.SetTargetIF ("SWD");\n'
        '  Project.SetTIFSpeed ("4 MHz");\n')
write("syntax.bdebug", head + '  Project.SetDevice ("VS4F-512"\n}\n')
write("no_load.bdebug", "void AfterTargetReset (void) {\n}\n")
write("unknown_device.bdebug", head + '  Project.SetDevice ("NO-SUCH-DEVICE");\n}\n')
write("missing_program.bdebug", head + '  Project.SetDevice ("VS4F-512");\n  File.Open ("nowhere.elf");\n}\n')
write("other_machine.bdebug", head + '  Project.SetDevice ("VS4F-512");\n  File.Open ("other_machine.elf");\n}\n')
write("no_plugin.bdebug", head + '  Project.SetCorePlugin ("nowhere.so");\n  Project.SetDevice ("VS4F-512");\n}\n')
write("wrong_plugin.bdebug", head + f'  Project.SetCorePlugin ("{sys.argv[3] if len(sys.argv) > 3 else ""}");\n'
                             '  Project.SetDevice ("VS4F-512");\n}\n')
write("no_probe.bdebug", head.replace('("USB", "")', '("USB", "99999")') + '  Project.SetDevice ("VS4F-512");\n}\n')
write("empty.bdebug", b"")
