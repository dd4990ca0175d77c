#!/usr/bin/python3
"""Compares what a DAW exported and reported before and after its session was loaded again.

    check.py FOLDER TITLE=VALUE…        FOLDER holds make.log, load.log, make*.wav, load*.wav
"""
import sys
from pathlib import Path

import numpy as np
from scipy.io import wavfile

RATE = 48000
FADE_IN = 4000  # samples at the start of an export, made by the DAW


def samples(path):
    rate, data = wavfile.read(path)
    assert rate == RATE and data.dtype == np.float32, f"{path.name}: {rate} Hz, {data.dtype}"
    return data


def parameters(log):
    rows = (line.split("\t") for line in log.read_text(errors="replace").splitlines())
    return {row[1]: float(row[2]) for row in rows if row[0] == "parameter" and len(row) == 3}


def expect(condition, what):
    if not condition:
        sys.exit(f"FAILED: {what}")
    print(f"ok: {what}")


def main():
    folder = Path(sys.argv[1])
    wanted = dict(setting.split("=") for setting in sys.argv[2:])
    made, loaded = parameters(folder / "make.log"), parameters(folder / "load.log")
    for title, value in wanted.items():
        expect(abs(made.get(title, 1e9) - float(value)) < 1e-4 * max(1.0, abs(float(value))),
               f"{title} took {value}")
    expect(len(made) >= 38 and made.keys() == loaded.keys(),
           f"{len(made)} parameters, the same after loading")
    for title, value in made.items():
        if abs(loaded[title] - value) > 1e-5 * max(1.0, abs(value)):
            sys.exit(f"FAILED: {title} was {value} and is {loaded[title]} after loading")
    print("ok: all of them have their values after loading")

    first, second = (samples(next(folder.glob(f"{step}*.wav"))) for step in ("make", "load"))
    expect(first.shape == second.shape, f"{len(first)} frames exported, twice")
    expect(np.abs(first[FADE_IN:]).max() > 0.1, "there is something to hear")
    expect(np.array_equal(first[FADE_IN:], second[FADE_IN:]),
           "after loading it sounds the same, sample for sample")

    # A click at each half second less a sample; the echo between two of them belongs to the first.
    delay = round(float(wanted["Delay Time"]) * RATE / 1000)
    for beat in range(2, 8):
        click = beat * RATE // 2 - 1
        echo = np.abs(first[click + 200:click + RATE // 2 - 200, 0]).argmax() + 200
        # The input filter needs a few samples to peak.
        if not 0 <= echo - delay <= 8:
            sys.exit(f"FAILED: click {beat} echoes after {echo} samples instead of {delay}")
    print(f"ok: every click echoes after {wanted['Delay Time']} ms")


main()
