#!/bin/sh
# factory-archive.sh FACTORY ARCHIVE
# Makes ARCHIVE, which the page "Backup" offers as factory settings, of the configuration files in the folder FACTORY:
# the same files make the same octets. The entry quillstead-backup says that no other file of the settings is there.
set -eu
umask 022

mkdir -p "$(dirname "$2")"
archive=$(realpath "$2")
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
echo "The factory's settings. Restoring them removes all others." >"$stage/quillstead-backup"
cp -R "$1/etc" "$1/usr" "$stage"
rm -rf "$stage/usr/local/squid/logs"
cd "$stage"
# Of a mode, a checkout keeps the right to run.
find quillstead-backup etc usr -type f | LC_ALL=C sort |
    tar --format=ustar -cf "$archive" --owner=0 --group=0 --numeric-owner --mtime=@0 --mode=u=rwX,go=rX -T -
