#!/usr/bin/env bash
# Plays the Linux module in a real DAW without a display: scans it, puts it on a track, sets
# parameters, exports, saves the session, loads it in a second process, and compares. Wants
# `scripts/setup.sh daw` and the module in dist/linux.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

bundle="Corvane QVX77x.vst3"
settings=("Delay Time=170" "Feedback=6" "Mix=4" "Fbck Invert=1" "Processing Mode=2" "Hi Cut=1"
    "Output=-3")
libraries=/usr/lib/ardour7
float_wave=20b4ab09-6452-4cb3-bd66-b921cdbd2942 # the DAW's own format, 32 bits
preset=c0ab7a9e-0d0e-4d6c-9d7a-77c0ffee7701

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work/home VST3_PATH=$work/vst3
unset DISPLAY XDG_CACHE_HOME XDG_CONFIG_HOME

mkdir -p "$VST3_PATH" "$HOME/.config/ardour7/scripts" "$HOME/.config/ardour7/export"
cp -r "$root/dist/linux/$bundle" "$VST3_PATH"
# The DAW takes what it scanned for stale unless it is younger than the module.
find "$VST3_PATH" -exec touch -d 2020-01-01 {} +
cp "$root/tests/daw/clicks.lua" "$HOME/.config/ardour7/scripts"
sed -E "s/(<ExportPreset id=\")[^\"]*/\1$preset/; s/(<ExportFormat id=\")[^\"]*/\1$float_wave/" \
    /usr/share/ardour7/export/wav.preset >"$HOME/.config/ardour7/export/float.preset"

echo "== scan"
LD_LIBRARY_PATH=$libraries timeout 120 $libraries/ardour-vst3-scanner -v -f "$VST3_PATH/$bundle"

# run STEP: the session script, in a process of its own.
run() {
    echo "== $1"
    CORVANE_DAW_STEP=$1 CORVANE_DAW_DIR=$work \
        CORVANE_DAW_SET=$(IFS=';' && echo "${settings[*]}") \
        timeout 300 ardour7-lua "$root/tests/daw/session.lua" >"$work/$1.log" 2>&1 || {
        cat "$work/$1.log"
        echo "check-daw: the DAW failed" >&2
        exit 1
    }
    cat "$work/$1.log"
}
run make
run load
/usr/bin/python3 "$root/tests/daw/check.py" "$work" "${settings[@]}"
