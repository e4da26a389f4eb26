"""Runs a project through every connect mode and every reset mode and compares the event functions that are called with
what a session has to call.

  check_events.py VANTREL PROJECT BATCH TRANSCRIPT {all|around}

TRANSCRIPT takes the lines of the run that tell the events.

"all": the project defines every event function, those that replace a routine too; "around": only those before and after.
The lists below are the road of a session written down by hand; nothing here comes from the debugger.
"""
import os
import re
import subprocess
import sys
import tempfile

AROUND = {"BeforeTargetConnect", "AfterTargetConnect", "BeforeTargetReset", "BeforeTargetDownload",
          "BeforeTargetDisconnect", "AfterTargetDisconnect", "AfterTargetHalt", "BeforeTargetResume"}
CONNECT = ["DebugStart", "BeforeTargetConnect", "TargetConnect", "AfterTargetConnect"]
RESET = ["BeforeTargetReset", "TargetReset", "AfterTargetReset"]
DOWNLOAD = ["BeforeTargetDownload", "TargetDownload", "AfterTargetDownload"]
DISCONNECT = ["BeforeTargetDisconnect", "AfterTargetDisconnect"]
HALT, RESUME = ["AfterTargetHalt"], ["BeforeTargetResume"]
# What the target does once it has been reset. A reset that stays halted tells the halt twice: as the end of the reset and
# as the begin of the session.
AFTER_START = {"RM_RESET_HALT": HALT, "RM_BREAK_AT_SYMBOL": HALT, "RM_RESET_AND_RUN": RESUME}
AFTER_RESET = {"RM_RESET_HALT": HALT + HALT, "RM_BREAK_AT_SYMBOL": HALT, "RM_RESET_AND_RUN": RESUME}


def expected(connect, reset, was_running):
    """The steps of one session, in order, and whether it leaves the target running."""
    start = list(CONNECT)
    running = was_running
    if connect == "CM_DOWNLOAD_RESET":
        start += RESET + DOWNLOAD + AFTER_START[reset]
        running = reset == "RM_RESET_AND_RUN"
    elif connect == "CM_ATTACH_HALT" or not was_running:
        start += HALT
        running = False
    steps = [("Debug.Start", start), ("Debug.Halt", HALT if running else []), ("Debug.Continue", RESUME),
             ("Debug.Halt", HALT), ("Debug.Reset", RESET + AFTER_RESET[reset]), ("Debug.Stop", DISCONNECT)]
    return steps, reset == "RM_RESET_AND_RUN"


def main():
    program, project, batch, transcript, kind = sys.argv[1:6]
    with tempfile.TemporaryDirectory(prefix="vantrel-batch-") as settings:
        run = subprocess.run([program, project, "-settings", settings, "-batch", batch], capture_output=True, text=True,
                             timeout=250, env=dict(os.environ, QT_QPA_PLATFORM="offscreen"), errors="replace")
    lines = [s for s in run.stdout.splitlines() if re.match(r"== |-- |event ", s)]
    with open(transcript, "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")
    if run.returncode != 0:
        print(f"exit status {run.returncode}\n{run.stderr}{run.stdout}")
        return 1
    sessions, faults, running = [], 0, False
    for line in lines:
        if match := re.match(r"== (\w+) (\w+)$", line):
            sessions.append((match[1], match[2], []))
        elif match := re.match(r"-- (\S+)$", line):
            sessions[-1][2].append((match[1], []))
        elif (match := re.match(r"event (\w+)$", line)) and sessions:
            sessions[-1][2][-1][1].append(match[1])
    if len(sessions) != 9 or len({s[:2] for s in sessions}) != 9:
        print(f"{len(sessions)} sessions, not each connect mode with each reset mode")
        return 1
    for connect, reset, steps in sessions:
        wanted, running = expected(connect, reset, running)
        if kind == "around":
            wanted = [(name, [e for e in events if e in AROUND]) for name, events in wanted]
        for (name, events), (_, wish) in zip(steps, wanted, strict=True):
            if events != wish:
                faults += 1
                print(f"{connect} {reset} {name}:\n  called   {events}\n  expected {wish}")
    return 1 if faults else 0


sys.exit(main())
