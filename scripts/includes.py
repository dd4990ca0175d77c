#!/usr/bin/env python3
"""Which room of the sources includes which: checked against the table below, and drawn.

scripts/includes.py            fails where a room includes what it must not, or the picture is old
scripts/includes.py --draw     draws docs/images/rooms.svg anew
"""

import re
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PICTURE = ROOT / "docs/images/rooms.svg"
FOLDERS = ("params", "platform", "dsp", "presets", "gui", "plugin", "tools")

# What a room may include, other people's libraries too, and the centre of its box in the picture.
ROOMS = {
    "params": ("", (460, 340)),
    "platform": ("", (270, 340)),
    "dsp": ("params", (660, 160)),
    "presets": ("params platform", (84, 250)),
    "gui": ("params dsp presets platform VSTGUI", (450, 150)),
    "plugin": ("params dsp presets platform gui VST3-SDK VSTGUI", (590, 40)),
    "tools/hosting": ("VST3-SDK", (84, 130)),
    "tools/corvane-host": ("tools/hosting params presets platform VST3-SDK", (240, 40)),
}
# The same within the engine: its parts, and all other blocks.
ENGINE_ROOMS = {
    "Engine": ("InputFilter MemoryPath SongFollower blocks", (280, 450)),
    "InputFilter": ("blocks", (90, 530)),
    "MemoryPath": ("DelayMemory blocks", (380, 524)),
    "SongFollower": ("blocks", (640, 460)),
    "DelayMemory": ("blocks", (640, 580)),
    "blocks": ("", (280, 645)),
}
# Identifiers that every side has to agree on, and no code.
FREE = {"params/ParameterIndex.h", "dsp/OutputIndex.h", "plugin/ClassIds.h"}
LIBRARIES = {"vstgui": "VSTGUI", "pluginterfaces": "VST3-SDK", "public.sdk": "VST3-SDK",
             "base": "VST3-SDK"}  # fmt: skip

WIDTH, HEIGHT, BOX = 760, 680, (144, 40)


def room_of(path):
    """The room, or other people's library, that a file belongs to; None for the rest."""
    parts = path.split("/")
    name = "/".join(parts[:2]) if parts[0] == "tools" else parts[0]
    return LIBRARIES.get(name, name if name in ROOMS else None)


def engine_room_of(path):
    """EngineBlock belongs to Engine, and so on."""
    name = Path(path).stem
    return next((room for room in ENGINE_ROOMS if name.startswith(room)), "blocks")


def find_includes():
    """The files that include from room to room, and from room to room of the engine."""
    rooms, engine = defaultdict(list), defaultdict(list)
    for file in (file for folder in FOLDERS for file in (ROOT / folder).rglob("*.[ch]*")):
        source = file.relative_to(ROOT).as_posix()
        for target in re.findall(r'^#include ["<]([^">]+)', file.read_text(), re.MULTILINE):
            if target not in FREE:
                rooms[room_of(source), room_of(target)].append(source)
            if source.startswith("dsp/") and target.startswith("dsp/"):
                engine[engine_room_of(source), engine_room_of(target)].append(source)
    return [
        {(a, b): files for (a, b), files in sorted(found.items(), key=str) if b and a != b}
        for found in (rooms, engine)
    ]


def forbidden(found, rooms):
    for (a, b), files in found.items():
        if a not in rooms or b not in rooms[a][0].split():
            yield f"{a} must not include {b}: {', '.join(sorted(files))}"


def border(centre, other):
    """Where the line between the middles of two boxes leaves the first."""
    dx, dy = other[0] - centre[0], other[1] - centre[1]
    scale = min(BOX[0] / 2 / (abs(dx) or 1), BOX[1] / 2 / (abs(dy) or 1))
    return round(centre[0] + dx * scale), round(centre[1] + dy * scale)


def draw_rooms(found, rooms):
    for (a, b), files in found.items():
        if b not in rooms:
            continue
        (x1, y1), (x2, y2) = (border(rooms[p][1], rooms[q][1]) for p, q in ((a, b), (b, a)))
        x, y = round(x1 + (x2 - x1) * 0.35), round(y1 + (y2 - y1) * 0.35)
        yield f'<path d="M{x1} {y1} {x2} {y2}" marker-end="url(#head)"/>'
        yield f'<text class="count" x="{x}" y="{y + 4}">{len(files)}</text>'
    for name, (_, (x, y)) in rooms.items():
        others = " + ".join(sorted(b for a, b in found if a == name and b not in rooms))
        yield f'<rect x="{x - BOX[0] // 2}" y="{y - BOX[1] // 2}" width="{BOX[0]}" height="{BOX[1]}"/>'
        yield f'<text x="{x}" y="{y - 2 if others else y + 5}">{name}</text>'
        if others:
            yield f'<text class="others" x="{x}" y="{y + 13}">{others.replace("-", " ")}</text>'


def picture(found, engine):
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}">',
        "<style>",
        "text { font: 14px sans-serif; text-anchor: middle }",
        ".count { font-size: 12px; stroke: #fff; stroke-width: 6px; paint-order: stroke }",
        ".others { font-size: 10px }",
        "rect { fill: #dce8f4 }",
        "rect, path { stroke: #555 }",
        "</style>",
        '<marker id="head" viewBox="0 0 8 8" refX="8" refY="4" markerWidth="9" markerHeight="9"',
        '        orient="auto"><path d="M0 0 8 4 0 8z" fill="#555" stroke="none"/></marker>',
        f'<path d="M0 0h{WIDTH}v{HEIGHT}H0z" style="fill: #fff; stroke: none"/>',
        f'<path d="M0 395h{WIDTH}v{HEIGHT - 395}H0z" style="fill: #f4f6f8; stroke: none"/>',
        '<text x="60" y="420">within dsp/</text>',
        *draw_rooms(found, ROOMS),
        *draw_rooms(engine, ENGINE_ROOMS),
        "</svg>\n",
    ])  # fmt: skip


def without_counts(text):
    """Numbers of includes change with every other change; arrows seldom do."""
    return re.sub(r">[0-9]+</text>", ">", text)


if sys.argv[1:] not in ([], ["--draw"]):
    sys.exit(__doc__.strip())
found, engine = find_includes()
drawing = picture(found, engine)
if sys.argv[1:]:
    PICTURE.write_text(drawing)
faults = [*forbidden(found, ROOMS), *forbidden(engine, ENGINE_ROOMS)]
if without_counts(PICTURE.read_text()) != without_counts(drawing):
    faults.append(f"{PICTURE.relative_to(ROOT)} shows other arrows: scripts/includes.py --draw")
if faults:
    sys.exit("\n".join(faults))
