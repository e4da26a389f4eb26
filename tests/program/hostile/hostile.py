#!/usr/bin/env python3
"""Opens files that are made to cost time or memory, and measures what they cost.

    hostile.py --ask build/dev/fuzz/ask_file | --vantrel build/dev/bin/vantrel
               [--folder out] [--only name] [--files path...] [--seconds 2 --megabytes 500]

Each file must be opened, or refused with its message, and must do neither slowly: by the layers that read programs
alone (--ask), or by the whole debugger, which decodes code and fills its windows as well. The limits are those of an
optimised build; without them the run only guards against a hang. A line a file: processor seconds, peak memory, outcome.
"""
import argparse
import os
import pathlib
import resource
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent))
import cases_elf  # noqa: E402, F401  (fills the list, as the modules that it builds on)
from cases_dwarf import CASES  # noqa: E402

HANG_SECONDS = 60  # of the processor: the machine may be busy with other things
ADDRESS_SPACE = 4 << 30  # a blow-up must not take the machine along
GIGABYTES = {".bin": 4, ".elf": 4, ".hex": 4}  # empty files of that size


def run(command, sanitized):
    """(processor seconds, megabytes, exit code, lines) of one file in a process of its own."""

    def limits():
        resource.setrlimit(resource.RLIMIT_CPU, (HANG_SECONDS, HANG_SECONDS))
        if not sanitized:
            resource.setrlimit(resource.RLIMIT_AS, (ADDRESS_SPACE, ADDRESS_SPACE))

    with tempfile.TemporaryFile() as out:
        child = subprocess.Popen(command, stdout=out, stderr=subprocess.DEVNULL, preexec_fn=limits,
                                 env=dict(os.environ, QT_QPA_PLATFORM="offscreen"))
        _, status, usage = os.wait4(child.pid, 0)
        out.seek(0)
        lines = out.read().decode(errors="replace").splitlines()
    child.returncode = os.waitstatus_to_exitcode(status)
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, child.returncode, lines


def ask_debugger(vantrel, path, sanitized):
    """As run, for a session that opens the file: the code tells whether it did, warnings and missing parts aside."""
    with tempfile.TemporaryDirectory() as temporary:
        project, batch = pathlib.Path(temporary, "p.bdebug"), pathlib.Path(temporary, "batch.txt")
        project.write_text('void OnProjectLoad (void) {\n  Project.SetDevice ("VS4F-512");\n}\n')
        batch.write_text(f'File.Open ("{path.resolve()}");\n@waitidle {HANG_SECONDS * 1000}\n')
        command = [vantrel, str(project), "-settings", temporary, "-batch", str(batch)]
        seconds, megabytes, code, lines = run(command, sanitized)
    is_open = code == 0 or any(line.startswith("File.Open: completed") for line in lines)
    return seconds, megabytes, int(not is_open) if code in (0, 1) else code, lines


def judge(code, lines, expect):
    """What is wrong with an outcome, empty if nothing."""
    if code not in (0, 1):
        return f"ended with {code}"
    if (code == 0) != expect.get("opened", True):
        return "opened" if code == 0 else "refused: " + "; ".join(lines[:2])
    if "message" in expect and not any(line.startswith("message: ") and expect["message"] in line for line in lines):
        return "without the message: " + "; ".join(lines[:2])
    numbers = dict(line.split(": ", 1) for line in lines if ": " in line and not line.startswith("message"))
    for name, least in expect.items():
        if name not in ("opened", "message") and int(numbers.get(name, 0)) < least:
            return f"{name}: {numbers.get(name)} of {least}"
    return ""


def main():
    parser = argparse.ArgumentParser()
    program = parser.add_mutually_exclusive_group(required=True)
    program.add_argument("--ask")
    program.add_argument("--vantrel")
    parser.add_argument("--folder")
    parser.add_argument("--only")
    parser.add_argument("--sanitized", action="store_true", help="the program reserves address space by the terabyte")
    parser.add_argument("--files", nargs="*", help="measure these instead")
    parser.add_argument("--seconds", type=float, default=HANG_SECONDS)
    parser.add_argument("--megabytes", type=float, default=1e9)
    args = parser.parse_args()
    failures = 0

    def check(name, path, expect):
        nonlocal failures
        if args.vantrel:
            seconds, megabytes, code, lines = ask_debugger(args.vantrel, path, args.sanitized)
            expect = expect and {"opened": expect.get("opened", True)}  # messages and counts belong to the layers
        else:
            option = ["-data"] if path.suffix not in (".elf", "") else ["-rows"] if expect and "rows" in expect else []
            seconds, megabytes, code, lines = run([args.ask, *option, str(path)], args.sanitized)
        fault = judge(code, lines, expect) if expect is not None else "" if code in (0, 1) else f"ended with {code}"
        if seconds > args.seconds or megabytes > args.megabytes:
            fault += " too much"
        failures += bool(fault)
        print(f"{seconds:6.2f} s {megabytes:6.0f} MB  {name:28} {'FAILED ' + fault if fault else lines[-1]}", flush=True)

    if args.files is not None:
        for file in args.files:
            check(pathlib.Path(file).name, pathlib.Path(file), None)
        return failures != 0
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(args.folder or temporary)
        folder.mkdir(parents=True, exist_ok=True)
        for name, suffix, make, expect in CASES:
            if args.only and args.only not in name:
                continue
            path = folder / (name + suffix)
            path.write_bytes(make())
            check(name, path, expect)
            path.unlink() if not args.folder else None
        for suffix, gigabytes in GIGABYTES.items():
            if args.only and args.only not in "sparse":
                continue
            path = folder / ("sparse" + suffix)
            with open(path, "wb") as file:
                file.truncate((gigabytes << 30) - 1)
            check(path.name, path, dict(opened=False, message="Could not open file" if suffix != ".elf" else "magic number"))
            path.unlink()
    return failures != 0


if __name__ == "__main__":
    sys.exit(main())
