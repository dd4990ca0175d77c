#!/usr/bin/python3
"""Draws the installer's icon and pictures: the product's knob on its panel.

    scripts/installer-art.py FOLDER         writes icon.ico, side.bmp and head.bmp
"""
import math
import pathlib
import struct
import sys

FACE_TOP, FACE_BOTTOM = (52, 56, 62), (22, 24, 27)
TRACK, DIAL_TOP, DIAL_BOTTOM = (12, 13, 15), (92, 98, 107), (40, 44, 50)
ACCENT, POINTER = (255, 174, 66), (236, 238, 240)
SWEEP, SET = 135, 50  # degrees to either side of twelve o'clock, and where the knob stands
GRID = 4  # samples a pixel, each way


def mix(a, b, share):
    return tuple(x + (y - x) * share for x, y in zip(a, b))


def knob(x, y):
    """The colour at a point of a knob of radius 1 around 0; None beside it."""
    distance = math.hypot(x, y)
    angle = math.degrees(math.atan2(x, -y))
    if 0.84 <= distance <= 1.0 and abs(angle) <= SWEEP:
        return ACCENT if angle <= SET else TRACK
    if distance <= 0.7:
        along = x * math.sin(math.radians(SET)) - y * math.cos(math.radians(SET))
        across = x * math.cos(math.radians(SET)) + y * math.sin(math.radians(SET))
        if abs(across) <= 0.06 and 0.22 <= along <= 0.62:
            return POINTER
        return mix(DIAL_TOP, DIAL_BOTTOM, (y + 0.7) / 1.4)
    if distance <= 0.76:
        return TRACK
    return None


def draw(width, height, knobs, background):
    """Rows of (r, g, b, opacity). Knobs are (x, y, radius); the background a function of the height
    within 0 ... 1, or None."""
    rows = []
    for row in range(height):
        line = []
        for column in range(width):
            total, seen = [0.0, 0.0, 0.0], 0
            for sample in range(GRID * GRID):
                x = column + (sample % GRID + 0.5) / GRID
                y = row + (sample // GRID + 0.5) / GRID
                colour = None
                for cx, cy, radius in knobs:
                    colour = colour or knob((x - cx) / radius, (y - cy) / radius)
                if colour is None and background:
                    colour = background(y / height)
                if colour:
                    seen += 1
                    total = [t + c for t, c in zip(total, colour)]
            line.append((*(round(t / max(seen, 1)) for t in total),
                         round(255 * seen / (GRID * GRID))))
        rows.append(line)
    return rows


def panel(share):
    return mix(FACE_TOP, FACE_BOTTOM, share)


def bitmap(rows):
    width, height = len(rows[0]), len(rows)
    data = b""
    for row in reversed(rows):
        line = b"".join(struct.pack("3B", b, g, r) for r, g, b, _ in row)
        data += line + bytes(-len(line) % 4)
    head = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, len(data), 2835, 2835, 0, 0)
    return struct.pack("<2sIHHI", b"BM", 54 + len(data), 0, 0, 54) + head + data


def icon(sizes):
    images = []
    for size in sizes:
        rows = draw(size, size, [(size / 2, size / 2, size / 2 - 0.25)], None)
        pixels = b"".join(struct.pack("4B", b, g, r, a)
                          for row in reversed(rows) for r, g, b, a in row)
        mask = bytes((size + 31) // 32 * 4 * size)  # the opacity says it all
        images.append(struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0,
                                  len(pixels) + len(mask), 0, 0, 0, 0) + pixels + mask)
    result, offset = struct.pack("<HHH", 0, 1, len(sizes)), 6 + 16 * len(sizes)
    for size, image in zip(sizes, images):
        result += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    return result + b"".join(images)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "icon.ico").write_bytes(icon([16, 32, 48]))
    (folder / "side.bmp").write_bytes(
        bitmap(draw(164, 314, [(82, 96, 50), (46, 190, 18), (118, 190, 18)], panel)))
    (folder / "head.bmp").write_bytes(
        bitmap(draw(150, 57, [(124, 28.5, 18)], lambda share: (255, 255, 255))))


if __name__ == "__main__":
    main()
