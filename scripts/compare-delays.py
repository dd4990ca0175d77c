#!/usr/bin/env python3
"""Measures the plug-in beside other makers' delays and writes docs/comparison.md.

    scripts/compare-delays.py [--rounds 5] [--seconds 4] [--output docs/comparison.md]

Wants scripts/setup.sh build bench rivals, and the presets "release" and "bench" built. All delays
get the same noise in the same blocks, one after the other in every round, so that a busy machine
slows all of them; the table keeps each one's best median. Instructions are counted by callgrind,
as the difference of a long and a short run, host included.
"""
import argparse
import os
import re
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
HOST = ROOT / "dist/bin/corvane-host"
LV2 = ROOT / "build/bench/bench/lv2_bench"
BLOCK = 512


def ours(*settings):
    return [HOST, "--plain", "bench"] + [word for s in settings for word in ("--param", s)]


def vst3(path):
    return [HOST, "--plain", "bench", "--plugin", path]


MONO = {"/usr/lib/vst3/ZamDelay.vst3"}  # effects of one channel, counted twice


def lv2(uri):
    return [LV2, uri]


DELAYS = [
    ("**Corvane QVX77x, Clean**", "VST3", ours()),
    ("**Corvane QVX77x, Legacy**", "VST3", ours("Processing Mode=Legacy")),
    ("**Corvane QVX77x, Lims**", "VST3", ours("Processing Mode=Lims")),
    ("**Corvane QVX77x, Full**", "VST3", ours("Processing Mode=Full")),
    ("**Corvane QVX77x, Clean, sine LFO**", "VST3", ours("Depth=7.4", "Waveform=sin")),
    ("**Corvane QVX77x, Clean, envelope**", "VST3", ours("Depth=7.4", "Waveform=env")),
    ("ZamDelay (two mono)", "VST3", vst3("/usr/lib/vst3/ZamDelay.vst3")),
    ("ZamDelay (two mono)", "LV2", lv2("urn:zamaudio:ZamDelay")),
    ("Calf Vintage Delay", "LV2", lv2("http://calf.sourceforge.net/plugins/VintageDelay")),
    ("Calf Reverse Delay", "LV2", lv2("http://calf.sourceforge.net/plugins/ReverseDelay")),
    ("LSP Artistic Delay", "LV2", lv2("http://lsp-plug.in/plugins/lv2/art_delay_stereo")),
    ("LSP Slap-back Delay", "LV2", lv2("http://lsp-plug.in/plugins/lv2/slap_delay_stereo")),
    ("Invada Delay Munge (sum)", "LV2", lv2("http://invadarecords.com/plugins/lv2/delay/sum")),
    ("MDA Delay", "LV2", lv2("http://drobilla.net/plugins/mda/Delay")),
    ("MDA DubDelay", "LV2", lv2("http://drobilla.net/plugins/mda/DubDelay")),
    ("SWH Simple delay, cubic (two mono)", "LV2", lv2("http://plugin.org.uk/swh-plugins/delay_c")),
    ("SWH Modulatable delay (two mono)", "LV2", lv2("http://plugin.org.uk/swh-plugins/modDelay")),
]

INTRODUCTION = """# Beside other delays

What a delay costs, next to the other delays that Debian offers, at each one's default settings. They
do different work: a plain delay line with feedback is at the bottom of what can be spent, a clock
that bends, filters and limiters cost more. Made by

    scripts/setup.sh build bench rivals
    cmake --preset release && cmake --build --preset release
    cmake --preset bench && cmake --build --preset bench
    scripts/compare-delays.py

on {machine}; stereo noise at -12 dBFS peak, blocks of {block} frames, 32 bits. *ns* is the shortest
of {rounds} medians, in nanoseconds a stereo frame of one instance, after ten seconds, in which a
delay's memory has been written once; *instr.* the processor instructions a stereo frame, host
included, which are the same at every run; *start* the time to make one instance ready, after the
first; *memory* what one more instance takes at 48 kHz.

| delay | format | 48 kHz: instr. | ns, 1 | ns, 10 | ns, 100 | 96 kHz: instr. | ns, 1 | start | memory |
|---|---|---|---|---|---|---|---|---|---|
"""


