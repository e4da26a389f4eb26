#!/usr/bin/env python3
"""Source steps a second, whole stack: the debugger in batch mode with the source, register and call stack windows open,
and beside it gdb-multiarch against QEMU stepping the same program.

  bench/bench_steps.py [build/release]      prints
  steps_per_s: N
  steps_per_s_gdb_qemu: N
"""
import os
import pathlib
import socket
import subprocess
import sys
import tempfile
import time

here = pathlib.Path(__file__).resolve().parent
build = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else here.parent / "build/release").resolve()
STEPS = 400


def run(command, **more):
    start = time.monotonic()
    done = subprocess.run(command, capture_output=True, text=True, timeout=300, **more)
    if done.returncode != 0:
        sys.exit(f"{command[0]} failed with {done.returncode}:\n{done.stdout[-2000:]}{done.stderr[-2000:]}")
    return time.monotonic() - start


def vantrel(folder, elf, steps):
    project = folder / "steps.bdebug"
    project.write_text('void OnProjectLoad (void) {\n  Project.SetDevice ("VS4F-512");\n  Project.SetHostIF ("USB", "");\n'
                       '  Project.SetTargetIF ("SWD");\n  Project.SetTIFSpeed ("4 MHz");\n'
                       f'  File.Open ("{elf}");\n}}\n')
    batch = folder / "steps.txt"
    batch.write_text('Window.Show "Call Stack"\nWindow.Show "Registers 1"\nDebug.Start\n@waithalt 10000\n'
                     + "Debug.StepOver\n" * steps)
    return run([build / "bin/vantrel", project, "-settings", folder / "settings", "-batch", batch],
               env=dict(os.environ, QT_QPA_PLATFORM="offscreen"))


def gdb(elf, steps):
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    qemu = subprocess.Popen(["qemu-system-arm", "-M", "mps2-an386", "-nographic", "-monitor", "none", "-serial", "none",
                             "-S", "-gdb", f"tcp:127.0.0.1:{port}", "-kernel", elf])
    try:
        time.sleep(0.5)
        commands = [f"target remote 127.0.0.1:{port}", "break main", "continue"] + ["next"] * steps
        arguments = ["gdb-multiarch", "-batch", "-nx", elf]
        for command in commands:
            arguments += ["-ex", command]
        return run(arguments)
    finally:
        qemu.kill()
        qemu.wait()


with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    elf = folder / "steps.elf"
    run(["arm-none-eabi-gcc", "-mcpu=cortex-m4", "-mthumb", "-O0", "-g", "-ffreestanding", "-nostdlib",
         "-T", here / "steps.ld", here / "steps.c", "-o", elf])
    base = min(vantrel(folder, elf, 0) for _ in range(2))
    print(f"steps_per_s: {STEPS / (vantrel(folder, elf, STEPS) - base):.0f}")
    base = min(gdb(elf, 0) for _ in range(2))
    print(f"steps_per_s_gdb_qemu: {STEPS / (gdb(elf, STEPS) - base):.0f}")
