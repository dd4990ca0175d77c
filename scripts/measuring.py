"""What the measuring scripts share: signals, decibels, and the built plug-in in its host."""
import itertools
import pathlib
import subprocess
import sys
import warnings

import numpy as np
from scipy.io import wavfile

warnings.filterwarnings("ignore", category=wavfile.WavFileWarning)  # chunks that are not audio

ROOT = pathlib.Path(__file__).resolve().parent.parent
HOST = str(ROOT / "dist/bin/corvane-host")
MODES = ("Clean", "Legacy", "Lims", "Full")


def decibels(linear):
    return 20 * np.log10(np.maximum(linear, 1e-12))


def sine(level_db, seconds, rate, hz):
    return 10 ** (level_db / 20) * np.sin(2 * np.pi * hz * np.arange(int(seconds * rate)) / rate)


def run(host, *words):
    """What the host prints; its complaint ends the program."""
    done = subprocess.run([str(word) for word in (host, *words)], capture_output=True, text=True)
    if done.returncode:
        sys.exit(f"{pathlib.Path(sys.argv[0]).name}: {done.stderr.strip()}")
    return done.stdout


class Unit:
    """The plug-in in its command-line host, at one sample rate; its files stay in the folder."""

    def __init__(self, host, folder, rate=48000, numbers=None):
        self.host, self.folder, self.rate = host, pathlib.Path(folder), rate
        self.numbers = numbers or itertools.count(1)

    def at(self, rate):
        return Unit(self.host, self.folder, rate, self.numbers)

    def render(self, source, settings, moves=(), tail=0, block=512, bits=32, tempo=None):
        """`source` has one channel or two, `settings` are texts by parameter, and `moves` are
        (seconds, parameter, text). The result has two channels."""
        base = self.folder / f"{next(self.numbers):03}"
        dry, automation, wet = (f"{base}{end}" for end in (".in.wav", ".csv", ".wav"))
        source = np.asarray(source, np.float32)
        wavfile.write(dry, self.rate,
                      source if source.ndim == 2 else np.column_stack([source, source]))
        pathlib.Path(automation).write_text(
            "".join(f"{time:.9f},{name},{text}\n" for time, name, text in moves))
        run(self.host, "render", dry, wet, "--automate", automation, "--tail", tail, "--format",
            "wav32f", "--block", block, "--bits", bits, *(["--tempo", tempo] if tempo else []),
            *(word for name, text in settings.items() for word in ("--param", f"{name}={text}")))
        return wavfile.read(wet)[1].astype(float)

    def part(self, wave, start, end=None):
        """Of a wave, from and to a time in seconds."""
        return wave[int(start * self.rate):end and int(end * self.rate)]
