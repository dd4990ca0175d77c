#!/usr/bin/env bash
# check-packages.sh [FOLDER]: installs each package that package.sh made (default: dist/packages)
# into a place of its own, loads the plug-in from there, removes it again, and makes all packages
# a second time, which must give the same files.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

packages=$(realpath "${1:-$root/dist/packages}")
name="Corvane QVX77x"
vendor=quorvant.example
version=$(version)
stem=corvane-qvx77x-$version
work=$(mktemp -d)
trap 'wineserver_end || true; rm -rf "$work"' EXIT
# Whatever is run here, it is at home there.
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config LC_ALL=C
mkdir "$HOME"

fail() {
    echo "$*"
    exit 1
}

# same WHAT FOUND EXPECTED
same() {
    [[ $2 == "$3" ]] || fail "$1:"$'\n'"found"$'\n'"$2"$'\n'"expected"$'\n'"$3"
}

presets=$(find "$root/dist/presets" -name '*.vstpreset' | wc -l)

# loads WHERE BUNDLE COMMAND…: a package's command-line host loads the bundle, or if none is named
# finds it by itself, and it is of this version.
loads() {
    local where=$1 bundle=$2 report
    shift 2
    report=$("$@" --plain bench --seconds 0.1 ${bundle:+--plugin "$bundle"}) || fail "$where: the plug-in doesn't load"
    grep -q "^plug-in	$name $version\$" <<<"$report" ||
        fail "$where: this is not version $version:"$'\n'"$report"
}

# documents FOLDER: the bundle holds the manual that the editor's menu opens.
documents() {
    grep -q '<h1 class="title">' "$1/$name.vst3/Contents/Resources/manual.html" ||
        fail "$1: the bundle has no manual"
}

# stripped FILE…: nobody downloads names that only a debugger reads.
stripped() {
    local file
    for file; do
        same "symbols in $file" "$(nm "$file" 2>&1 | head -n 3)" "nm: $file: no symbols"
    done
}

count() { # FOLDER
    find "$1" -name '*.vstpreset' | wc -l
}

check_tarball() {
    local base=$work/tarball program home=$work/user own left
    mkdir "$base" "$home"
    tar -xf "$packages/$stem-linux.tar.xz" -C "$base"
    cp -r "$base/$stem" "$base/folder of its own"
    loads "unpacked tarball" "" "$base/$stem/bin/corvane-host"
    stripped "$base/$stem/bin/corvane-host" \
        "$base/$stem/$name.vst3/Contents/x86_64-linux/$name.so"

    local option
    for option in "" --system; do
        local install=("$base/folder of its own/install.sh")
        local options=(${option:+"$option"}) plugins=$home/.vst3 found=$home/.vst3/presets
        program=$home/.local/bin own=$home/.local/share
        if [[ $option ]]; then
            local destination=$work/system
            plugins=$destination/usr/local/lib/vst3 found=$destination/usr/local/share/vst3/presets
            program=$destination/usr/local/bin own=$destination/usr/local/share
        fi
        run() { HOME=$home DESTDIR=${destination:-} "$@" "${options[@]}"; }
        run "${install[@]}" >"$work/said"
        loads "tarball, $plugins" "$plugins/$name.vst3" "$program/corvane-host"
        # Where hosts look, the program finds it by itself.
        [[ $option ]] || HOME=$home loads "tarball, installed" "" "$program/corvane-host"
        documents "$plugins"
        same "presets of the tarball" "$(count "$found/$vendor/$name")" "$presets"
        touch "$found/$vendor/$name/My own.vstpreset"
        # Once more, as an update does that knows fewer files; then from where it left itself.
        touch "$plugins/$name.vst3/Contents/old"
        echo "$plugins/$name.vst3/Contents/old" >>"$own/corvane-qvx77x/installed-files"
        run "${install[@]}" >"$work/said"
        [[ -e $plugins/$name.vst3/Contents/old ]] && fail "an update leaves old files"
        run "$own/corvane-qvx77x/install.sh" --uninstall >"$work/said"
        left=$(find "$home" "${destination:-$home}" -type f | sort -u)
        same "left by the tarball" "$left" "$found/$vendor/$name/My own.vstpreset"
        rm "$left"
        if run "${install[@]}" --uninstall >/dev/null 2>&1; then
            fail "removing what isn't there succeeds"
        fi
    done
}

check_deb() {
    local target=$work/debian package=$packages/corvane-qvx77x_${version}_amd64.deb plugins
    mkdir -p "$target/var/lib/dpkg"/{info,updates,triggers}
    : >"$target/var/lib/dpkg/status"
    dpkg_there() {
        fakeroot dpkg --root="$target" --log=/dev/null --force-not-root --force-depends "$@" \
            >"$work/said" 2>&1 || fail "dpkg $*: $(<"$work/said")"
    }
    dpkg_there --install "$package"
    plugins=$target/usr/lib/vst3
    loads ".deb" "$plugins/$name.vst3" "$target/usr/bin/corvane-host"
    documents "$plugins"
    same "presets of the .deb" "$(count "$target/usr/share/vst3/presets/$vendor/$name")" "$presets"
    [[ -e $target/usr/share/doc/corvane-qvx77x/manual.pdf ]] || fail ".deb: no manual"
    dpkg --root="$target" --verify corvane-qvx77x >"$work/said"
    same "files that differ from the .deb" "$(<"$work/said")" ""
    dpkg_there --purge corvane-qvx77x
    same "left by the .deb" "$(find "$target/usr" -type f 2>/dev/null)" ""
    lintian --allow-root --fail-on error,warning "$package"
}

