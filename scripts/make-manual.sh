#!/usr/bin/env bash
# Makes manual.html, one file that holds all, and manual.pdf out of docs/manual.
#
#   scripts/make-manual.sh FOLDER [CORVANE-HOST]    default: that of the preset `release`
#
# The same sources give the same files; SOURCE_DATE_EPOCH is the date in the PDF.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

out=$(realpath -m "${1:?where to put the manual}")
host=$(realpath "${2:-$root/dist/bin/corvane-host}")
source=$root/docs/manual
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$out" "$work/home"

# The plug-in makes its user's preset folder: not in the home of whoever runs this.
env -u XDG_CONFIG_HOME HOME="$work/home" \
    /usr/bin/python3 "$root/scripts/manual-figures.py" "$host" "$work"

cp "$source"/*.svg "$work"
sed -e "/^{{parameters}}\$/{r $work/parameters.md
d}" "$source/manual.md" >"$work/manual.md"
styles=$(<"$source/style.css")
pandoc "$work/manual.md" --from markdown --to html5 --self-contained \
    --resource-path "$work:$source" --template "$source/template.html" \
    --toc --toc-depth 1 --variable "styles=$styles" --variable "version=$(version)" \
    --output "$out/manual.html"
# Its sets have an order by then. Of the dates in the fonts, which are as they are, it complains.
PYTHONHASHSEED=0 weasyprint --quiet "$out/manual.html" "$out/manual.pdf" \
    2> >(grep -v "timestamp seems very low" >&2)
