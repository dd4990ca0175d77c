#!/usr/bin/env bash
# Renders one phrase through the Linux module and through the Windows one, with presets of every
# mode, and wants the same samples from both, to a millionth of full scale.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

presets=("Default" "Default Legacy" "wiper" "Distortion Full" "Worn Tape" "EnvDeepDive"
    "bounce 500 ms" "reverse 8" "backward 500 ms" "Rotary" "large room reverb" "BitCrush Envelope")
host=$root/dist/bin/corvane-host
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$host" phrase "$work/phrase.wav" >/dev/null
for preset in "${presets[@]}"; do
    options=(--preset "$preset" --tempo 120 --tail 4)
    "$host" render "$work/phrase.wav" "$work/linux.wav" "${options[@]}" >/dev/null
    "$root/scripts/wine.sh" "$host.exe" render "Z:$work/phrase.wav" "Z:$work/windows.wav" \
        "${options[@]}" >/dev/null
    /usr/bin/python3 -W ignore - "$preset" "$work" <<'END_OF_COMPARISON'
import sys
import numpy as np
from scipy.io import wavfile

preset, work = sys.argv[1:]
(_, linux), (_, windows) = (wavfile.read(f"{work}/{name}.wav") for name in ("linux", "windows"))
if linux.shape != windows.shape:
    sys.exit(f"{preset}: {linux.shape} frames on Linux, {windows.shape} on Windows")
if linux.dtype != np.float32 or np.abs(linux).max() < 0.01:
    sys.exit(f"{preset}: nothing to compare")
apart = np.abs(linux - windows).max()
print(f"{preset}: {apart:.1e} apart")
if not apart < 1e-6:
    sys.exit(f"{preset}: Linux and Windows do not agree")
END_OF_COMPARISON
done
