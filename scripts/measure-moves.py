#!/usr/bin/python3
"""Moves the controls of the built plug-in while it sounds, and writes a table of what is heard of
it: clicks, and what else a movement must not do.

    scripts/measure-moves.py [REGEX…] [--host dist/bin/corvane-host] [--rates 48000,96000]
                             [--out docs/moves.md] [--before FIGURES] [--keep FOLDER]

Without REGEX all rows are measured, else those that match one. --figures FILE keeps figures for a
later --before. Needs python3-numpy and python3-scipy (scripts/setup.sh docs).
"""
import argparse
import collections
import concurrent.futures
import pathlib
import re
import sys
import tempfile

import numpy as np
from scipy import signal

from measuring import HOST, MODES, Unit, decibels, run, sine

TONE, LEVEL = 440.0, 0.5  # Hz, -6 dBFS
CLICKS_FROM = 5000        # Hz
ROWS = []
Row = collections.namedtuple("Row", "name unit most measure")


def row(name, unit, most, measure, *arguments, **more):
    """`measure` gets a Unit and the arguments and returns a figure, or a figure and a note. The
    figure should be no more than `most`, or where that is "> 0.8" no less."""
    ROWS.append(Row(name, unit, most, lambda unit: measure(unit, *arguments, **more)))


def tone(seconds, rate, start=0.0):
    wave = faded(sine(-6.02, seconds - start, rate, TONE), rate)
    return np.concatenate([np.zeros(int(start * rate)), wave])


def faded(wave, rate):
    """Its first 50 ms faded in, so that its beginning does not count as a click."""
    return wave * np.sin(np.pi / 2 * np.clip(np.arange(len(wave)) / rate / 0.05, 0, 1)) ** 2


def wet(unit, source, settings, moves=(), **more):
    """The wet sound alone; all else is at its default."""
    return unit.render(source, {"Mix": "10", **settings}, moves, **more)


