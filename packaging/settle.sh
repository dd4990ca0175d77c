#!/bin/sh
# settle.sh FOLDER: gives what is in it times and permissions that depend on nothing, so that the
# same commit gives the same packages. The time is SOURCE_DATE_EPOCH, or now.
set -eu
find "$1" -type d -exec chmod 755 {} +
find "$1" -type f -perm /111 -exec chmod 755 {} +
find "$1" -type f ! -perm /111 -exec chmod 644 {} +
find "$1" -exec touch -h -d "@${SOURCE_DATE_EPOCH:-$(date +%s)}" {} +
