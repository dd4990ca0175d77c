#!/usr/bin/python3
"""Renders one phrase through every factory preset of the built plug-in and writes a table of what
is heard: loudness against the dry phrase, decay, width, brightness, pitch deviation.

    scripts/measure-presets.py [--host dist/bin/corvane-host] [--out docs/factory-presets.md]

Needs python3-numpy and python3-scipy (scripts/setup.sh docs).
"""
import argparse
import pathlib
import subprocess
import tempfile
import warnings

import numpy as np
from scipy.io import wavfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
TAIL = 6.0  # seconds rendered after the phrase

HEADER = """# The factory presets, measured

`scripts/measure-presets.py` sends the phrase of `corvane-host phrase`, at 120 BPM, through every
preset of the built plug-in.

- **level**: integrated loudness (EBU R 128), in dB against the dry phrase
- **decay**: seconds that the sound stays above -40 dB of its peak for longer than the dry phrase
  does; 6+ where it sounds on
- **width**: energy of the difference of the channels against their sum, 0 mono to 1 uncorrelated
- **centroid**: spectral centroid in Hz; the dry phrase has {centroid:.0f}
- **pitch**: largest transposition of a steady 440 Hz sine, in cents

| no. | preset | category | level | decay | width | centroid | pitch |
|---|---|---|---|---|---|---|---|
"""


def run(host, *arguments):
    return subprocess.run([host, *arguments], check=True, capture_output=True, text=True).stdout


def read(path):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")  # chunks that are not audio
        rate, samples = wavfile.read(path)
    return rate, samples.astype(float)


def loudness(report):
    for line in report.splitlines():
        fields = line.split("\t")
        if fields[0] == "output loudness":
            return float(fields[1].split()[0])
    raise SystemExit("measure-presets: the host reports no loudness (it was built without ebur128)")


def sounding(samples, rate):
    """Seconds until the sound stays 40 dB below its peak."""
    block = rate // 50
    peaks = np.abs(samples).max(axis=1)
    peaks = peaks[:len(peaks) // block * block].reshape(-1, block).max(axis=1)
    return (np.nonzero(peaks > peaks.max() * 0.01)[0][-1] + 1) * block / rate


def decay(samples, dry, rate):
    seconds = sounding(samples, rate) - sounding(dry, rate)
    return "6+" if seconds > TAIL - 0.1 else f"{max(0.0, seconds):.1f}"


def width(samples):
    middle, side = samples[:, 0] + samples[:, 1], samples[:, 0] - samples[:, 1]
    return np.sum(side ** 2) / max(np.sum(middle ** 2), 1e-30)


def centroid(samples, rate):
    spectrum = np.abs(np.fft.rfft(samples.mean(axis=1))) ** 2
    return np.sum(np.fft.rfftfreq(len(samples), 1 / rate) * spectrum) / max(spectrum.sum(), 1e-30)


def deviation(samples, rate):
    """Largest distance of the strongest partial's short-time frequency from 440 Hz, in cents."""
    size, worst = 8192, 0.0
    window = np.hanning(size)
    for start in range(rate, len(samples) - size, size // 2):
        part = samples[start:start + size, 0]
        if np.sqrt(np.mean(part ** 2)) < 1e-3:
            continue
        spectrum = np.abs(np.fft.rfft(part * window, 4 * size))
        low, high = (int(f * 4 * size / rate) for f in (110, 1760))
        frequency = (low + spectrum[low:high].argmax()) * rate / (4 * size)
        worst = max(worst, abs(1200 * np.log2(frequency / 440)))
    return worst


def main():
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("--host", default=str(ROOT / "dist/bin/corvane-host"))
    options.add_argument("--out", type=pathlib.Path, default=ROOT / "docs/factory-presets.md")
    arguments = options.parse_args()
    host = arguments.host

    with tempfile.TemporaryDirectory() as folder:
        phrase, tone, out = (f"{folder}/{name}.wav" for name in ("phrase", "tone", "out"))
        run(host, "phrase", phrase)
        rate, dry = read(phrase)
        sine = 0.3 * np.sin(2 * np.pi * 440 * np.arange(4 * rate) / rate)
        wavfile.write(tone, rate, np.column_stack([sine, sine]).astype(np.float32))

        def render(source, tail, *more):
            report = run(host, "--plain", "render", source, out, "--tempo", "120", "--tail",
                         str(tail), "--format", "wav32f", *more)
            return loudness(report), read(out)[1]

        # Loudness is integrated over the phrase alone, since long tails would dilute it.
        reference = render(phrase, 0, "--param", "Process=Off")[0]
        table = HEADER.format(centroid=centroid(dry, rate))
        for row in run(host, "--plain", "presets", "list").splitlines():
            number, name, category = row.split("\t")[:3]
            chosen = ("--preset", name)
            level = render(phrase, 0, *chosen)[0] - reference
            wet = render(phrase, TAIL, *chosen)[1]
            bent = render(tone, 0, *chosen)[1]
            table += (f"| {number} | {name} | {category} | {level:+.1f} | "
                      f"{decay(wet, dry, rate)} | {width(wet):.2f} | "
                      f"{centroid(wet, rate):.0f} | {deviation(bent, rate):.0f} |\n")
    arguments.out.write_text(table)
    print(table, end="")


if __name__ == "__main__":
    main()
