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
vendor=quorvant.example # as hosts know it
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
step "Making the manual" scripts/make-manual.sh "$root/build/manual"

# filled FILE NAME=VALUE…: the file with its @NAME@s filled in.
filled() {
    local text pair
    text=$(<"$1")
    shift
    for pair; do text=${text//"@${pair%%=*}@"/"${pair#*=}"}; done
    printf '%s\n' "$text"
}

# bundle SYSTEM FOLDER: the plug-in with its manual, as hosts load it.
bundle() {
    mkdir -p "$2"
    cp -r "dist/$1/$name.vst3" "$2"
    cp build/manual/manual.html "$2/$name.vst3/Contents/Resources/"
}

# third_party SYSTEM: the licences under which parts of the binaries stand.
third_party() {
    local sdk=${VST3_SDK_DIR:-$root/.deps/vst3sdk} file
    local files=("$sdk/public.sdk/LICENSE.txt" "$sdk/vstgui4/LICENSE"
        /usr/share/doc/libcli11-dev/copyright)
    [[ $1 == windows ]] && files+=(/usr/share/doc/mingw-w64-common/copyright)
    cat packaging/third-party.txt
    for file in "${files[@]}"; do
        printf '\n%s\n\n' "-------------------------------------------------------------------------"
        cat "$file"
    done
}

# Times and permissions that depend on nothing.
settle() {
    find "$1" -type d -exec chmod 755 {} +
    find "$1" -type f -perm /111 -exec chmod 755 {} +
    find "$1" -type f ! -perm /111 -exec chmod 644 {} +
    find "$1" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
}

# What the zip and the tarball hold alike.
stage_folder() { # SYSTEM, PROGRAM, FOLDER, HOW TO INSTALL
    bundle "$1" "$3"
    mkdir "$3/presets" "$3/bin"
    cp dist/presets/*.vstpreset "$3/presets"
    cp "dist/bin/$2" "$3/bin"
    cp LICENSE build/manual/manual.pdf "$3"
    third_party "$1" >"$3/third-party.txt"
}

stage_windows() {
    local folder=$stage/windows/$stem
    stage_folder windows corvane-host.exe "$folder"
    filled packaging/readme.txt.in "VERSION=$version" "HOST=bin/corvane-host.exe" \
        "INSTALL=$(<packaging/windows/install.txt)" | sed 's/$/\r/' >"$folder/readme.txt"
    x86_64-w64-mingw32-strip "$folder/bin/corvane-host.exe"
    settle "$folder"
}

stage_linux() {
    local folder=$stage/linux/$stem
    stage_folder linux corvane-host "$folder"
    filled packaging/readme.txt.in "VERSION=$version" "HOST=bin/corvane-host" \
        "INSTALL=$(<packaging/linux/install.txt)" >"$folder/readme.txt"
    cp packaging/linux/install.sh "$folder"
    strip --strip-unneeded "$folder/bin/corvane-host" \
        "$folder/$name.vst3/Contents/x86_64-linux/$name.so"
    settle "$folder"
}

make_zip() {
    (cd "$stage/windows" && find "$stem" | LC_ALL=C sort | zip -9 -X -q -@ "$out/$stem-windows.zip")
}

make_tarball() {
    tar --sort=name --format=gnu --owner=0 --group=0 --numeric-owner \
        -C "$stage/linux" -c "$stem" | xz -9 --threads=1 >"$out/$stem-linux.tar.xz"
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
    done < <(cd "$1" && find . -type f -printf '%P\n' | LC_ALL=C sort)
    echo '!macro InstallFiles'
    printf '%s\n' "${install[@]}"
    echo '!macroend'
    echo '!macro RemoveFiles'
    printf '%s\n' "${remove[@]}"
    printf '%s\n' "${folders[@]}" | LC_ALL=C sort -ru | sed 's,/,\\,g; s/.*/RMDir "&"/'
    echo '!macroend'
}

make_installer() {
    local files=$stage/files.nsh folder=$stage/windows/$stem
    nsis_files "$folder" >"$files"
    /usr/bin/python3 scripts/installer-art.py "$stage/art"
    settle "$stage/art"
    makensis -V2 -WX -INPUTCHARSET UTF8 -DVERSION="$version" -DFILES="$files" \
        -DART="$stage/art" \
        -DLICENCE="$folder/LICENSE" -DOUT="$out/$stem-windows-setup.exe" \
        -DSIZE="$(du -sk --apparent-size "$folder" | cut -f1)" packaging/windows/installer.nsi
}

make_deb() {
    local folder=$stage/deb docs depends size
    docs=$folder/usr/share/doc/corvane-qvx77x
    mkdir -p "$folder"/{DEBIAN,usr/{bin,lib/vst3,share/man/man1}} "$docs" \
        "$folder/usr/share/vst3/presets/$vendor/$name"
    cp -r "$stage/linux/$stem/$name.vst3" "$folder/usr/lib/vst3"
    cp "$stage/linux/$stem"/presets/* "$folder/usr/share/vst3/presets/$vendor/$name"
    cp "$stage/linux/$stem/bin/corvane-host" "$folder/usr/bin"
    cp "$stage/linux/$stem"/{manual.pdf,third-party.txt} packaging/debian/copyright "$docs"
    filled packaging/corvane-host.1.in "VERSION=$version" |
        gzip -9n >"$folder/usr/share/man/man1/corvane-host.1.gz"
    filled packaging/debian/changelog.in "VERSION=$version" \
        "DATE=$(date -R -d "@$SOURCE_DATE_EPOCH")" | gzip -9n >"$docs/changelog.gz"

    # dpkg-shlibdeps wants to know of a source package.
    mkdir -p "$stage/shlibs/debian"
    echo "Source: corvane-qvx77x" >"$stage/shlibs/debian/control"
    depends=$(cd "$stage/shlibs" && dpkg-shlibdeps -O "$folder/usr/bin/corvane-host" \
        "$folder/usr/lib/vst3/$name.vst3/Contents/x86_64-linux/$name.so")
    settle "$folder"
    size=$(du -sk --apparent-size "$folder/usr" | cut -f1)
    filled packaging/debian/control.in "VERSION=$version" "SIZE=$size" \
        "DEPENDS=${depends#shlibs:Depends=}" >"$folder/DEBIAN/control"
    (cd "$folder" && find usr -type f -print0 | sort -z | xargs -0 md5sum >DEBIAN/md5sums)
    settle "$folder"
    dpkg-deb --root-owner-group --threads-max=1 -Zxz -b "$folder" \
        "$out/corvane-qvx77x_${version}_amd64.deb"
}

sums() {
    (cd "$out" && sha256sum corvane-qvx77x* >SHA256SUMS)
}

rm -rf "$stage"
mkdir -p "$stage" "$out"
rm -f "$out"/corvane-qvx77x* "$out/SHA256SUMS"
step "Gathering the files for Windows" stage_windows
step "Gathering the files for Linux" stage_linux
step "Packing the zip" make_zip
step "Packing the tarball" make_tarball
step "Packing the installer" make_installer
step "Packing the .deb" make_deb
step "Summing up" sums

# What the packages hold; of the many presets the number.
contents() {
    sed -E '/\.vstpreset$/d'
    echo "  and $(find dist/presets -type f | wc -l) presets"
}
for file in "$out"/corvane-qvx77x*; do
    printf '\n%s (%s bytes)\n' "${file##*/}" "$(stat -c %s "$file")"
    case $file in
    *.zip) unzip -Z1 "$file" | grep -v '/$' | contents ;;
    *.tar.xz) tar -tf "$file" | grep -v '/$' | contents ;;
    *.deb) dpkg-deb --fsys-tarfile "$file" | tar -t | grep -v '/$' | contents ;;
    *.exe) sed -n '/InstallFiles/,/macroend/s/^File .*\/'"$stem"'\/\(.*\)"$/\1/p' \
        "$stage/files.nsh" | contents ;;
    esac
done
echo
cat "$out/SHA256SUMS"
