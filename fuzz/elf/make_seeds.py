#!/usr/bin/env python3
"""Builds small program files of many kinds as seeds of the fuzz targets.

    make_seeds.py FOLDER

A compiler that isn't there leaves its seeds out; the committed corpus holds one file of each main kind.
"""
import pathlib
import shutil
import subprocess
import sys

SOURCE = """
#define SQUARE(x) ((x) * (x))
typedef enum { RED, GREEN = 5 } COLOR;
struct NODE { struct NODE *pNext; int Value : 5; unsigned Rest : 27; COLOR aColor[3]; union { int i; float f; } u; };
static struct NODE Head; int Global; int (*pfCall)(int);
static inline int Twice(int x) { int y = SQUARE(x); return y + x; }
int Sum(struct NODE *p, int n) { int a[n + 1]; for (int i = 0; p && i < n; i++) { a[i] = p->Value; Global += Twice(a[i]); p = p->pNext; } return Global; }
int main(void) { volatile long long v = Sum(&Head, 3); return (int)v + Twice(Global); }
"""
SOURCE_CPP = """
namespace ns { template <typename T> struct BOX { T Value; static int Count; T Get() const { return Value; } }; template <typename T> int BOX<T>::Count; }
class CBase { public: virtual int Run(int x) { return x; } protected: int m_Value = 1; };
class CDerived : public CBase, private ns::BOX<short> { public: int Run(int x) override { auto f = [&](int y) { return y + m_Value; }; return f(x) + Get(); } };
CDerived g_Object; int main() { return g_Object.Run(ns::BOX<int>::Count); }
"""
ARM = ["arm-none-eabi-gcc", "-mcpu=cortex-m4", "-mthumb"]
ARM_CPP = ["arm-none-eabi-g++", "-mcpu=cortex-m4", "-mthumb", "-fno-exceptions", "-fno-rtti"]
CLANG = ["clang", "--target=arm-none-eabi", "-mcpu=cortex-m4", "-mthumb", "-fuse-ld=lld"]
RISCV = ["riscv64-unknown-elf-gcc", "-march=rv32imac", "-mabi=ilp32"]
RISCV64 = ["riscv64-unknown-elf-gcc", "-march=rv64imac", "-mabi=lp64"]
LINK = ["-nostdlib", "-ffreestanding", "-Wl,-Ttext=0x8000", "-Wl,-emain", "-Wl,--unresolved-symbols=ignore-all", "-Wl,--build-id=none", "-Wl,--nmagic"]

# Name, compiler, source, options.
SEEDS = [
    ("gcc2", ARM, SOURCE, ["-gdwarf-2", "-gstrict-dwarf", "-O1"]),
    ("gcc3", ARM, SOURCE, ["-gdwarf-3", "-gstrict-dwarf", "-O2"]),
    ("gcc4_macros", ARM, SOURCE, ["-gdwarf-4", "-g3", "-O0", "-undef"]),
    ("gcc4_zlib", ARM, SOURCE, ["-gdwarf-4", "-O1", "-gz=zlib"]),
    ("gcc5_zlib_gnu", ARM, SOURCE, ["-gdwarf-5", "-O1", "-gz=zlib-gnu"]),
    ("gcc5_64bit_dwarf", ARM, SOURCE, ["-gdwarf-5", "-gdwarf64", "-O1"]),
    ("gcc5_big", ARM, SOURCE, ["-gdwarf-5", "-O2", "-mbig-endian"]),
    ("gcc3_big", ARM, SOURCE, ["-gdwarf-3", "-O1", "-mbig-endian", "-gz=zlib"]),
    ("gxx4_types", ARM_CPP, SOURCE_CPP, ["-gdwarf-4", "-O1", "-fdebug-types-section"]),
    ("gxx5_types", ARM_CPP, SOURCE_CPP, ["-gdwarf-5", "-O1", "-fdebug-types-section"]),
    ("clang3", CLANG, SOURCE, ["-gdwarf-3", "-O1"]),
    ("clang4", CLANG, SOURCE, ["-gdwarf-4", "-O2"]),
    ("clang5", CLANG, SOURCE, ["-gdwarf-5", "-O2"]),
    ("riscv4", RISCV, SOURCE, ["-gdwarf-4", "-O1", "-fasynchronous-unwind-tables"]),
    ("riscv5", RISCV, SOURCE, ["-gdwarf-5", "-O2"]),
    ("riscv64", RISCV64, SOURCE, ["-gdwarf-4", "-O1"]),
    ("object", ARM, SOURCE, ["-gdwarf-4", "-O1", "-c"]),
    ("object_riscv64", RISCV64, SOURCE, ["-gdwarf-5", "-O1", "-c"]),
    ("no_debug", ARM, SOURCE, ["-O1"]),
]
CORE_TYPE = 4  # e_type of a core dump


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for name, compiler, source, options in SEEDS:
        if not shutil.which(compiler[0]):
            print(name, "left out: no", compiler[0])
            continue
        file = "seed.c" if source is SOURCE else "seed.cpp"
        (folder / file).write_text(source)
        link = [] if "-c" in options else LINK
        command = compiler + options + link + ["-fdebug-prefix-map=%s=." % folder.resolve(), file, "-o", name + ".elf"]
        result = subprocess.run(command, cwd=folder, capture_output=True)
        (folder / file).unlink()
        if result.returncode:
            sys.exit(name + ": " + result.stderr.decode())
    program = folder / "gcc2.elf"
    if program.exists():
        data = bytearray(program.read_bytes())
        data[16] = CORE_TYPE
        (folder / "core.elf").write_bytes(data)


if __name__ == "__main__":
    main()