def channels_missing(command):
    return 2 if MONO.intersection(map(str, command)) else 1


def run(command, *options):
    """What the command tells, by name, and the most memory it took, in MB."""
    with tempfile.TemporaryFile("w+") as told:
        process = subprocess.Popen([*map(str, command), *map(str, options)], stdout=told)
        _, status, usage = os.wait4(process.pid, 0)
        if status:
            sys.exit(f"{' '.join(map(str, command))} failed")
        told.seek(0)
        rows = [line.split("\t", 1) for line in told if "\t" in line]
    numbers = {key: float(text.split()[0]) for key, text in rows if re.match(r"[\d.]+ ", text)}
    numbers["peak memory"] = usage.ru_maxrss * 1.024e-3
    return {key: number * channels_missing(command) for key, number in numbers.items()}


def instructions(command, rate):
    def count(seconds):
        done = subprocess.run(
            ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
             *map(str, command), "--rate", str(rate), "--seconds", str(seconds)],
            capture_output=True, text=True, timeout=1800)
        found = re.search(r"Collected : (\d+)", done.stderr)
        if done.returncode or not found:
            return None
        return int(found.group(1))
    short, long = count(0.5), count(1.5)
    if short is None or long is None:
        return "-"
    frames = (-(-1.5 * rate // BLOCK) - -(-0.5 * rate // BLOCK)) * BLOCK
    return f"{(long - short) / frames * channels_missing(command):.0f}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--seconds", type=float, default=4.0)
    parser.add_argument("--output", type=Path, default=ROOT / "docs/comparison.md")
    options = parser.parse_args()
    for tool in (HOST, LV2):
        if not tool.exists():
            sys.exit(f"{tool} is missing: build the presets release and bench first")

    settings = [(48000, 1), (48000, 10), (48000, 100), (96000, 1)]
    best = {}
    start = {}
    memory = {}
    for _ in range(options.rounds):
        for rate, instances in settings:
            for index, (_, _, command) in enumerate(DELAYS):
                seconds = max(0.5, options.seconds / instances)
                got = run(command, "--rate", rate, "--instances", instances, "--seconds", seconds)
                key = (index, rate, instances)
                nanoseconds = got["median block"] * 1000.0 / BLOCK
                best[key] = min(best.get(key, nanoseconds), nanoseconds)
                if instances == 100:
                    more = (got["start-up, all"] - got["start-up, first"]) / 99
                    start[index] = min(start.get(index, more), more)
                    memory[index, 100] = got["peak memory"]
                elif instances == 10:
                    memory[index, 10] = got["peak memory"]

    with ThreadPoolExecutor(max_workers=2) as pool:
        jobs = {(index, rate): pool.submit(instructions, command, rate)
                for index, (_, _, command) in enumerate(DELAYS) for rate in (48000, 96000)}
    machine = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text()).group(1)
    with options.output.open("w") as page:
        page.write(INTRODUCTION.format(machine="one core of an " + machine, block=BLOCK,
                                       rounds=options.rounds))
        for index, (name, kind, _) in enumerate(DELAYS):
            each = (memory[index, 100] - memory[index, 10]) / 90
            page.write(
                f"| {name} | {kind} | {jobs[index, 48000].result()} "
                f"| {best[index, 48000, 1]:.1f} | {best[index, 48000, 10]:.1f} "
                f"| {best[index, 48000, 100]:.1f} | {jobs[index, 96000].result()} "
                f"| {best[index, 96000, 1]:.1f} | {start[index]:.2f} ms | {each:.1f} MB |\n")
    print(options.output.read_text())


if __name__ == "__main__":
    main()
