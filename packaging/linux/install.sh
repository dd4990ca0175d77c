#!/bin/sh
# Installs Corvane QVX77x from the folder that this script lies in.
#
#   ./install.sh                        for you alone, into ~/.vst3
#   ./install.sh --system               for all users, into /usr/local (as root)
#   ./install.sh [--system] --uninstall
#
# DESTDIR=FOLDER puts everything below FOLDER.
set -eu
umask 022

usage() {
    sed -n '2,8s/^# \{0,1\}//p' "$0"
}

here=$(cd "$(dirname "$0")" && pwd)
name="Corvane QVX77x"
system='' uninstall=''
for option; do
    case $option in
    --system) system=1 ;;
    --uninstall) uninstall=1 ;;
    -h | --help)
        usage
        exit 0
        ;;
    *)
        echo "install.sh: unknown option '$option'" >&2
        usage >&2
        exit 2
        ;;
    esac
done

destination=${DESTDIR:-}
if [ "$system" ]; then
    share=$destination/usr/local/share
    plugins=$destination/usr/local/lib/vst3
    presets=$share/vst3/presets
    programs=$destination/usr/local/bin
else
    home=$destination${HOME:?is not set}
    share=$home/.local/share
    plugins=$home/.vst3
    presets=$home/.vst3/presets
    programs=$home/.local/bin
fi
presets="$presets/quorvant.example/$name"
own=$share/corvane-qvx77x
list=$own/installed-files

# Takes away the files of the list, then the folders that it leaves empty.
remove() {
    while IFS= read -r file; do
        rm -f "$file"
        folder=${file%/*}
        while rmdir "$folder" 2>/dev/null; do folder=${folder%/*}; done
    done <"$1"
}

if [ "$uninstall" ]; then
    if [ ! -e "$list" ]; then
        echo "install.sh: $name is not installed there ($list is missing)" >&2
        exit 1
    fi
    copy=$(mktemp)
    trap 'rm -f "$copy"' EXIT
    cp "$list" "$copy"
    remove "$copy"
    echo "$name has been removed. Your own presets and settings are still there."
    exit 0
fi

if [ ! -d "$here/$name.vst3" ]; then
    echo "install.sh: there is no '$name.vst3' beside this script" >&2
    exit 1
fi
if ! mkdir -p "$own" 2>/dev/null || [ ! -w "$own" ]; then
    echo "install.sh: can't write $own${system:+ (are you root?)}" >&2
    exit 1
fi
# An earlier version may have had other files.
if [ -e "$list" ]; then
    mv "$list" "$list.old"
    remove "$list.old"
    mkdir -p "$own"
    rm -f "$list.old"
fi

# put FILE TARGET: under another name first, so that a running host keeps the file that it has.
put() {
    mkdir -p "${2%/*}"
    cp "$1" "$2.new"
    mv -f "$2.new" "$2"
    printf '%s\n' "$2" >>"$list"
}
# The list names itself first, so that an interrupted installation can be removed too.
printf '%s\n' "$list" >"$list"

cd "$here"
find "$name.vst3" -type f | while IFS= read -r file; do put "$file" "$plugins/$file"; done
for file in presets/*.vstpreset; do put "$file" "$presets/${file#presets/}"; done
put bin/corvane-host "$programs/corvane-host"
for file in install.sh LICENSE manual.pdf; do put "$file" "$own/$file"; done

echo "$name is installed in $plugins. Let your host scan for plug-ins."
echo "The manual: $own/manual.pdf. To remove it all: $own/install.sh${system:+ --system} --uninstall"
