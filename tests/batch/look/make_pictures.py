"""Pictures of the program to look at: main window, console, menus, tool bars, preferences, and the dialogs that wait for
an answer (welcome screen, project wizard, questions), light and dark, at 100 and 200 %.

  make_pictures.py --vantrel BIN --project P.bdebug --out DIR [--build DIR] [--dialogs BIN] [--schemes light,dark]
                   [--scales 1,2]

The dialogs come from the test program tst_controls, which opens each of them; nobody answers one in a batch.

Each run writes DIR/<scheme>-<scale>/<place>.png. What a picture shows has to be judged by eye; what can be told without
one is checked: that each is there, has the size that its scale asks for and isn't of one colour, and that the dark ones
are darker than the light ones.
"""
import argparse
import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import zlib

HERE = pathlib.Path(__file__).parent
GTK_THEMES = {"light": "Adwaita", "dark": "Adwaita:dark"}


def read_png(path):
    """Width, height and the grey value of every 16th pixel of every 16th row."""
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", path
    pos, packed = 8, b""
    while pos < len(data):
        size, kind = struct.unpack(">I4s", data[pos:pos + 8])
        chunk = data[pos + 8:pos + 8 + size]
        if kind == b"IHDR":
            width, height, _, colour = struct.unpack(">IIBB", chunk[:10])
        elif kind == b"IDAT":
            packed += chunk
        pos += size + 12
    step = {2: 3, 6: 4}[colour]
    raw, line, greys = zlib.decompress(packed), bytearray(width * step), []
    for y in range(height):
        start = y * (width * step + 1)
        method, row = raw[start], bytearray(raw[start + 1:start + 1 + width * step])
        for i in range(len(row)):
            left = row[i - step] if i >= step else 0
            up = line[i]
            corner = line[i - step] if i >= step else 0
            if method == 1:
                row[i] = row[i] + left & 255
            elif method == 2:
                row[i] = row[i] + up & 255
            elif method == 3:
                row[i] = row[i] + (left + up) // 2 & 255
            elif method == 4:
                guess = left + up - corner
                row[i] = row[i] + min((left, up, corner), key=lambda value: abs(guess - value)) & 255
        line = row
        if y % 16 == 0:
            greys += [sum(row[x:x + 3]) / 3 for x in range(0, len(row), 16 * step)]
    return width, height, greys


def run(args, scheme, scale, folder):
    out = pathlib.Path(args.out).resolve() / f"{scheme}-{scale}00"
    out.mkdir(parents=True, exist_ok=True)
    for old in out.glob("*.png"):
        old.unlink()
    batch = pathlib.Path(folder) / "look.txt"
    batch.write_text((HERE / "look.txt").read_text().replace("<out>", str(out)))
    # No dialog is made smaller for the sake of the screen.
    screen = pathlib.Path(folder) / "screen.json"
    screen.write_text(json.dumps({"screens": [{"name": "large", "x": 0, "y": 0, "width": 3840, "height": 2160,
                                               "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]}))
    environment = dict(os.environ, QT_QPA_PLATFORM=f"offscreen:configfile={screen}", QT_SCALE_FACTOR=scale, GTK_THEME=GTK_THEMES[scheme],
                       VANTREL_BUILD_DIR=args.build)
    settings = pathlib.Path(folder) / f"{scheme}{scale}"
    command = [args.vantrel, args.project, "-settings", str(settings), "-batch", str(batch)]
    done = subprocess.run(command, capture_output=True, text=True, env=environment, timeout=240, errors="replace")
    if done.returncode:
        sys.exit(f"{scheme} at {scale}: exit status {done.returncode}\n{done.stdout[-2000:]}{done.stderr[-2000:]}")
    if args.dialogs:
        environment.update(VANTREL_PICTURES=str(out), VANTREL_SCHEME=scheme)
        done = subprocess.run([args.dialogs, "Dialogs"], capture_output=True, text=True, env=environment, timeout=240,
                              errors="replace")
        if done.returncode:
            sys.exit(f"dialogs, {scheme} at {scale}:\n{done.stdout[-2000:]}{done.stderr[-2000:]}")
    return out


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--vantrel", required=True)
    parser.add_argument("--project", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--build", default="")
    parser.add_argument("--dialogs", default="")
    parser.add_argument("--schemes", default="light,dark")
    parser.add_argument("--scales", default="1,2")
    args = parser.parse_args()
    wanted = [line.split("<out>/")[1].split()[0] for line in (HERE / "look.txt").read_text().splitlines() if "<out>/" in line]
    if args.dialogs:
        wanted += ["dialog-welcome.png", "dialog-welcome-first.png", "dialog-wizard.png", "dialog-question.png"]
    faults, sizes, lightness = [], {}, {}
    with tempfile.TemporaryDirectory(prefix="vantrel-look-") as folder:
        for scale in args.scales.split(","):
            for scheme in args.schemes.split(","):
                out = run(args, scheme, scale, folder)
                for name in wanted:
                    if not (out / name).is_file():
                        faults.append(f"{out / name} is missing")
                        continue
                    width, height, greys = read_png(out / name)
                    sizes[name, scheme, scale] = width, height
                    lightness[name, scheme, scale] = sum(greys) / len(greys)
                    if max(greys) - min(greys) < 40:
                        faults.append(f"{out / name} shows nothing")
    for (name, scheme, scale), size in sizes.items():
        small = sizes.get((name, scheme, "1"))
        if scale == "2" and small and not all(1.6 < big / one < 2.4 for big, one in zip(size, small)):
            faults.append(f"{name}: {size} at 200 %, {small} at 100 %")
        light = lightness.get((name, "light", scale))
        if scheme == "dark" and light is not None and lightness[name, scheme, scale] > light - 60:
            faults.append(f"{name} isn't dark at scale {scale}")
    print("\n".join(faults) or f"{len(sizes)} pictures in {args.out}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
