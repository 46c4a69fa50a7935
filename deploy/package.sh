#!/bin/bash
# package.sh BUILD OUTPUT
# Makes the archive, the Debian package and the checksums in OUTPUT from the program in the build folder BUILD.
# Any user may: owners are root in both. The same sources make the same octets.
set -euo pipefail
umask 022

build=$(realpath "$1") output=$2
here=$(dirname "$(realpath "$0")")
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -C "$here" log -1 --format=%ct 2>/dev/null || date +%s)}
export SOURCE_DATE_EPOCH

value() {
    sed -n "s/^$1: //p" "$build/debian/control"
}
version=$(value Version)
archive=quillstead-admin-$version-$(value Architecture).tar.gz
package=quillstead-admin_${version}_$(value Architecture).deb

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
chmod 755 "$stage"
mkdir -p "$output"
DESTDIR=$stage cmake --install "$build" --component program >/dev/null
find "$stage" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +

# Unpacked at /, the archive must not change /usr, /var and what else is there already: of folders it holds
# those that are its own.
(cd "$stage" && find . \( -type f -o -path '*/quillstead*' \) -printf '%P\n' | LC_ALL=C sort) |
    tar -cf - -C "$stage" --no-recursion --owner=root:0 --group=root:0 -T - | gzip -9n >"$output/$archive"

size=$(du -sk --apparent-size "$stage" | cut -f 1)
mkdir "$stage/DEBIAN"
{
    cat "$build/debian/control"
    echo "Installed-Size: $size"
} >"$stage/DEBIAN/control"
install -m 755 "$build"/debian/post{inst,rm} "$stage/DEBIAN"
find "$stage/DEBIAN" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
dpkg-deb --root-owner-group --build "$stage" "$output/$package" >/dev/null

cd "$output"
sha256sum quillstead-admin[-_]"$version"[-_]* >SHA256SUMS
