#!/usr/bin/env bash
# Runs a Windows program under Wine, in a prefix of the build's own that is made when first needed.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$root/build/wineprefix}
export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree,mshtml='

# Wine's server and services start with the first program and outlive it. They must not hold on to
# our caller's pipe, nor to the lock (descriptor 9), and starting takes so long that they had better
# wait a minute for the next program.
quietly() {
    "$@" </dev/null >/dev/null 2>&1 9>&-
}

mkdir -p "$WINEPREFIX"
exec 9>"$WINEPREFIX.lock"
flock 9
if [[ ! -e $WINEPREFIX/.complete ]]; then
    # No display is needed, and none must be asked for.
    quietly env -u DISPLAY wineboot -i
    quietly wineserver -w
    touch "$WINEPREFIX/.complete"
fi
if quietly wineserver -p60; then quietly wine cmd /c exit; fi
exec 9>&-
exec wine "$@"
