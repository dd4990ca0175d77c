#!/usr/bin/env bash
# Checks what the compiler doesn't: the format, which folder includes which, and that no includes run
# in a circle.
set -uo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$root" || exit 1

status=0
mapfile -t files < <(find params dsp presets platform gui plugin tools tests bench fuzz cmake \
    -name '*.cpp' -o -name '*.h')
clang-format --dry-run -Werror "${files[@]}" || status=1

/usr/bin/python3 scripts/includes.py || status=1

# one_way WHAT RENAMING FOLDER…: what lies in the folders, named as the sed commands leave the files'
# names, includes each other one way only.
one_way() {
    local what=$1 renaming=$2 loop
    shift 2
    loop=$(grep -roE --include='*.h' --include='*.cpp' '^#include "[a-z]+/[^"]+"' "$@" |
        sed -E 's/:#include "/ /; s/"$//; s/\.(h|cpp)( |$)/\2/g;'"$renaming" | tsort 2>&1 >/dev/null)
    if [[ $loop ]]; then
        echo "$what include each other in a circle:"
        awk '/contains a loop/ { if (n++) exit; next } { print $2 }' <<<"$loop"
        status=1
    fi
}
# A header and its source count as one; then a folder within a folder does; then every folder.
one_way 'these files' '' dsp presets platform gui plugin tests bench fuzz
one_way 'these rooms' 's|([a-z]+/[a-z-]+)/[^ ]+|\1|g' dsp presets platform gui plugin tools tests \
    bench fuzz
one_way 'these folders' 's|/[^ ]*||g' params dsp presets platform gui plugin tools tests bench fuzz
exit $status
