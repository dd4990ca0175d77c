#!/usr/bin/env bash
# Fetches the VST3 SDK's upstream sources into .deps/vst3sdk with apt-get, which checks their
# signatures. Works under an apt configuration of its own: the machine's package sources and
# caches stay as they are. Does nothing where the sources are there already.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
target=$root/.deps/vst3sdk
suite=trixie
keyring=/usr/share/keyrings/debian-archive-keyring.gpg

[[ -e $target/.complete ]] && exit 0

fail() {
    echo "fetch-sdk: $*" >&2
    echo "fetch-sdk: or unpack a VST3 SDK 3.7.10 yourself and configure with" \
        "-DVST3_SDK_DIR=/path/to/it" >&2
    exit 1
}

[[ -r $keyring ]] || fail "$keyring is missing (package debian-archive-keyring)"
archive=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Label: Debian' |
    head -n 1)
[[ -n $archive ]] || fail "apt knows no Debian archive; run 'apt-get update' and try again"

mkdir -p "$root/.deps"
work=$(mktemp -d "$root/.deps/fetch.XXXXXX")
trap 'rm -rf "$work"' EXIT
# apt drops its privileges to a user that must be able to write there.
chmod 755 "$work"

mkdir -p "$work"/{state/lists/partial,cache/archives/partial,tarballs,sdk}
echo "deb-src [signed-by=$keyring] $archive $suite main" >"$work/sources.list"
apt=(apt-get -qq
    -o "Dir::State=$work/state" -o "Dir::State::status=/var/lib/dpkg/status"
    -o "Dir::Cache=$work/cache"
    -o "Dir::Etc::sourcelist=$work/sources.list" -o "Dir::Etc::sourceparts=-"
    -o "APT::Sandbox::User=$(id -un)"
    -o "Acquire::Retries=3" -o "Acquire::Languages=none")
{
    "${apt[@]}" update
    cd "$work/tarballs"
    "${apt[@]}" source --tar-only vst3sdk
} >"$work/log" 2>&1 || {
    tail -n 20 "$work/log" >&2
    fail "the download failed"
}

shopt -s nullglob
unpack() { # PATTERN FOLDER
    local found=("$work"/tarballs/$1)
    ((${#found[@]} == 1)) || fail "no single archive $1 among: $(ls "$work/tarballs")"
    mkdir -p "$2"
    tar -xf "${found[0]}" --strip-components=1 --no-same-owner -C "$2"
}
unpack 'vst3sdk_*.orig.tar.*' "$work/sdk"
for component in base cmake pluginterfaces public-sdk vstgui4; do
    unpack "vst3sdk_*.orig-$component.tar.*" "$work/sdk/${component/public-sdk/public.sdk}"
done
[[ -e $work/sdk/pluginterfaces/base/funknown.h && -e $work/sdk/vstgui4/vstgui/vstgui.h ]] ||
    fail "the archives don't hold what they should"

touch "$work/sdk/.complete"
rm -rf "$target"
# Where another run was faster, its result is as good as this one.
mv -T "$work/sdk" "$target" 2>/dev/null || [[ -e $target/.complete ]] || fail "can't write $target"
echo "fetch-sdk: VST3 SDK sources are in .deps/vst3sdk"
