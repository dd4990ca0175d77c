#!/usr/bin/env bash
# check-artefacts.sh linux|windows: checks the built bundle in dist/ for what hosts and users'
# machines ask of it: its files, its exports, and the libraries it needs.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

system=${1:?linux or windows}
name="Corvane QVX77x"
bundle=$root/dist/$system/$name.vst3

same() { # WHAT FOUND EXPECTED
    if [[ $2 != "$3" ]]; then
        printf '%s:\nfound    %s\nexpected %s\n' "$1" "${2//$'\n'/ }" "${3//$'\n'/ }"
        exit 1
    fi
}

script=$(mktemp --suffix=.cmake)
trap 'rm -f "$script"' EXIT
cat >"$script" <<END
file(READ "$bundle/Contents/Resources/moduleinfo.json" text)
string(JSON count LENGTH "\${text}" Classes)
string(JSON name GET "\${text}" Classes 0 Name)
if(NOT count EQUAL 2 OR NOT name STREQUAL "$name")
    message(FATAL_ERROR "moduleinfo.json lists \${count} classes, the first is '\${name}'")
endif()
END
cmake -P "$script"

case $system in
linux)
    module="$bundle/Contents/x86_64-linux/$name.so"
    same exports "$(nm -D --defined-only "$module" | awk '{print $3}' | LC_ALL=C sort)" \
        $'GetPluginFactory\nModuleEntry\nModuleExit'
    # What any desktop has: the C library and, once there is a window, what draws it.
    strangers=$(objdump -p "$module" | awk '$1 == "NEEDED" {print $2}' | grep -vE \
        '^(libc|libm|libpthread|libdl|ld-linux-x86-64|lib(X11|xcb|xkbcommon|cairo|pango|glib|gobject|fontconfig|freetype|harfbuzz)[a-zA-Z0-9-]*(-[0-9.]+)?)\.so' || true)
    same "unexpected libraries" "$strangers" ""
    ;;
windows)
    module="$bundle/Contents/x86_64-win/$name.vst3"
    dump=$(x86_64-w64-mingw32-objdump -p "$module")
    same exports "$(awk '/\[Ordinal\/Name Pointer\] Table/ {on = 1; next} on && NF == 0 {on = 0}
        on {print $NF}' <<<"$dump" | LC_ALL=C sort)" $'ExitDll\nGetPluginFactory\nInitDll'
    strangers=$(awk '/DLL Name:/ {print tolower($3)}' <<<"$dump" | LC_ALL=C sort -u | grep -vxE \
        '(kernel32|msvcrt|user32|gdi32|advapi32|shell32|shlwapi|ole32|oleaut32|comctl32|comdlg32|d2d1|d3d11|dwrite|dwmapi|windowscodecs|dcomp)\.dll' || true)
    same "unexpected libraries" "$strangers" ""
    # A version resource is there: its key stands in UTF-16.
    if ! grep -qaP 'P\0r\0o\0d\0u\0c\0t\0N\0a\0m\0e' "$module"; then
        echo "no version resource in $module"
        exit 1
    fi
    ;;
*)
    echo "check-artefacts: '$system' is neither linux nor windows" >&2
    exit 2
    ;;
esac
