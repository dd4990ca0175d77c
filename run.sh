#!/usr/bin/env bash
# Builds what is needed and plays a file through the plug-in.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

host=$root/dist/bin/corvane-host

usage() {
    cat <<'END'
usage: ./run.sh                                  renders a demo phrase into demo.wav
       ./run.sh INPUT OUTPUT [option…]           renders a sound file through the plug-in
       ./run.sh --help

Sets up and builds first, where that is still to be done. Options are those of
`corvane-host render`, for instance

       ./run.sh voice.wav echo.wav --param "Delay Time=350" --param "Feedback=5" --tail auto

The names and value texts of all parameters: dist/bin/corvane-host params
END
}

case ${1:-} in
-h | --help)
    usage
    exit 0
    ;;
esac
if (($# == 1)); then
    usage >&2
    exit 2
fi

step "Setting up" "$root/scripts/setup.sh" build
step "Building (the first time takes a few minutes)" \
    build release corvane_plugin corvane_plugin_info corvane-host

if (($#)); then
    exec "$host" render "$@"
fi

"$host" phrase "$root/demo-input.wav"
"$host" render "$root/demo-input.wav" "$root/demo.wav" --tail auto \
    --param "Delay Time=375" --param "Feedback=5" --param "Mix=4"
echo
echo "demo-input.wav is the phrase, demo.wav the phrase with the delay."
