"""The builds of the matrix: which compilers, with which options."""
import pathlib
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
C_FILES = ["records.c", "blocks.c", "frames.c"]
CPP_FILES = ["shapes.cpp"]

ARM = ["-mcpu=cortex-m4", "-mthumb"]
RISCV = ["-march=rv32imac", "-mabi=ilp32"]
COMPILERS = {
    ("gcc", "arm"): ["arm-none-eabi-gcc", *ARM],
    ("clang", "arm"): ["clang", "--target=arm-none-eabi", *ARM, "-fuse-ld=lld"],
    ("gcc", "riscv"): ["riscv64-unknown-elf-gcc", *RISCV],
    ("clang", "riscv"): ["clang", "--target=riscv32-unknown-elf", *RISCV, "-fuse-ld=lld", "-mno-relax"],
}
STACK_POINTER = {"arm": 13, "riscv": 2}
GC = "-ffunction-sections -fdata-sections -Wl,--gc-sections"

# compiler, machine, language, options
BUILDS = [
    ("gcc", "arm", "c", "-O0 -gdwarf-2"),
    ("gcc", "arm", "c", "-Og -gdwarf-3 -g3"),
    ("gcc", "arm", "c", "-O2 -gdwarf-4"),
    ("gcc", "arm", "c", "-Os -gdwarf-5"),
    ("gcc", "arm", "c", "-O2 -gdwarf-5 -g3 " + GC),
    ("gcc", "arm", "c", "-O2 -gdwarf-5 -flto"),
    ("gcc", "arm", "c", "-O2 -gdwarf-4 -gz"),
    ("gcc", "arm", "c", "-O1 -gdwarf-5 -mbig-endian"),
    ("gcc", "arm", "cpp", "-O0 -gdwarf-5"),
    ("gcc", "arm", "cpp", "-O2 -gdwarf-4 -fdebug-types-section"),
    ("gcc", "arm", "cpp", "-Os -gdwarf-2"),
    ("gcc", "arm", "cpp", "-Og -gdwarf-5 -g3 -gz " + GC),
    ("gcc", "arm", "cpp", "-O2 -gdwarf-5 -flto"),
    ("clang", "arm", "c", "-O0 -gdwarf-2"),
    ("clang", "arm", "c", "-O1 -gdwarf-3"),
    ("clang", "arm", "c", "-O2 -gdwarf-4 " + GC),
    ("clang", "arm", "c", "-Os -gdwarf-5 -gz"),
    ("clang", "arm", "cpp", "-O0 -gdwarf-4"),
    ("clang", "arm", "cpp", "-O2 -gdwarf-5"),
    ("clang", "arm", "cpp", "-Og -gdwarf-5 -fdebug-types-section"),
    ("gcc", "riscv", "c", "-O0 -gdwarf-5"),
    ("gcc", "riscv", "c", "-O2 -gdwarf-4 " + GC),
    ("gcc", "riscv", "c", "-Os -gdwarf-2"),
    ("gcc", "riscv", "cpp", "-Og -gdwarf-3 -g3"),
    ("gcc", "riscv", "cpp", "-O2 -gdwarf-5"),
    ("clang", "riscv", "c", "-O0 -gdwarf-4"),
    ("clang", "riscv", "c", "-O2 -gdwarf-5"),
    ("clang", "riscv", "c", "-Os -gdwarf-3 -gz"),
    ("clang", "riscv", "cpp", "-O1 -gdwarf-5"),
    ("clang", "riscv", "cpp", "-O2 -gdwarf-2"),
]


def name_of(build):
    compiler, machine, language, options = build
    words = [word for word in options.split() if word not in GC.split()]
    if GC in options:
        words.append("gc")
    return "-".join([compiler, machine, language] + [word.lstrip("-").replace("=", "") for word in words])


def make(build, folder):
    """Builds one program into a folder and returns its path."""
    compiler, machine, language, options = build
    output = folder / (name_of(build) + ".elf")
    is_cpp = language == "cpp"
    command = list(COMPILERS[compiler, machine])
    if is_cpp:
        command[0] = command[0].replace("gcc", "g++").replace("clang", "clang++")
        command += ["-std=c++20", "-fno-exceptions", "-fno-rtti", "-fno-threadsafe-statics"]
    command += ["-ffreestanding", "-nostdlib", "-Wl,-Ttext=0x8000", "-Wl,-e_start", *options.split(), "-o", str(output)]
    command += [str(HERE / "programs" / file) for file in (CPP_FILES if is_cpp else C_FILES)]
    # Arithmetic that the machine lacks comes from gcc's run-time library; there is none for the other byte order.
    if "-mbig-endian" in options:
        command.append("-Wl,--unresolved-symbols=ignore-all")
    else:
        gcc = COMPILERS["gcc", machine]
        command.append(subprocess.run([*gcc, "-print-libgcc-file-name"], check=True, capture_output=True, text=True).stdout.strip())
    subprocess.run(command, check=True)
    return output
