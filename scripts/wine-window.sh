#!/usr/bin/env bash
# Runs a Windows program that opens windows: under Wine, on an X server of its own, in a prefix of
# its own, since a prefix that was first used without a display stays without one. Its fonts are
# Wine's own and, in the place of Arial, Liberation Sans.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$root/build/wineprefix-window}
export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree,mshtml='

if [[ ${1:-} != --with-display ]]; then
    # One program at a time: the display and Wine's server end with it.
    mkdir -p "$WINEPREFIX"
    exec 9>"$WINEPREFIX.lock"
    flock 9
    xvfb-run -a -s "-screen 0 3200x1600x24 -nolisten tcp -noreset" "$0" --with-display "$@" \
        </dev/null 9>&-
    exit
fi
shift

prepare() {
    wineboot -i
    local file fonts='HKLM\Software\Microsoft\Windows NT\CurrentVersion\Fonts'
    for file in tahoma tahomabd; do
        cp "/usr/share/wine/fonts/$file.ttf" "$WINEPREFIX/drive_c/windows/Fonts/"
        wine reg add "$fonts" /v "$file" /d "$file.ttf" /f
    done
    wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v Arial /d 'Liberation Sans' /f
    wineserver -w
    touch "$WINEPREFIX/.complete"
}

[[ -e $WINEPREFIX/.complete ]] || prepare >/dev/null 2>&1
status=0
wine "$@" || status=$?
wineserver -k || true
wineserver -w
exit "$status"
