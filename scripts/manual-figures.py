#!/usr/bin/python3
"""Writes what the manual takes from the built plug-in: the table of parameters, the four
directions as time lines, and the modes' level curves. All of it is read or rendered.

    scripts/manual-figures.py HOST FOLDER        HOST: the built corvane-host
"""
import array
import cmath
import math
import pathlib
import subprocess
import sys
import tempfile
import wave

RATE = 48000
INK, DIM, RULE = "#22262b", "#6b737d", "#d5d8dc"
FONT = "font-family=\"Lato, 'Segoe UI', 'Helvetica Neue', Arial, sans-serif\""

# Eight notes, from low to high, and a colour for each.
NOTES = [500, 700, 900, 1100, 1300, 1500, 1700, 1900]  # Hz
COLOURS = ["#b5541c", "#dc7f1e", "#eaa92f", "#9aa63a", "#4c9a5c", "#2f8f96", "#3f6fb0", "#7a5aa6"]
NOTE_SECONDS, DELAY_SECONDS, SHOWN_SECONDS = 0.25, 1.0, 4.0
SWITCH_SECONDS = 2.0

MODES = {"Clean": "#3f6fb0", "Legacy": "#c88a1e", "Lims": "#4c9a5c", "Full": "#b0483f"}


class Unit:
    """The plug-in in its command-line host."""

    def __init__(self, host, folder):
        self.host, self.folder = host, pathlib.Path(folder)

    def parameters(self):
        text = subprocess.run([self.host, "--plain", "params"], check=True, capture_output=True,
                              encoding="utf-8").stdout
        return [line.split("\t") for line in text.splitlines()]

    def render(self, samples, seconds, settings, steps=()):
        """Mono samples within -1 ... 1 in, the left output out, `seconds` long."""
        source, result, script = (self.folder / name for name in ("in.wav", "out.wav", "steps"))
        with wave.open(str(source), "wb") as file:
            file.setparams((1, 2, RATE, 0, "NONE", ""))
            file.writeframes(array.array("h", [round(32767 * s) for s in samples]).tobytes())
        command = [self.host, "render", str(source), str(result), "--format", "wav16",
                   "--tail", str(seconds - len(samples) / RATE)]
        for name, value in settings.items():
            command += ["--param", f"{name}={value}"]
        if steps:
            script.write_text("".join(f"{at},{name},{value}\n" for at, name, value in steps))
            command += ["--automate", str(script)]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        with wave.open(str(result), "rb") as file:
            channels = file.getnchannels()
            frames = array.array("h", file.readframes(file.getnframes()))
        return [frame / 32768 for frame in frames[::channels]]


def text(x, y, words, size=13, colour=INK, anchor="start", extra=""):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" fill="{colour}" '
            f'text-anchor="{anchor}" {extra}>{words}</text>')


def line(x1, y1, x2, y2, colour=RULE, width=1.0, extra=""):
    return (f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}" '
            f'stroke-width="{width}" {extra}/>')


def picture(width, height, parts):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
            f'width="{width}" height="{height}" {FONT}>\n' + "\n".join(parts) + "\n</svg>\n")


# --- the directions ---------------------------------------------------------------------------

def melody():
    """Notes that begin loud and fade, so that one can see which way they run."""
    samples = []
    length = int(NOTE_SECONDS * RATE)
    for hertz in NOTES:
        for i in range(length):
            along = i / length
            level = 0.7 * (1 - along) ** 1.5 * min(1, i / 200)
            samples.append(level * math.sin(2 * math.pi * hertz * i / RATE))
    return samples


def strength(samples, hertz):
    step = -2j * math.pi * hertz / RATE
    return abs(sum(s * cmath.exp(step * i) for i, s in enumerate(samples))) * 2 / len(samples)


def runs(samples):
    """What is heard when: (note, first frame, levels) of every stretch, in frames of 10 ms."""
    frame = RATE // 100
    found = []
    for at in range(int(SHOWN_SECONDS * 100)):
        part = samples[at * frame:(at + 1) * frame]
        if not part or max(map(abs, part)) < 0.01:
            continue
        note = max(range(len(NOTES)), key=lambda n: strength(part, NOTES[n]))
        level = max(map(abs, part))
        # A note's own start goes up, its end down: a jump upwards within one note is none.
        if found and found[-1][0] == note and at == found[-1][1] + len(found[-1][2]):
            found[-1][2].append(level)
        else:
            found.append((note, at, [level]))
    return [run for run in found if len(run[2]) >= 4]


