# Sourced by the scripts: the tree's root, and quiet running of long commands.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
logs=$root/build/logs

# log_of TITLE: the log of the step of that title.
log_of() {
    echo "$logs/$(tr -cs 'A-Za-z0-9' - <<<"$1" | sed 's/-$//').log"
}

# step TITLE COMMAND…: runs the command with its output in a log; one line tells how it went, and
# the log's end, without what went well, why it failed.
step() {
    local title=$1 log start=$SECONDS
    shift
    mkdir -p "$logs"
    log=$(log_of "$title")
    printf '%s ... ' "$title" >&2
    if "$@" >"$log" 2>&1 </dev/null; then
        echo "done ($((SECONDS - start)) s)" >&2
    else
        echo "FAILED (whole log: $log)" >&2
        grep -vE '^ +Start +[0-9]+: | \.+ +Passed |^\[[0-9]+/[0-9]+\] ' "$log" | tail -n 60 >&2
        return 1
    fi
}

# build PRESET [TARGET…]: configures where that has not been done, and builds.
build() {
    local preset=$1
    shift
    (
        cd "$root"
        local options=()
        [[ -n ${VST3_SDK_DIR:-} ]] && options+=("-DVST3_SDK_DIR=$VST3_SDK_DIR")
        if [[ ! -e build/$preset/build.ninja || ${#options[@]} -gt 0 ]]; then
            cmake --preset "$preset" "${options[@]}"
        fi
        cmake --build --preset "$preset" ${1:+--target "$@"}
    )
}

# version: the product's, from the one place that holds it.
version() {
    sed -n 's/^project(Corvane VERSION \([0-9.]*\) .*/\1/p' "$root/CMakeLists.txt"
}