export WINEPREFIX=$work/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe='

on_windows() {
    env -u DISPLAY wine "$@" </dev/null 2>/dev/null | tr -d '\r'
}

make_windows() {
    env -u DISPLAY wineboot -i </dev/null >/dev/null 2>&1
    wineserver -w
    # Folders of its own instead of links to those of the system's user.
    local link
    while IFS= read -r link; do rm "$link" && mkdir "$link"; done \
        < <(find "$WINEPREFIX/drive_c/users" -type l)
}

wineserver_end() {
    [[ -d $WINEPREFIX ]] || return 0
    wineserver -k && wineserver -w
} 2>/dev/null

# Files of ours, or of the user's, on the disk.
on_disk() {
    find "$WINEPREFIX/drive_c" -type f \
        \( -path '*[Qq]uorvant*' -o -path '*VST3*' -o -path '*orvane*' \) \
        ! -path "$WINEPREFIX/drive_c/windows/*" | sort
}

check_zip() {
    unzip -q "$packages/$stem-windows.zip" -d "$work/zip"
    loads "unpacked zip" "" on_windows "$work/zip/$stem/bin/corvane-host.exe"
    documents "$work/zip/$stem"
    stripped "$work/zip/$stem/bin/corvane-host.exe" \
        "$work/zip/$stem/$name.vst3/Contents/x86_64-win/$name.vst3"
    same "presets of the zip" "$(count "$work/zip/$stem/presets")" "$presets"
}

check_installer() {
    local setup=$packages/$stem-windows-setup.exe c=$WINEPREFIX/drive_c user option
    local key="Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Quorvant $name"
    user=$(find "$c/users" -mindepth 1 -maxdepth 1 ! -name Public -printf '%f\n')
    # What the plug-in itself and its user make.
    local made=$c/users/$user/Documents/Quorvant/$name/"User Presets"
    for option in /AllUsers /CurrentUser; do
        local plugins presetFolder program hive bundle=''
        case $option in
        /AllUsers)
            hive=HKLM
            plugins=$c/"Program Files/Common Files/VST3"
            presetFolder="$c/ProgramData/VST3 Presets/$vendor/$name"
            program="$c/Program Files/Quorvant/$name"
            ;;
        /CurrentUser)
            hive=HKCU
            plugins=$c/users/$user/AppData/Local/Programs/Common/VST3
            presetFolder="$c/users/$user/AppData/Roaming/VST3 Presets/$vendor/$name"
            program="$c/users/$user/AppData/Local/Programs/Quorvant/$name"
            bundle="C:\\users\\$user\\AppData\\Local\\Programs\\Common\\VST3\\$name.vst3"
            ;;
        esac
        # For all users is what an administrator gets without asking.
        if [[ $option == /AllUsers ]]; then
            on_windows "$setup" /S
        else
            on_windows "$setup" /S "$option"
        fi
        wineserver -w
        # Where hosts look, the program finds it by itself; but Wine does not know of the folder
        # that hosts look into for one user's plug-ins.
        loads "installer $option" "$bundle" on_windows "$program/corvane-host.exe"
        documents "$plugins"
        same "presets of the installer" "$(count "$presetFolder")" "$presets"
        [[ -s $program/manual.pdf ]] || fail "installer $option: no manual"
        on_windows reg query "$hive\\$key" /v DisplayVersion | grep -q "$version" ||
            fail "installer $option: not in the list of programs"
        mkdir -p "$made"
        echo mine >"$made/mine.qvx"
        echo mine >"$presetFolder/mine.vstpreset"
        # An update; then away with it.
        on_windows "$setup" /S "$option"
        wineserver -w
        [[ -e $presetFolder/mine.vstpreset ]] || fail "an update takes the user's preset"
        on_windows "$program/uninstall.exe" /S
        wineserver -w
        same "left by the installer $option" "$(on_disk)" \
            "$(printf '%s\n' "$presetFolder/mine.vstpreset" "$made/mine.qvx" | sort)"
        on_windows reg query "$hive\\$key" >/dev/null &&
            fail "installer $option: still in the list of programs"
        [[ -e $program || -e $plugins/$name.vst3 ]] && fail "installer $option: folders are left"
        rm -r "$presetFolder" "$c/users/$user/Documents/Quorvant"
    done
}

check_again() {
    "$root/package.sh" "$work/again" >"$work/said" || fail "package.sh: $(<"$work/said")"
    same "checksums of the second making" "$(<"$work/again/SHA256SUMS")" "$(<"$packages/SHA256SUMS")"
}

(cd "$packages" && sha256sum --check --quiet SHA256SUMS)
same "packages" "$(cd "$packages" && ls)" "$(sort <<END
SHA256SUMS
$stem-linux.tar.xz
$stem-windows-setup.exe
$stem-windows.zip
corvane-qvx77x_${version}_amd64.deb
END
)"
check_tarball
check_deb
make_windows
check_zip
check_installer
HOME=$(getent passwd "$(id -u)" | cut -d: -f6) check_again
echo "all packages install, load, and leave nothing behind"