def directions(unit):
    wet = {"Mix": "10", "Feedback": "0", "Delay Time": str(int(DELAY_SECONDS * 1000))}
    played = melody()
    lanes = [("You play", "", played, None)]
    for name, remark in (("Forward", "as it was, later"),
                         ("Backward", "switched on at the mark"),
                         ("Reverse", "segment by segment"),
                         ("Bounce", "to and fro")):
        steps = [(SWITCH_SECONDS, "Direction Mode", name)] if name == "Backward" else []
        settings = dict(wet) if steps else {**wet, "Direction Mode": name}
        lanes.append((name, remark, unit.render(played, SHOWN_SECONDS, settings, steps),
                      SWITCH_SECONDS if steps else None))

    left, lane, scale, top = 128, 74, 185, 10
    right = left + SHOWN_SECONDS * scale
    bottom = top + lane * len(lanes)
    parts = []
    for i in range(int(SHOWN_SECONDS * 2) + 1):
        x = left + i / 2 * scale
        parts.append(line(x, top, x, bottom, RULE, 1.0 if i % 2 == 0 else 0.5))
        if i % 2 == 0:
            parts.append(text(x, bottom + 18, f"{i // 2} s", 12, DIM, "middle"))
    for row, (name, remark, samples, mark) in enumerate(lanes):
        middle = top + lane * (row + 0.5) + 5
        parts.append(text(0, middle, name, 15, extra='font-weight="bold"'))
        parts.append(text(0, middle + 16, remark, 11, DIM))
        parts.append(line(left, middle, right, middle))
        for note, first, levels in runs(samples):
            def point(i, sign, first=first, levels=levels):
                level = levels[min(i, len(levels) - 1)]
                return f"{left + (first + i) / 100 * scale:.1f},{middle - sign * level * 34:.1f}"
            outline = [point(i, 1) for i in range(len(levels) + 1)]
            outline += [point(i, -1) for i in reversed(range(len(levels) + 1))]
            parts.append(f'<polygon points="{" ".join(outline)}" fill="{COLOURS[note]}"/>')
            loudest = max(range(len(levels)), key=levels.__getitem__)
            x = left + (first + loudest + 0.5) / 100 * scale
            inwards = 7 if loudest < len(levels) / 2 else -7
            parts.append(text(x + inwards, middle - 22, "ABCDEFGH"[note], 12, COLOURS[note],
                              "start" if inwards > 0 else "end", 'font-weight="bold"'))
        if mark is not None:
            x = left + mark * scale
            parts.append(line(x, middle - 36, x, middle + 32, INK, 1.6, 'stroke-dasharray="4 3"'))
    return picture(round(right + 12), bottom + 26, parts)


# --- the modes --------------------------------------------------------------------------------

def levels(unit):
    """A sine in growing steps through each mode; what comes out, settled, as its peak level."""
    inputs, seconds = range(-24, 13, 2), 0.4  # dBFS
    # A file holds no more than full scale: Input raises it by a factor of 4, Output takes it back.
    factor = 20 * math.log10(4)
    samples = []
    for level in inputs:
        peak = 10 ** ((level - factor) / 20)
        samples += [peak * math.sin(2 * math.pi * 1000 * i / RATE)
                    for i in range(int(seconds * RATE))]
    settings = {"Input": "12", "Output": "-12", "Mix": "10", "Feedback": "0", "Delay Time": "20",
                "Sensitivity": "Off", "Reference Level": "-10"}
    curves = {}
    for mode in MODES:
        heard = unit.render(samples, len(samples) / RATE, {**settings, "Processing Mode": mode})
        curves[mode] = []
        for step in range(len(inputs)):
            part = heard[int((step + 0.5) * seconds * RATE):int((step + 0.95) * seconds * RATE)]
            mean = sum(s * s for s in part) / len(part)
            curves[mode].append(10 * math.log10(2 * mean) + factor)

    left, top, wide, high = 58, 12, 17.0, 9.0
    lowest, highest = inputs[0], inputs[-1]
    right, bottom = left + (highest - lowest) * wide, top + (highest - lowest) * high
    signed = lambda level: f"{level:+d}".replace("-", "−") if level else "0"  # noqa: E731
    parts = []
    for level in range(lowest, highest + 1, 6):
        x, y = left + (level - lowest) * wide, top + (highest - level) * high
        width = 1.4 if level == 0 else 0.7
        parts += [line(x, top, x, bottom, RULE, width), line(left, y, right, y, RULE, width),
                  text(x, bottom + 17, signed(level), 12, DIM, "middle"),
                  text(left - 8, y + 4, signed(level), 12, DIM, "end")]
    parts.append(text((left + right) / 2, bottom + 36, "level that goes in, dBFS", 12, DIM,
                      "middle"))
    parts.append(f'<g transform="translate(14 {(top + bottom) / 2:.0f}) rotate(-90)">'
                 + text(0, 0, "level of the repeat, dBFS", 12, DIM, "middle") + "</g>")
    label = 0.0
    for mode, outputs in sorted(curves.items(), key=lambda curve: -curve[1][-1]):
        points = " ".join(f"{left + (i - lowest) * wide:.1f},{top + (highest - o) * high:.1f}"
                          for i, o in zip(inputs, outputs))
        parts.append(f'<polyline points="{points}" fill="none" stroke="{MODES[mode]}" '
                     f'stroke-width="2.2" stroke-linejoin="round"/>')
        # The names at the curves' ends, kept apart.
        label = max(top + (highest - outputs[-1]) * high + 5, label + 16)
        parts.append(text(right + 8, label, mode, 14, MODES[mode], extra='font-weight="bold"'))
    return picture(round(right + 66), round(bottom + 44), parts)


# --- the parameters ---------------------------------------------------------------------------

def parameter_table(unit):
    names = {"-oo": "−∞"}
    rows = ["| No. | Parameter | Short | Range | Default |", "|--:|:----------|:-----|:-----------|:-----|"]
    for number, title, short, units, _, default, flags, values in unit.parameters():
        if "hidden" in flags or "program" in flags:
            continue
        span = " to ".join(names.get(v, v).replace("-", "−").rstrip(".") for v in values.split(" ... ")) \
            if " ... " in values else values.replace("|", "\\|")
        # An amount of kilohertz is written "6k0".
        if units and units != "Hz" or units == "Hz" and "k" not in values:
            span += f" {units}".replace(" deg", "°")
        rows.append(f"| {number} | {title} | {short} | {span or 'editor setting'} | "
                    f"{default.replace('-', '−') if default != '-' else ''} |")
    return "\n".join(rows) + "\n"


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as work:
        unit = Unit(sys.argv[1], work)
        (folder / "parameters.md").write_text(parameter_table(unit), encoding="utf-8")
        (folder / "directions.svg").write_text(directions(unit), encoding="utf-8")
        (folder / "levels.svg").write_text(levels(unit), encoding="utf-8")


if __name__ == "__main__":
    main()