def above(wave, rate):
    """What lies above 5 kHz: a filter of linear phase, of which a steady sine of 440 Hz at -6 dBFS
    leaves -84 dBFS."""
    taps = signal.firwin(2 * (rate // 500) + 1, CLICKS_FROM, window=("kaiser", 5.8), fs=rate,
                         pass_zero=False)
    return signal.fftconvolve(wave, taps[:, None], "same", axes=0)


def phases(around, count):
    """Times at different places of the tone and of the host's blocks."""
    return [around + i * 1.117 / TONE for i in range(count)]


# Clicks ----------------------------------------------------------------------------------------


def highest_click(wave, unit, start=0.6, end=-0.1):
    """Of what lies above 5 kHz, in dBFS."""
    return decibels(np.abs(unit.part(above(wave, unit.rate), start, end)).max())


def click(unit, settings, moves=(), seconds=3.0, settled=0.6):
    """Of a tone, after the start."""
    return highest_click(wet(unit, tone(seconds, unit.rate), settings, moves), unit, settled)


def change(unit, settings, changed, at=1.0, seconds=3.0, settled=0.6, before=(), count=8):
    """The worst click of a change at `at`, over places of the tone."""
    return max(click(unit, settings, [*before, *((time, *one) for one in changed.items())],
                     seconds, settled) for time in phases(at, count))


def worst(unit, measure, cases, **more):
    return max(measure(unit, *case, **more) for case in cases)


def switch(name, most, settings, parameter, texts=("Off", "On"), names=None, **more):
    """Two rows: the change there and back."""
    names = names or [f"{name} {text.lower()}" for text in reversed(texts)]
    for (before, after), title in zip((texts, texts[::-1]), names):
        row(title, "dBFS", most, change, {**settings, parameter: before}, {parameter: after},
            **more)


row("sine alone, Feedback 0", "dBFS", -83, click, {"Feedback": "0"})
switch("Delay X2, Feedback 5:", -60, {"Feedback": "5"}, "Delay X2")
# There the wet sound is 11 dB louder.
row("Delay X2, Feedback 5: off, at 96 kHz", "dBFS", -50, lambda unit: change(
    unit.at(96000), {"Feedback": "5", "Delay X2": "On"}, {"Delay X2": "Off"}))
for cutoff in ("2", "6"):
    switch(f"Hi Cut at {cutoff}k0, Feedback 9.5:", -60,
           {"Feedback": "9.5", "Hi Cut Cutoff": cutoff}, "Hi Cut", at=2.0, seconds=4.0)
switch("", -58, {}, "Manual VCO", ("1.5", "0.5"),
       ("Manual VCO 1.5 to 0.5", "Manual VCO 0.5 to 1.5"))
for depth, most in (("10", -50), ("5", -60)):
    row(f"square LFO, Depth {depth}", "dBFS", most, click,
        {"Waveform": "sqr", "Depth": depth, "LFO Rate": "1", "Feedback": "0"}, seconds=4.0,
        settled=1.5)
# Without feedback: repeats that are recorded at the other level are distorted by this stage anew.
switch("", -58, {"Processing Mode": "Legacy", "Sensitivity": "Off", "Feedback": "0"},
       "Reference Level", ("10", "-10"),
       ("Legacy, Feedback 0: Reference Level +10 to -10",
        "Legacy, Feedback 0: Reference Level -10 to +10"))
# The seams of the memory are met a delay after the change, or 9.6 s less a delay.
row("Direction: Backward to Forward", "dBFS", -55, change, {"Direction Mode": "Backward"},
    {"Direction Mode": "Forward"}, seconds=12.0, settled=0.9)
row("Direction: Forward to Backward", "dBFS", -55, change, {}, {"Direction Mode": "Backward"},
    seconds=21.0)
row("Direction: Forward to Backward as Delay Time goes from 3 to 9100 ms", "dBFS", -55, change,
    {"Delay Time": "3"}, {"Direction Mode": "Backward", "Delay Time": "9100"}, seconds=21.0)
for name, text, other in (("Delay X2", "Off", "On"), ("Delay X2", "On", "Off"),
                          ("Direction Mode", "Forward", "Bounce")):
    row(f"Inf Repeat, then {name} {other}", "dBFS", -55, change, {name: text}, {name: other},
        at=2.0, seconds=5.0, settled=1.5, before=[(1.0, "Inf Repeat", "On")])
switch("", -55, {}, "Delay Time", ("1", "0"), ("Delay Time 1 ms to 0", "Delay Time 0 to 1 ms"),
       count=16)
row("Bounce, its turns", "dBFS", -55, worst, click,
    [({"Direction Mode": "Bounce", "Feedback": "0", "Delay Time": ms}, (), 12.0, 1.5)
     for ms in ("100", "250", "333", "500")])
row("Reverse, 31 s", "dBFS", -55, worst, click,
    [({"Direction Mode": "Reverse", "Feedback": "0", "Delay Time": ms}, (), 31.0, 1.5)
     for ms in ("100", "250", "333", "500")])
for before in MODES:
    row(f"{before} to other modes", "dBFS", -50, worst, change,
        [({"Processing Mode": before}, {"Processing Mode": after})
         for after in MODES if after != before], count=4)
# Clean today, and to be kept so.
row("Delay Time 250 to 300 ms and back", "dBFS", -55, worst, change,
    [({}, {"Delay Time": "300"}), ({"Delay Time": "300"}, {"Delay Time": "250"})])
row("Inf Repeat on, then off", "dBFS", -55, change, {}, {"Inf Repeat": "Off"}, at=2.03, seconds=4.0,
    before=[(1.0, "Inf Repeat", "On")])
row("Bypass and Suspend, on and off", "dBFS", -55, worst, change,
    [({name: text}, {name: other}) for name in ("Bypass", "Suspend")
     for text, other in (("Off", "On"), ("On", "Off"))], count=4)
row("Depth 0 to 10 and back, sine", "dBFS", -55, worst, change,
    [({"Waveform": "sin", "Depth": a}, {"Depth": b}) for a, b in (("0", "10"), ("10", "0"))],
    count=4)


# Preset changes --------------------------------------------------------------------------------


def pad(seconds, rate):
    """A slow chord without anything above 2.5 kHz."""
    time = np.arange(int(seconds * rate)) / rate
    wave = sum(np.sin(2 * np.pi * hz * k * time + hz + k) / k ** 2
               for hz in (110.0, 164.8, 220.0, 277.2, 329.6) for k in range(1, 8))
    wave *= 1 + 0.3 * np.sin(2 * np.pi * 0.3 * time)
    return LEVEL * faded(wave, rate) / np.abs(wave).max()


def presets(host):
    """The names of all presets, with the parameters that a choice of each writes."""
    left_alone = {8, 9, 10, 11, 12, 13, 14, 34, 35}
    unit = re.compile(r" (ms|Hz|dB|deg|BPM)$")

    def fields(*words):
        return [line.split("\t") for line in run(host, "--plain", "presets", *words).splitlines()]
    return [(entry[1], [(name, unit.sub("", text)) for index, name, text in fields("show", entry[0])
                        if int(index) < 38 and int(index) not in left_alone])
            for entry in fields("list")]


def suddenness(high, rate):
    """The highest excess of a millisecond over three times what is usual in the 12 before it and in
    the 12 after it. A sound that goes on has none: old sound, transposed by a new clock, may well
    lie above 5 kHz."""
    size, span = rate // 1000, 12
    peaks = np.abs(high).max(axis=1)
    peaks = peaks[:len(peaks) // size * size].reshape(-1, size).max(axis=1)
    usual = np.median(np.lib.stride_tricks.sliding_window_view(peaks, span), axis=1)
    around = np.maximum(usual[:-span - 1], usual[span + 1:])
    return (peaks[span:span + len(around)] - 3 * around).max()


def preset_changes(unit, make_source):
    """The worst click of 200 changes from one preset to another, beyond what clicks in either of
    them by itself."""
    random, bank = np.random.default_rng(1), presets(unit.host)
    source, change_at = make_source(4.0, unit.rate), 2.0

    def clicks(settings, moves=()):
        wave = above(wet(unit, source, dict(settings), moves), unit.rate)
        return suddenness(unit.part(wave, 1.0, 3.98), unit.rate)
    own = [clicks(settings) for _, settings in bank]
    figures = []
    for _ in range(200):
        first, second = random.integers(len(bank), size=2)
        time = change_at + random.uniform(0, 0.01)
        changed = clicks(bank[first][1], [(time, *setting) for setting in bank[second][1]])
        figures.append((changed - max(0.0, own[first], own[second]),
                        f"{bank[first][0]} to {bank[second][0]}"))
    figures.sort(reverse=True)
    over = sum(decibels(figure) > -50 for figure, _ in figures)
    return decibels(figures[0][0]), f"{over} over -50 dBFS, worst: {figures[0][1]}"


row("200 preset changes, sine", "dBFS", -50, preset_changes, tone)
row("200 preset changes, pad", "dBFS", -50, preset_changes, pad)


# What is recorded and read while controls move -------------------------------------------------


def amplitude(wave):
    return np.sqrt(2 * np.mean(wave[:, 0] ** 2))


def ramped(unit, settings, name, first, last, block, delay):
    """The share of its level at which a tone is heard that begins during a continuous movement from
    one normalised value to another, a point a block."""
    times = np.arange(unit.rate // block, 4 * unit.rate // block) * block / unit.rate
    values = np.interp(times, (1.0, 4.0), (first, last))
    wave = wet(unit, tone(4.0, unit.rate, start=2.0), {"Feedback": "0", **settings},
               [(time, name, f"@{value:.10f}") for time, value in zip(times, values)], block=block)
    return amplitude(unit.part(wave, 2.06 + delay, 2.2 + delay)) / LEVEL


for block in (64, 512, 2048):
    row(f"recorded in a ramp of Delay Time, blocks of {block}", "share", "> 0.8", ramped, {},
        "Delay Time", 0.2 / 9.6, 0.26 / 9.6, block, 0.24)
    row(f"recorded in a ramp of tempo 120 to 121, blocks of {block}", "share", "> 0.8", ramped,
        {"Dly-Clk Mode": "Clk", "Delay Note": "1/8", "Enforce Manual Tempo": "ManualTempo"},
        "Manual Tempo", 100 / 580, 101 / 580, block, 0.25)


def chorus(unit, judge):
    """Delay Time goes between 18 and 22 ms at 1 Hz, a point every 64 frames."""
    times = np.arange(3.9 * unit.rate // 64) * 64 / unit.rate
    moves = [(time, "Delay Time", f"@{(20 + 2 * np.sin(2 * np.pi * time)) / 9600:.10f}")
             for time in times]
    return judge(wet(unit, tone(4.0, unit.rate), {"Feedback": "0"}, moves, block=64), unit)


def lowest_level(wave, unit):
    starts = np.arange(0.6, 3.8, 0.02)
    return min(amplitude(unit.part(wave, start, start + 0.02)) for start in starts) / LEVEL


row("Delay Time automated by ±2 ms: lowest level", "share", "> 0.8", chorus, lowest_level)
row("Delay Time automated by ±2 ms: clicks", "dBFS", -50, chorus, highest_click)


def old_sound(unit, settings, moves):
    """What is heard of a tone of 3 s that ended long ago, and should not be: it is in the memory
    still, but outside the delay. Moves count from 9.6 s after the tone's middle."""
    source = tone(16.0, unit.rate)
    source[3 * unit.rate:] = 0
    wave = wet(unit, source, settings, [(9.6 + 1.5 + time, *change) for time, *change in moves])
    return np.abs(unit.part(wave, 9.0)).max()


for ms in ("1", "100"):
    row(f"old sound heard: Delay Time 0 to {ms} ms", "peak", 1e-4, old_sound, {"Delay Time": "0"},
        [(0.0, "Delay Time", ms)])
row("old sound heard: Delay Time to 0 during a crossfade", "peak", 1e-4, worst, old_sound,
    [({"Delay Time": "100"}, [(0.0, "Delay Time", "50"), (ms / 1000, "Delay Time", "0")])
     for ms in (0.5, 1, 2, 3, 4)])


def mode_changes(start, every):
    """From every mode to every other."""
    return [(start + every * i, "Processing Mode", MODES[mode])
            for i, mode in enumerate([0, 1, 2, 3, 2, 1, 3, 0, 2, 0, 3, 1, 0])]


def second_difference(unit, block):
    """The largest of the wet sound's second differences in changes between all modes."""
    wave = wet(unit, tone(5.0, unit.rate),
               {"Sensitivity": "Off", "Reference Level": "-10", "Feedback": "5"},
               mode_changes(0.6, 0.31701), block=block)
    return np.abs(np.diff(unit.part(wave, 0.3), 2, axis=0)).max()


for block in (1, 64, 65, 129):
    row(f"mode changes, second difference, blocks of {block}", "", 0.01, second_difference, block)


def hard_edge(unit):
    """The largest step of a tone where a loop of silence is released as the delay changes; the tone
    by itself has 0.03."""
    return max(np.abs(np.diff(wet(unit, tone(2.0, unit.rate), {"Feedback": "0", "Inf Repeat": "On"},
                                  [(time, "Inf Repeat", "Off"), (time, "Delay Time", "300")]),
                              axis=0)).max() for time in phases(1.0, 8))


row("a loop released as the delay changes: largest step", "", 0.04, hard_edge)


def sizes_differ(unit, settings, moves):
    source = tone(3.0, unit.rate) + 0.1 * np.random.default_rng(1).standard_normal(3 * unit.rate)
    first, *others = (wet(unit, source, {"Depth": "3", "Waveform": "-5", **settings}, moves,
                          block=block, bits=64) for block in (64, 1, 7, 65, 512, 1000))
    return max(np.abs(other - first).max() for other in others)


for mode in MODES:
    row(f"block sizes differ, {mode}", "peak", 1e-7, sizes_differ, {"Processing Mode": mode}, ())
row("block sizes differ, changes of mode", "peak", 1e-7, sizes_differ, {},
    mode_changes(0.3, 0.1901))
row("block sizes differ, changes of delay, X2, direction, loop", "peak", 1e-7, sizes_differ, {},
    [(0.5, "Delay Time", "200"), (0.7001, "Delay X2", "On"), (0.9003, "Direction Mode", "Reverse"),
     (1.1, "Delay X2", "Off"), (1.3, "Direction Mode", "Bounce"), (1.5, "Inf Repeat", "On"),
     (1.9, "Inf Repeat", "Off"), (1.9, "Delay Time", "100"), (2.1, "Delay Time", "0"),
     (2.3, "Manual VCO", "1.3"), (2.5, "Direction Mode", "Backward"),
     (2.7, "Direction Mode", "Forward")])


def lfo_turns(unit):
    """A synced square LFO whose phase the song's position sets to exactly half a turn, against one
    that is a hair past it: the largest difference. The LFO's period, 11025 frames, is of whole
    blocks; its half is not of whole frames."""
    unit = unit.at(44100)
    waves = [wet(unit, tone(3.0, unit.rate),
                 {"LFO Sync": "Synchro", "LFO Note": "1/8", "Waveform": "sqr", "Depth": "8",
                  "LFO Offset": offset}, block=441, tempo=120) for offset in ("@0.5", "@0.5000001")]
    return np.abs(waves[0] - waves[1]).max()


# A hair decides in which frame a tick falls, which is heard with 0.001.
row("square LFO synced, Offset at half a turn: turns late", "peak", 0.005, lfo_turns)


def reverse_drift(unit):
    """How far the segments of Reverse slide in four minutes, in ms, at 44.1 kHz."""
    rate, minutes = 44100, 4
    unit = unit.at(rate)
    turn = 2 * np.pi * np.arange((minutes * 60 + 10) * rate) / rate
    wave = wet(unit, np.column_stack([np.cos(turn), np.sin(turn)]) * LEVEL,
               {"Feedback": "0", "Direction Mode": "Reverse", "Delay Time": "250"})

    def jumps(start):
        """Where segments begin, in frames from `start`, within a segment's length."""
        part = unit.part(wave, start, start + 2.0)
        angle = np.unwrap(np.arctan2(part[:, 1], part[:, 0]))
        rising = np.nonzero(np.diff(angle) > 0)[0]
        return np.median(rising[np.diff(rising, prepend=-rate) > rate // 20] % (rate / 8))
    slid = jumps(5.0 + minutes * 60) - jumps(5.0)
    period = rate / 8
    return 1000 * abs((slid + period / 2) % period - period / 2) / rate


row("Reverse, 1/8 at 120 BPM, 44.1 kHz: slid in 4 minutes", "ms", 1, reverse_drift)


# Self-oscillation ------------------------------------------------------------------------------


def oscillation(unit, mode, figure, minutes):
    """At default levels, from bursts of noise, at delays from short to long: the highest figure."""
    figures = []
    for seed, ms in enumerate(("20", "100", "250", "250", "1000")):
        burst = 0.25 * np.random.default_rng(seed).standard_normal(unit.rate // 4)
        figures.append(figure(wet(unit, burst, {"Processing Mode": mode, "Feedback": "10",
                                                "Delay Time": ms}, tail=60 * minutes), unit.rate))
    return max(figures)


def rumble(wave, rate):
    """Level of 80 to 160 Hz in the last 10 s, against the whole."""
    band = signal.butter(4, (80, 160), "bandpass", fs=rate, output="sos")
    part = wave[-10 * rate:, 0]
    return decibels(np.std(signal.sosfilt(band, part)[rate:])) - decibels(np.std(part))


for mode in ("Lims", "Full"):
    row(f"self-oscillation, {mode}: peak from the second minute to the fourth", "dBFS", -1,
        oscillation, mode, lambda wave, rate: decibels(np.abs(wave[60 * rate:]).max()), 4)
    row(f"self-oscillation, {mode}: 80 to 160 Hz of the whole after a minute", "dB", -10,
        oscillation, mode, rumble, 1)


# The table -------------------------------------------------------------------------------------


def judge(figure, most):
    if isinstance(most, str):
        return "ok" if figure >= float(most.strip("> ")) else "UNDER"
    return "ok" if figure <= most else "OVER"


HEADER = """# Controls in motion, measured

`scripts/measure-moves.py --before docs/measurements/moves-before.tsv --out docs/moves.md` moves the
controls of the built plug-in while it sounds, and measures what is heard of it. Before: the engine
that still clicked.

A **click**, in dBFS, is the highest sample above 5 kHz (linear phase, Kaiser window of 5.8, 4 ms)
while the wet sound of a 440 Hz sine at -6 dBFS is heard; the sine alone leaves -84. It is the worst
of several places of the tone at which the change is tried. A **share** is of the level that the
tone has without a movement. Where nothing else is told: 250 ms, Feedback 3, Clean, 48 kHz.

Of **preset changes** only what is sudden counts, and more than either preset does by itself.
BitCrush, Legacy with its clock at a third, can't be left without: in the first 2 ms its distorted
sound rises with the clock, harmonics and all.

"""


def main():
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("rows", nargs="*", help="measure only rows whose names match")
    options.add_argument("--host", default=HOST)
    options.add_argument("--rates", default="48000", help="sample rates, with commas")
    options.add_argument("--out", type=pathlib.Path, help="write the table here, as Markdown")
    options.add_argument("--figures", type=pathlib.Path, help="write the figures here")
    options.add_argument("--before", type=pathlib.Path, help="figures to set beside the new ones")
    options.add_argument("--keep", type=pathlib.Path, help="keep what is rendered in this folder")
    arguments = options.parse_args()
    wanted = [(row, int(rate)) for rate in arguments.rates.split(",") for row in ROWS
              if not arguments.rows or any(re.search(one, row.name) for one in arguments.rows)]
    earlier = arguments.before.read_text().splitlines() if arguments.before else []
    before = dict(line.split("\t")[:2] for line in earlier)

    def measured(job):
        row, rate = job
        with tempfile.TemporaryDirectory() as folder:
            if arguments.keep:
                folder = arguments.keep / re.sub(r"\W+", "-", f"{row.name} {rate}")
                folder.mkdir(parents=True, exist_ok=True)
            return row.measure(Unit(arguments.host, folder, rate))

    lines, figures = [], []
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for (row, rate), figure in zip(wanted, pool.map(measured, wanted)):
            figure, note = figure if isinstance(figure, tuple) else (figure, "")
            name = row.name if rate == 48000 else f"{row.name}, at {rate / 1000:g} kHz"
            text = f"{figure:+.1f}" if row.unit.startswith("dB") else f"{figure:.2g}"
            verdict = judge(figure, row.most)
            figures.append(f"{name}\t{text}\t{row.unit}\t{row.most}\t{verdict}\n")
            lines.append([name, before.get(name, ""), f"{text} {row.unit}".strip(), str(row.most),
                          ", ".join(filter(None, (verdict, note)))])
            print(f"{name:66}{text:>9} {row.unit:6}{row.most!s:>7}  {verdict:6}{note}".rstrip(),
                  flush=True)
    if arguments.figures:
        arguments.figures.write_text("".join(figures))
    if arguments.out:
        table = [["what", "before", "now", "at most", ""], ["---"] * 5, *lines]
        arguments.out.write_text(HEADER + "".join(f"| {' | '.join(one)} |\n" for one in table))


if __name__ == "__main__":
    sys.exit(main())
