#!/usr/bin/env bash
# Counts the processor instructions that the plug-in spends on a stereo frame: the same number at
# every run, unlike a time. Needs valgrind (scripts/setup.sh bench).
#
#   scripts/callgrind.sh [corvane-host bench option…]
#   scripts/callgrind.sh --param "Processing Mode=Legacy" --param "Hi Cut=On"
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

case ${1:-} in
-h | --help)
    sed -n '2,6s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
    exit 0
    ;;
esac
command -v valgrind >/dev/null || {
    echo "callgrind: valgrind is missing; scripts/setup.sh bench installs it" >&2
    exit 1
}
step "Building" build release corvane_plugin corvane-host

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# instructions SECONDS option…: what `seconds` of audio cost inside the engine's process calls.
instructions() {
    local seconds=$1
    shift
    valgrind --tool=callgrind --callgrind-out-file="$work/out" \
        --toggle-collect='*::process32(*' \
        "$root/dist/bin/corvane-host" bench --rate 48000 --seconds "$seconds" "$@" \
        >"$work/log" 2>&1 || {
        tail -n 20 "$work/log" >&2
        exit 1
    }
    awk '/^(summary|totals):/ {print $2; exit}' "$work/out"
}

# The difference of two lengths leaves out what starting up costs.
short=$(instructions 1 "$@")
long=$(instructions 3 "$@")
echo "$(((long - short) / 96000)) instructions per stereo frame"
