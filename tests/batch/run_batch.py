"""Runs a batch file in the debugger and compares the whole transcript with a golden file.

  run_batch.py --vantrel BIN --project P.bdebug --batch X.txt --expected X.expected.txt
               [--actual X.actual.txt] [--status N] [--source DIR] [--build DIR] [--leave-out REGEX] [-- more options]

In the batch text and the project name <build>, <source> and <data> stand for the build folder, this checkout and the
folder of generated test data. VANTREL_REGENERATE=1 writes the golden file anew instead of comparing. Paths of this checkout and
times are replaced by fixed words before the comparison. Lines that begin with what --leave-out gives are not compared:
those whose place among the others depends on how fast the target answers.
"""
import argparse
import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile


def normalise(text, source, build):
    text = text.replace(build, "<build>").replace(source, "<source>")
    text = re.sub(r"/tmp/vantrel-batch-[^/\s]*", "<temp>", text)
    text = re.sub(r"completed in \d+ ms", "completed in <n> ms", text)
    text = re.sub(r"^time_ms: \d+", "time_ms: <n>", text, flags=re.M)
    # How many sources of the C library are at hand is the machine's affair.
    text = re.sub(r"^\d+ source file( paths resolved|s not found)\n", "", text, flags=re.M)
    return text


def main():
    parser = argparse.ArgumentParser()
    for name in ("vantrel", "batch", "expected"):
        parser.add_argument("--" + name, required=True)
    parser.add_argument("--project", default="")
    parser.add_argument("--actual", default="")
    parser.add_argument("--status", type=int, default=0)
    parser.add_argument("--leave-out", default="")
    parser.add_argument("--source", default="")
    parser.add_argument("--build", default="")
    parser.add_argument("--timeout", type=int, default=200)
    parser.add_argument("more", nargs="*")
    args = parser.parse_args()

    def expand(text):
        return text.replace("<build>", args.build).replace("<source>", args.source)

    with tempfile.TemporaryDirectory(prefix="vantrel-batch-") as folder:
        batch = pathlib.Path(folder) / pathlib.Path(args.batch).name
        batch.write_text(expand(pathlib.Path(args.batch).read_text()))
        command = [args.vantrel] + ([expand(args.project)] if args.project else [])
        command += ["-settings", folder, "-batch", str(batch)] + [expand(text) for text in args.more]
        environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", VANTREL_BUILD_DIR=args.build)
        try:
            run = subprocess.run(command, capture_output=True, text=True, timeout=args.timeout,
                                 env=environment, errors="replace")
        except subprocess.TimeoutExpired as error:
            print(f"no end after {args.timeout} s; output so far:\n{(error.stdout or b'').decode(errors='replace')}")
            return 1

    actual = normalise(run.stdout, args.source, args.build)
    if args.leave_out:
        actual = re.sub(rf"^(?:{args.leave_out}).*\n", "", actual, flags=re.M)
    expected_path = pathlib.Path(args.expected)
    actual_path = pathlib.Path(args.actual or str(expected_path).replace(".expected.", ".actual."))
    actual_path.write_text(actual)
    if run.returncode != args.status:
        print(f"exit status {run.returncode}, expected {args.status}\n--- stderr\n{run.stderr}--- stdout\n{actual}")
        return 1
    if os.environ.get("VANTREL_REGENERATE") == "1":
        expected_path.write_text(actual)
        return 0
    expected = expected_path.read_text() if expected_path.exists() else ""
    if expected != actual:
        sys.stdout.writelines(difflib.unified_diff(expected.splitlines(True), actual.splitlines(True),
                                                   str(expected_path), str(actual_path)))
        print(f"--- stderr\n{run.stderr}")
        return 1
    return 0


sys.exit(main())
