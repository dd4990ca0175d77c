#!/usr/bin/env bash
# Runs a Windows program under Wine, in a prefix of the build's own that is made when first needed.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$root/build/wineprefix}
export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree,mshtml='

if [[ ! -e $WINEPREFIX/.complete ]]; then
    mkdir -p "$WINEPREFIX"
    exec 9>"$WINEPREFIX.lock"
    flock 9
    if [[ ! -e $WINEPREFIX/.complete ]]; then
        # No display is needed, and none must be asked for. Descriptor 9 must not stay with
        # Wine's server, which lives on.
        env -u DISPLAY wineboot -i >/dev/null 2>&1 9>&-
        wineserver -w 9>&-
        touch "$WINEPREFIX/.complete"
    fi
    exec 9>&-
fi
# Starting Wine's server takes longer than most programs run: let it wait for the next one.
wineserver -p60 2>/dev/null || true
exec wine "$@"
