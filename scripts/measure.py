#!/usr/bin/python3
"""Renders test signals through the built plug-in and draws the curves of docs/converters.md.

    scripts/measure.py [--host dist/bin/corvane-host] [--out docs/measurements]

Needs python3-numpy, python3-scipy and python3-matplotlib (scripts/setup.sh docs).
"""
import argparse
import pathlib
import tempfile

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

from measuring import HOST, MODES, ROOT, Unit, decibels, sine

COLOURS = {"Clean": "#4878a8", "Legacy": "#c08a2c", "Lims": "#4c9a5c", "Full": "#b04a4a"}
# One repeat of 20 ms, nothing else: what comes out is what went through the unit once.
WET = {"Mix": "10", "Feedback": "0", "Delay Time": "20", "Sensitivity": "Off",
       "Reference Level": "0"}


def levels(unit, axes):
    inputs = np.arange(-40, 31, 2.0)
    for mode in MODES:
        outputs = []
        for level in inputs:
            wave = unit.render(sine(level, 0.6, unit.rate, 1000), {**WET, "Processing Mode": mode})
            settled = wave[len(wave) // 2:, 0]
            outputs.append(decibels(np.sqrt(2 * np.mean(settled ** 2))))
        axes.plot(inputs, outputs, label=mode, color=COLOURS[mode])
        yield from ((f"level {mode} {i:+.0f} dBFS", f"{o:+.2f} dBFS")
                    for i, o in zip(inputs, outputs) if i in (-20, 0, 10, 20))
    axes.set(xlabel="input level, dBFS", ylabel="wet output level, dBFS",
             title="1 kHz sine, Reference Level 0 dB")
    axes.legend()


def harmonics(unit, grid):
    rate = unit.rate
    for row, mode in zip(grid, MODES):
        for axes, level in zip(row, (-12, 0, 12)):
            wave = unit.render(sine(level, 1.5, rate, 1000), {**WET, "Processing Mode": mode})
            window = wave[-rate:, 0] * np.hanning(rate)
            spectrum = decibels(np.abs(np.fft.rfft(window)) / (rate / 4))
            axes.semilogx(np.arange(len(spectrum))[20:], spectrum[20:], lw=0.7,
                          color=COLOURS[mode])
            axes.set(ylim=(-150, 25), xlim=(100, 24000))
            axes.set_title(f"{mode}, {level:+d} dBFS", fontsize=9)
            fundamental = spectrum[995:1006].max()
            others = [spectrum[1000 * k - 5:1000 * k + 6].max() for k in (2, 3, 5)]
            yield (f"harmonics 2, 3, 5 {mode} {level:+d} dBFS",
                   ", ".join(f"{o - fundamental:.0f}" for o in others) + " dB")


def residue(wave, rate, hz):
    """What a settled wave holds besides a sine and its odd harmonics, and the sine's level, rms."""
    turns = 2j * np.pi * np.arange(len(wave)) / rate
    tones = np.array([np.exp(turns * k * hz) for k in (1, 3, 5) if k * hz < rate / 2])
    weights = tones.conj() @ wave / len(wave)  # whole periods: the tones are orthogonal
    return (wave - 2 * (weights @ tones).real).std(), abs(weights[0]) * np.sqrt(2)


def noise(unit, axes):
    settings = {**WET, "Processing Mode": "Full", "Sensitivity": "On"}
    inputs = np.arange(-80, 1, 5)
    for hz, colour in ((200, "Clean"), (1000, "Legacy"), (10000, "Full")):
        errors = []
        for level in inputs:
            wave = unit.part(unit.render(sine(level, 1.5, unit.rate, hz), settings), 0.5)
            error, heard = residue(wave[:unit.rate // 2, 0], unit.rate, hz)
            errors.append(decibels(error / heard))
        axes.plot(inputs, errors, "o-", label=f"{hz} Hz", color=COLOURS[colour])
        yield from ((f"error Full {hz} Hz {i:+d} dBFS", f"{e:.1f} dB")
                    for i, e in zip(inputs, errors) if i in (-80, -60, -40, -20, 0))
    axes.set(xlabel="sine, dBFS", ylabel="error against the sine, dB (rms)",
             title="Full, Reference Level 0 dB, Sensitivity on")
    axes.legend()
    for rate in (44100, 48000, 96000, 192000):
        idle = unit.at(rate).render(np.zeros(rate), settings)
        yield f"idle noise Full {rate} Hz", f"{decibels(unit.at(rate).part(idle, 0.5).std()):.1f} dBFS"
    for mode in ("Legacy", "Full"):
        at44 = unit.at(44100)
        wave = at44.part(at44.render(sine(0, 1.5, 44100, 9000),
                                     {**WET, "Processing Mode": mode, "Reference Level": "-10"}), 0.5)
        window = wave[:22050, 0] * np.blackman(22050)
        spectrum = decibels(np.abs(np.fft.rfft(window)))
        folded = np.delete(spectrum, range(4450, 4551)).max() - spectrum.max()
        yield f"folded tone {mode} 9 kHz 0 dBFS, 44100 Hz", f"{folded:.1f} dB"


def oscillation(unit, grid):
    seconds = 40
    for axes, mode in zip(grid, ("Lims", "Full")):
        for rate in (44100, 48000, 96000, 192000):
            for doubled in ("Off", "On"):
                burst = 0.25 * np.random.default_rng(1).standard_normal(rate // 4)
                wave = unit.at(rate).render(
                    burst, {"Processing Mode": mode, "Mix": "10", "Feedback": "10",
                            "Delay Time": "250", "Sensitivity": "Off", "Reference Level": "-10",
                            "Delay X2": doubled}, tail=seconds)[:, 0]
                blocks = wave[:len(wave) // rate * rate].reshape(-1, rate)
                level = decibels(np.sqrt(np.mean(blocks ** 2, axis=1)))
                axes.plot(np.arange(len(level)) + 0.5, level,
                          "--" if doubled == "On" else "-", lw=1,
                          label=f"{rate / 1000:g} kHz{', X2' if doubled == 'On' else ''}")
                yield (f"oscillation {mode} {rate} Hz X2 {doubled}",
                       f"{level[-1]:.2f} dBFS rms, last 10 s within "
                       f"{np.ptp(level[-10:]):.2f} dB, peak {decibels(np.abs(wave).max()):.2f} dBFS")
        axes.set(xlabel="s", ylabel="dBFS (rms)", title=f"{mode}, Feedback 10, Reference -10 dB")
        axes.legend(fontsize=7, ncol=2)


def main():
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("--host", default=HOST)
    options.add_argument("--out", type=pathlib.Path, default=ROOT / "docs/measurements")
    arguments = options.parse_args()
    arguments.out.mkdir(parents=True, exist_ok=True)

    figures = [(levels, "levels", (1, 1), (7, 4.5)), (harmonics, "harmonics", (4, 3), (11, 10)),
               (noise, "noise", (1, 1), (7, 4.5)), (oscillation, "oscillation", (1, 2), (12, 4.5))]
    rows = []
    with tempfile.TemporaryDirectory() as folder:
        unit = Unit(arguments.host, folder)
        for measure, name, shape, size in figures:
            figure, axes = plt.subplots(*shape, figsize=size, squeeze=True)
            for cell in np.ravel(axes):
                cell.grid(alpha=0.3)
            rows += measure(unit, axes)
            figure.tight_layout()
            figure.savefig(arguments.out / f"{name}.png", dpi=80)
            plt.close(figure)
    table = "".join(f"{name}\t{value}\n" for name, value in rows)
    (arguments.out / "figures.tsv").write_text(table)
    print(table, end="")


if __name__ == "__main__":
    main()
