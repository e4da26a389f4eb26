"""Compares every place of a transcript's call stacks with gdb-multiarch and addr2line reading the same ELF.

  check_with_gdb.py TRANSCRIPT ELF

A transcript line counts when it holds a tab separated cell "file:line:column" and one "0x########", as
the rows of the call stack window do; the address of a caller is that of its call. gdb's "info line *ADDR"
must name the same file and line. A row below one that was inlined shows the line of the inlined call, which
addr2line -i names as the second place of the inlined row's address.
"""
import re
import subprocess
import sys


def rows(path):
    """Yields (line number in the transcript, address, file, line, address of an inlined row before or None)."""
    inlined = None
    for number, text in enumerate(open(path, errors="replace"), 1):
        cells = [cell.strip() for cell in text.rstrip("\n").split("\t")]
        place = next(filter(None, (re.fullmatch(r"(.*[^:\d]):(\d+)(?::\d+)?", c) for c in cells)), None)
        address = next((c for c in cells if re.fullmatch(r"0x[0-9A-Fa-f]{8}", c)), None)
        if place and address and len(cells) >= 3:
            yield number, int(address, 16), place.group(1), int(place.group(2)), inlined
            inlined = int(address, 16) if "<inline>" in cells else None


def ask(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines()


def gdb_places(elf, addresses):
    """Yields (file, line, gdb's answer) for each address."""
    commands = [part for address in addresses for part in ("-ex", f"info line *{address:#x}")]
    answer = [text for text in ask("gdb-multiarch", "-batch", "-nx", "-ex", "set width 0", elf, *commands) if text.strip()]
    if len(answer) != len(addresses):
        sys.exit(f"{len(addresses)} questions, {len(answer)} answers:\n" + "\n".join(answer))
    for text in answer:
        match = re.match(r'Line (\d+) of "([^"]*)"', text)
        yield (match.group(2), int(match.group(1)), text) if match else ("", 0, text)


def inline_caller(elf, address):
    """(file, line, the whole answer) of the place that the code inlined at the address was called from."""
    answer = ask("arm-none-eabi-addr2line", "-i", "-e", elf, hex(address))
    match = re.match(r"(.*):(\d+)", answer[1]) if len(answer) > 1 else None
    return (match.group(1), int(match.group(2)), answer[1]) if match else ("", 0, str(answer))


def main():
    transcript, elf = sys.argv[1:3]
    found = list(rows(transcript))
    if not found:
        sys.exit("no place in the transcript: nothing was compared")
    failures = 0
    for (number, address, file, line, inlined), place in zip(found, gdb_places(elf, [row[1] for row in found])):
        if inlined is not None:
            place = inline_caller(elf, inlined)
        if place[1] != line or place[0].split("/")[-1] != file.split("/")[-1]:
            failures += 1
            print(f"{transcript}:{number}: {address:#010x} is {file}:{line}, the oracle says: {place[2]}")
    print(f"{len(found)} places compared, {failures} differ")
    sys.exit(1 if failures else 0)


main()
