#!/usr/bin/env bash
# Makes the packages: a Windows installer and a zip, a .deb and a tarball, and their checksums.
#
#   ./package.sh [FOLDER]       default: dist/packages
#
# Sets up and builds first. The same commit gives the same files.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"
cd "$root"

case ${1:-} in
-h | --help)
    sed -n '2,6s/^# \{0,1\}//p' "$0"
    exit 0
    ;;
-*)
    echo "package.sh: unknown option '$1'" >&2
    exit 2
    ;;
esac
out=$(realpath -m "${1:-dist/packages}")

name="Corvane QVX77x"
version=$(version)
stem=corvane-qvx77x-$version
stage=$root/build/package

# The same whoever builds, when and where.
umask 022
export LC_ALL=C TZ=UTC
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
if [[ $(git status --porcelain --untracked-files=no) ]]; then
    echo "package.sh: there are changes that no commit holds; the packages will hold them" >&2
fi

sets=(build windows test package)
step "Setting up" scripts/setup.sh "${sets[@]}"
step "Building for Linux" \
    build release corvane_plugin corvane_plugin_info corvane-host corvane_preset_files
step "Building for Windows" build windows corvane_plugin corvane_plugin_info corvane-host
step "Making the manual" scripts/make-manual.sh dist/manual

# gather PRESET: what the zip, or the tarball, holds.
gather() {
    cmake --install "build/$1" --component folder --strip --prefix "$stage/$1/$stem"
    packaging/settle.sh "$stage/$1/$stem"
}

make_zip() {
    (cd "$stage/windows" && find "$stem" | sort | zip -9 -X -q -@ "$out/$stem-windows.zip")
}

make_tarball() {
    tar --sort=name --format=gnu --owner=0 --group=0 --numeric-owner \
        -C "$stage/release" -c "$stem" | xz -9 --threads=1 >"$out/$stem-linux.tar.xz"
}

# nsis_files FOLDER: macros that install and remove what the zip holds, file by file.
nsis_files() {
    local file target folder last=
    local install=() remove=() folders=()
    while IFS= read -r file; do
        case $file in
        "$name.vst3"/*) target="\$Plugins/$file" ;;
        presets/*) target="\$Presets/${file#presets/}" ;;
        readme.txt) continue ;; # tells how to do without an installer
        bin/*) target="\$INSTDIR/${file#bin/}" ;;
        *) target="\$INSTDIR/$file" ;;
        esac
        folder=${target%/*}
        if [[ $folder != "$last" ]]; then
            install+=("SetOutPath \"${folder//\//\\}\"")
            # Outer folders after inner ones, up to those that are not ours.
            while [[ $folder == *"$name"* ]]; do
                folders+=("$folder")
                folder=${folder%/*}
            done
            last=${target%/*}
            [[ $last == "\$Presets" ]] && folders+=("$last")
        fi
        install+=("File \"$1/$file\"")
        remove+=("Delete \"${target//\//\\}\"")
    done < <(cd "$1" && find . -type f -printf '%P\n' | sort)
    echo '!macro InstallFiles'
    printf '%s\n' "${install[@]}"
    echo '!macroend'
    echo '!macro RemoveFiles'
    printf '%s\n' "${remove[@]}"
    printf '%s\n' "${folders[@]}" | sort -ru | sed 's,/,\\,g; s/.*/RMDir "&"/'
    echo '!macroend'
}

make_installer() {
    local files=$stage/files.nsh folder=$stage/windows/$stem
    nsis_files "$folder" >"$files"
    /usr/bin/python3 scripts/installer-art.py "$stage/art"
    packaging/settle.sh "$stage/art"
    makensis -V2 -WX -INPUTCHARSET UTF8 -DVERSION="$version" -DFILES="$files" \
        -DART="$stage/art" \
        -DLICENCE="$folder/LICENSE" -DOUT="$out/$stem-windows-setup.exe" \
        -DSIZE="$(du -sk --apparent-size "$folder" | cut -f1)" packaging/windows/installer.nsi
}

make_deb() {
    cpack --config build/release/CPackConfig.cmake -B "$stage/deb"
    cp "$stage"/deb/*.deb "$out"
}

sums() {
    (cd "$out" && sha256sum corvane-qvx77x* >SHA256SUMS)
}

rm -rf "$stage"
mkdir -p "$stage" "$out"
rm -f "$out"/corvane-qvx77x* "$out/SHA256SUMS"
step "Gathering the files for Windows" gather windows
step "Gathering the files for Linux" gather release
step "Packing the zip" make_zip
step "Packing the tarball" make_tarball
step "Packing the installer" make_installer
step "Packing the .deb" make_deb
step "Summing up" sums
cat "$out/SHA256SUMS"
