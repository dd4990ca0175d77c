#!/usr/bin/env bash
# Installs the Debian packages that are missing and fetches the SDK. Does nothing, quickly, where
# all is there.
#
#   scripts/setup.sh [SET…]       default: build
#
# The sets are in the table below; `all` is all of them.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)

declare -A sets=(
    [build]="g++ cmake ninja-build ccache pkg-config libboost-dev libcli11-dev googletest
        libebur128-dev libx11-dev libxcb1-dev libxcb-util-dev libxcb-cursor-dev libxcb-keysyms1-dev
        libxcb-xkb-dev libxkbcommon-dev libxkbcommon-x11-dev libcairo2-dev libpango1.0-dev
        libglib2.0-dev libfontconfig-dev libfreetype-dev debian-archive-keyring"
    [windows]="g++-mingw-w64-x86-64-posix"
    [test]="clang-format locales python3 util-linux gnuplot-nox fonts-dejavu-core fonts-liberation fonts-wine
        wine wine64
        xvfb xauth xdotool"
    [bench]="libbenchmark-dev valgrind liblilv-dev lv2-dev"
    [rivals]="zam-plugins calf-plugins mda-lv2 swh-lv2 invada-studio-plugins-lv2 lsp-plugins-lv2"
    [docs]="python3-numpy python3-scipy python3-matplotlib"
    [daw]="ardour python3-scipy"
    [fuzz]="clang libclang-rt-14-dev"
    [package]="pandoc weasyprint fonts-lato fonts-dejavu-core python3 nsis zip unzip xz-utils
        dpkg-dev fakeroot file lintian git"
)

wanted=("$@")
((${#wanted[@]})) || wanted=(build)
[[ ${wanted[*]} == all ]] && wanted=("${!sets[@]}")

packages=()
for name in "${wanted[@]}"; do
    if [[ ! -v sets[$name] ]]; then
        echo "setup: no package set '$name'; there are: ${!sets[*]} all" >&2
        exit 2
    fi
    read -r -d '' -a list <<<"${sets[$name]}" || true
    packages+=("${list[@]}")
done

if ! command -v apt-get >/dev/null; then
    echo "setup: only Debian's package manager is known here; install what these packages hold" \
        "by hand: ${packages[*]}" >&2
    exit 1
fi

installed=$(dpkg-query -W -f='${binary:Package} ${db:Status-Status}\n' "${packages[@]}" 2>/dev/null |
    sed -n 's/^\([^: ]*\)[^ ]* installed$/\1/p') || true
missing=()
for package in "${packages[@]}"; do
    grep -qxF "$package" <<<"$installed" || missing+=("$package")
done

if ((${#missing[@]})); then
    echo "setup: installing ${missing[*]}"
    sudo=()
    ((EUID == 0)) || sudo=(sudo)
    apt() {
        "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get -q -o DPkg::Lock::Timeout=550 -o Acquire::Retries=3 "$@"
    }
    log=$(mktemp)
    trap 'rm -f "$log"' EXIT
    if ! { apt update && apt install -y --no-install-recommends "${missing[@]}"; } \
        >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        echo "setup: the packages above could not be installed" >&2
        exit 1
    fi
fi

# An SDK that the user already has makes the download needless.
[[ -n ${VST3_SDK_DIR:-} ]] || "$here/fetch-sdk.sh"
