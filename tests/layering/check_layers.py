"""Checks that the layers form no cycle and include only what they declare.

build/<preset>/layers.txt holds a line a layer: name, folder, sources, dependencies.
An #include "folder/..." line of a layer's source must name a file of the layer itself or of
a layer that it declares, directly or through another declared layer.
"""
import pathlib
import re
import sys

source_root = pathlib.Path(sys.argv[1])
layers = {}
for line in pathlib.Path(sys.argv[2]).read_text().splitlines():
    if not line.strip():
        continue
    name, folder, sources, depends = line.split("|")
    layers[name] = {"folder": folder, "depends": [d for d in re.split(r"[; ]+", depends) if d]}

failures = []


def reachable(name, path):
    """All layers that `name` may use; reports a cycle once."""
    result = set()
    for dependency in layers[name]["depends"]:
        if dependency not in layers:
            continue
        if dependency in path:
            failures.append("cycle: " + " -> ".join(path + [dependency]))
            continue
        result.add(dependency)
        result |= reachable(dependency, path + [dependency])
    return result


by_folder = {layer["folder"]: name for name, layer in layers.items()}


def owner(path):
    """The layer whose folder holds the file, or None for one outside every layer."""
    folder = pathlib.PurePosixPath(path).parent
    while str(folder) not in ("", "."):
        if str(folder) in by_folder:
            return by_folder[str(folder)]
        folder = folder.parent
    return None


include = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)
for name, layer in layers.items():
    allowed = reachable(name, [name]) | {name}
    folder = source_root / layer["folder"]
    for file in sorted(folder.rglob("*")):
        if file.suffix not in (".h", ".cpp") or owner(file.relative_to(source_root)) != name:
            continue
        for target in include.findall(file.read_text(errors="replace")):
            for base in ("src", "."):
                candidate = source_root / base / target
                if "/" in target and candidate.exists():
                    used = owner(candidate.resolve().relative_to(source_root.resolve()))
                    if used and used not in allowed:
                        failures.append(f"{file.relative_to(source_root)} includes {target} of {used}, "
                                        f"which {name} does not declare")
                    break

for text in sorted(set(failures)):
    print(text)
print(f"{len(layers)} layers checked, {len(set(failures))} violations")
sys.exit(1 if failures or not layers else 0)
