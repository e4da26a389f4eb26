"""Writes wrong_calls.txt: every command called without parameters, with one too many, and with parameters of a wrong kind.

  make_wrong_calls.py ../../app/data/commands.tsv > wrong_calls.txt

Run it when a command comes or goes; the batch file is checked in beside its transcript.
"""
import re
import sys

# Without parameters these ask the user, take what is selected, or just do their work.
OPTIONAL = {"Edit.Copy", "File.Close", "File.Save", "Find.Text", "Window.Close", "Window.ShowFullScreen"}
# Any text is right for these, or they write a file.
ANY_TEXT = {"Edit.Copy", "Exec.Command", "File.Find", "File.SaveProjectAs", "Find.Text", "Project.AddFileAlias",
            "Project.AddPathSubstitute", "Project.AddRootPath", "Project.AddSearchPath", "Project.ConfigSemihosting",
            "Project.ConfigSWO", "Project.SetBrylloLogFile", "Project.SetConsoleLogFile", "Project.SetDevice",
            "Project.SetMemZoneRunning", "Project.SetTerminalLogFile", "Project.SetTraceFile", "Target.SaveMemory",
            "Util.Log", "Util.LogHex", "Window.Close"}
# These take more than their prototype shows.
OPEN_ENDED = {"Edit.SysVar", "Edit.Preference", "Edit.Color", "Edit.Font", "Script.Exec"}
HIDDEN = {"Break.Edit": ['"nonsense"']}
# What can only be judged with a target.
IN_SESSION = ("Break.", "Debug.", "Exec.", "Target.", "Trace.", "View.")


def right(declaration):
    if re.search(r"sSymbol(Name)?$", declaration):
        return '"State"'
    if "*" in declaration:
        return '"nonsense"'
    return "0x20000000" if re.search(r"\bAddr(ess)?$", declaration) else "1"


def calls(name, declarations):
    good = [right(d) for d in declarations]
    if declarations and name not in OPTIONAL:
        yield name
    if name not in OPEN_ENDED:
        yield f"{name} ({', '.join(good + HIDDEN.get(name, []) + ['1'])})"
    numbers = [i for i, d in enumerate(declarations) if "*" not in d]
    for i in numbers:
        yield f"{name} ({', '.join(good[:i] + ['zebra'] + good[i + 1:])})"
    strings = len(declarations) - len(numbers)
    if strings and name not in ANY_TEXT:
        bad = ['"nonsense"' if "*" in d else g for d, g in zip(declarations, good)]
        yield f"{name} ({', '.join(bad)})"


def main():
    commands = []
    for line in open(sys.argv[1]):
        name, prototype = line.split("\t")[1:3]
        inside = prototype[prototype.index("(") + 1:prototype.rindex(")")].strip()
        commands.append((name, [] if inside in ("", "void") else [p.strip() for p in inside.split(",")]))
    print("// Every command called wrongly, with no target and then with a halted one. Made by make_wrong_calls.py.")
    print('Exec.Command ("Sim.SetSpeed max")')
    for name, declarations in commands:
        print(*calls(name, declarations), sep="\n")
    print("Debug.Start\n@waithalt 10000")
    for name, declarations in commands:
        if name.startswith(IN_SESSION):
            print(*calls(name, declarations), sep="\n")
    print("Debug.Stop")


main()
