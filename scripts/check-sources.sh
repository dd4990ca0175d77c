#!/usr/bin/env bash
# Checks what the compiler doesn't: the format, and which folder includes which.
set -uo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$root" || exit 1

status=0
mapfile -t files < <(find params dsp presets platform gui plugin tools tests bench fuzz cmake \
    -name '*.cpp' -o -name '*.h')
clang-format --dry-run -Werror "${files[@]}" || status=1

/usr/bin/python3 scripts/includes.py || status=1
exit $status
