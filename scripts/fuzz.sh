#!/usr/bin/env bash
# Builds the fuzzers and runs each of them, from its seeds in fuzz/corpus and with the same dice
# every time.
#
#   scripts/fuzz.sh [SECONDS [NAME…]]      default: 10 seconds each of all
#
# What a run discovers stays in build/fuzz/corpus for the next one. An input that breaks something
# is put into build/fuzz/findings; `build/fuzz/fuzz/fuzz-NAME FILE` plays it again.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$root"

seconds=${1:-10}
shift || true
if [[ ! $seconds =~ ^[0-9]+$ ]]; then
    sed -n '2,8s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi

build fuzz
names=("$@")
((${#names[@]})) || mapfile -t names < <(basename -a fuzz/corpus/*)
mkdir -p build/fuzz/findings
failed=0
for name in "${names[@]}"; do
    mkdir -p "build/fuzz/corpus/$name"
    echo "== $name"
    "build/fuzz/fuzz/fuzz-$name" -seed=1 -max_total_time="$seconds" -rss_limit_mb=2048 \
        -print_final_stats=1 -close_fd_mask=2 -artifact_prefix="build/fuzz/findings/$name-" \
        "build/fuzz/corpus/$name" "fuzz/corpus/$name" || failed=1
done
exit $failed
