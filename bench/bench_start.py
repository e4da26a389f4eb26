#!/usr/bin/env python3
"""Start to window shown, warm: the debugger without a project, until its first paint has been handled.

  bench/bench_start.py [build/release]      prints
  start_ms: N
  start_ms_gdb: N        (gdb-multiarch -batch -nx, the peer that opens no window)
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import time

here = pathlib.Path(__file__).resolve().parent
build = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else here.parent / "build/release").resolve()


def measure(command, environment):
    times = []
    for _ in range(7):
        start = time.monotonic()
        subprocess.run(command, capture_output=True, check=True, env=environment, timeout=60)
        times.append((time.monotonic() - start) * 1000)
    return sorted(times)[len(times) // 2]


with tempfile.TemporaryDirectory() as folder:
    batch = pathlib.Path(folder) / "quit.txt"
    batch.write_text("@quit\n")
    # The batch begins when the window has been painted, so the run's length is an upper bound of the start.
    start = measure([build / "bin/vantrel", "-settings", folder, "-batch", batch],
                    dict(os.environ, QT_QPA_PLATFORM="offscreen"))
    print(f"start_ms: {start:.0f}")
    print(f"start_ms_gdb: {measure(['gdb-multiarch', '-batch', '-nx'], dict(os.environ)):.0f}")
