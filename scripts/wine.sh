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
# A server that has long had nothing to do may be going just now: see a program run first.
last=$(stat -c %Y "$WINEPREFIX.used" 2>/dev/null || echo 0)
if quietly wineserver -p60 || (($(date +%s) - last > 40)); then
    for _ in 1 2 3; do
        if quietly wine cmd /c exit; then break; fi
        sleep 1
        quietly wineserver -p60 || true
    done
fi
touch "$WINEPREFIX.used"
exec 9>&-
exec wine "$@"
