"""Compares every PC and source line of a transcript with gdb-multiarch reading the same ELF.

  check_with_gdb.py TRANSCRIPT ELF

A transcript line counts when it holds a tab separated cell "file:line" and one "0x########", as
the rows of the call stack window do. gdb's "info line *ADDR" must name the same file and line for
the innermost frame; for the callers, whose address is that of the return, the call before it.
"""
import re
import subprocess
import sys


def rows(path):
    """Yields (line number in the transcript, address, file, line, is the innermost frame)."""
    first = True
    for number, text in enumerate(open(path, errors="replace"), 1):
        cells = text.rstrip("\n").split("\t")
        place = next((re.fullmatch(r"(.*[^:]):\s?(\d+)", c.strip()) for c in cells
                      if re.fullmatch(r".*[^:]:\s?\d+", c.strip())), None)
        address = next((c.strip() for c in cells if re.fullmatch(r"0x[0-9A-Fa-f]{8}", c.strip())), None)
        if place and address and len(cells) >= 3:
            yield number, int(address, 16), place.group(1), int(place.group(2)), first
            first = False
        else:
            first = True


def main():
    transcript, elf = sys.argv[1:3]
    found = list(rows(transcript))
    if not found:
        print("no PC in the transcript: nothing was compared")
        return 1
    commands = []
    for _, address, _, _, innermost in found:
        commands += ["-ex", f"info line *{address if innermost else address - 2:#x}"]
    answer = subprocess.run(["gdb-multiarch", "-batch", "-nx", "-ex", "set width 0", elf] + commands,
                            capture_output=True, text=True, check=True).stdout
    lines = [text for text in answer.splitlines() if text.strip()]
    if len(lines) != len(found):
        print(f"{len(found)} questions, {len(lines)} answers:\n{answer}")
        return 1
    failures = 0
    for (number, address, file, line, _), text in zip(found, lines):
        match = re.match(r'Line (\d+) of "([^"]*)"', text)
        if not match or int(match.group(1)) != line or match.group(2).split("/")[-1] != file.split("/")[-1]:
            failures += 1
            print(f"{transcript}:{number}: {address:#010x} is {file}:{line}, gdb says: {text}")
    print(f"{len(found)} places compared with gdb, {failures} differ")
    return 1 if failures else 0


sys.exit(main())
