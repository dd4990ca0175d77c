#!/usr/bin/env bash
# check-artefacts.sh linux|windows: checks the built bundle in dist/ for what hosts and users'
# machines ask of it: its files, its exports, the libraries it needs, and, as of the command-line
# host, what stands in the way of those who would use a fault.
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

# An address that is written to the stack by accident ends the process, and none is written later
# to the tables that calls go through.
hardened_elf() { # FILE
    local dynamic
    dynamic=$(readelf --wide --segments --dynamic "$1")
    grep -q GNU_RELRO <<<"$dynamic" || same "$1" "writable relocations" "GNU_RELRO"
    grep -qE 'BIND_NOW|\bNOW\b' <<<"$dynamic" || same "$1" "lazy binding" "BIND_NOW"
    [[ $(nm -D "$1") == *' U __stack_chk_fail'* ]] || same "$1" "bare stacks" "a stack protector"
}

hardened_pe() { # FILE
    local dump flag
    dump=$(x86_64-w64-mingw32-objdump -p "$1")
    for flag in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
        grep -qw "$flag" <<<"$dump" || same "$1" "no $flag" "$flag"
    done
    grep -qa 'stack smashing detected' "$1" || same "$1" "bare stacks" "a stack protector"
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
    hardened_elf "$module"
    hardened_elf "$root/dist/bin/corvane-host"
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
    hardened_pe "$module"
    hardened_pe "$root/dist/bin/corvane-host.exe"
    ;;
*)
    echo "check-artefacts: '$system' is neither linux nor windows" >&2
    exit 2
    ;;
esac
