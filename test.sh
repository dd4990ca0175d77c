#!/usr/bin/env bash
# Builds everything and runs all tests.
#
#   ./test.sh           Linux, Windows under Wine, both sanitizer builds, and a little fuzzing
#   ./test.sh --quick   Linux only, without the slow tests
set -uo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"
cd "$root" || exit 1

quick=
case ${1:-} in
'') ;;
--quick) quick=1 ;;
-h | --help)
    sed -n '2,5s/^# \{0,1\}//p' "$0"
    exit 0
    ;;
*)
    echo "test.sh: unknown option '$1' (there is --quick)" >&2
    exit 2
    ;;
esac

passed=0 failed=0 skipped=0

# check TITLE COMMAND…: a step that counts as one test.
check() {
    if step "$@"; then ((++passed)); else ((++failed)); fi
}

# quote TITLE WORD: what a step's log says in lines that begin with that word.
quote() {
    sed -n "s/^$2/    &/p" "$(log_of "$1")"
}

# attribute NAME FILE: the first value of that name in a JUnit file.
attribute() {
    grep -o "\b$1=\"[0-9]*\"" "$2" | head -n 1 | grep -o '[0-9]*'
}

# What the sanitizers watch: everything that runs inside a host, and the module in one.
sanitized=(params-tests plugin-tests presets-tests platform-tests dsp-tests soak)
targets=()

# suite PRESET [ctest option…]: builds a preset (only `targets` of it, if there are any) and runs its
# tests.
suite() {
    local preset=$1 report=$root/build/$1/junit.xml tests bad skips
    shift
    rm -f "$report"
    if ! step "Building $preset" build "$preset" "${targets[@]}"; then
        ((++failed))
        return
    fi
    local run=(ctest --preset "$preset" -j "$(nproc)" --output-junit "$report" "$@")
    # The thread sanitizer can't map its memory where addresses are randomised too widely.
    if [[ $preset == tsan && $(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null) -gt 28 ]]; then
        run=(setarch -R "${run[@]}")
    fi
    step "Testing $preset" "${run[@]}"
    local status=$?
    tests=0 bad=0 skips=0
    if [[ -s $report ]]; then
        tests=$(attribute tests "$report")
        bad=$(attribute failures "$report")
        skips=$(($(attribute skipped "$report") + $(attribute disabled "$report")))
    fi
    # A run that broke off, or found nothing to run, is a failure that no test reports.
    if ((status != 0 && bad == 0)); then ((++failed)); fi
    ((passed += tests - bad - skips, failed += bad, skipped += skips))
    echo "    $((tests - bad - skips)) passed, $bad failed, $skips skipped"
    # What the validator says, and how the soaks are replayed.
    sed -n 's/\r$//; s/^Result: /    validator: /p; s/^soak: seed/    &/p' \
        "build/$preset/Testing/Temporary/LastTest.log" 2>/dev/null
}

sets=(build test)
[[ $quick ]] || sets+=(windows daw fuzz package)
if ! step "Setting up" scripts/setup.sh "${sets[@]}"; then
    echo "0 passed, 1 failed"
    exit 1
fi

# A locale with a decimal comma, which not every machine has.
locales=$root/build/locales
if [[ ! -d $locales/de_DE.UTF-8 ]]; then
    mkdir -p "$locales"
    step "Making a locale" localedef -i de_DE -f UTF-8 "$locales/de_DE.UTF-8"
fi
export LOCPATH=$locales

check "Checking the sources" scripts/check-sources.sh
if [[ $quick ]]; then
    suite release -L quick
    check "Checking the Linux artefacts" scripts/check-artefacts.sh linux
else
    suite release
    check "Checking the Linux artefacts" scripts/check-artefacts.sh linux
    check "Rendering the demo" ./run.sh
    check "Playing in a DAW" scripts/check-daw.sh
    quote "Playing in a DAW" ok:
    # Under Wine what concerns the module and its window; the rest of drawing and the command line are
    # tested on Linux.
    suite windows -E '^(tools-tests|gui-tests|dsp-paths-tests)'
    check "Checking the Windows artefacts" scripts/check-artefacts.sh windows
    check "Comparing Linux and Windows" scripts/check-agreement.sh
    check "Making the packages" ./package.sh
    check "Checking the packages" scripts/check-packages.sh
    targets=("${sanitized[@]}")
    # Unoptimised and watched, the long renders of the other engine tests would take an hour.
    suite asan -R '^((params|plugin|presets|platform)-tests|soak|dsp-tests\.(DelayMemory|Engine(Loop|Robustness)))'
    suite tsan -R '^((params|plugin|presets|platform)-tests|soak)'
    check "Fuzzing what is read and done" scripts/fuzz.sh
fi

((skipped)) && echo "$skipped skipped"
echo "$passed passed, $failed failed"
((failed == 0))
