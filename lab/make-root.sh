#!/bin/bash
# make-root.sh [--keep] ROOT PROGRAM WWW
# Builds the practice appliance's root directory ROOT from the factory files,
# the stand-ins, two static shells, PROGRAM and the page folder WWW. With --keep
# the appliance's own files stay as they are and everything else is renewed.
# Either way the appliance comes out of it switched off.
set -eu
umask 022

keep=
if [ "${1:-}" = --keep ]; then
    keep=yes
    shift
fi
if [ $# != 3 ]; then
    echo 'usage: make-root.sh [--keep] ROOT PROGRAM WWW' >&2
    exit 2
fi
root=$1 program=$2 www=$3
lab=$(dirname "$(realpath "$0")")
mark=.practice-appliance # made first, so that a build broken off can be built again

die() {
    echo "make-root.sh: $1" >&2
    exit 1
}
for file in /usr/bin/bash-static /usr/bin/busybox "$program"; do
    [ -x "$file" ] || die "$file is missing or cannot be run"
done
[ -d "$www" ] || die "$www is no folder"
if [ -e "$root" ] && [ ! -e "$root/$mark" ] && [ -n "$(ls -A "$root")" ]; then
    die "$root is something else than a practice appliance; it is left alone"
fi

if [ -z "$keep" ]; then
    rm -rf "$root"
    mkdir -p "$root"
    : >"$root/$mark"
    cp -R "$lab/factory/." "$root"
    mkdir -p "$root"/etc/diald
    chmod 600 "$root"/etc/ppp/{pap-secrets,chap-secrets,CGI_nat.conf}
fi

# bash is the shell, as the stand-ins are written for it. Of busybox's tools only
# harmless ones are there: its reboot, say, would reach the machine around.
mkdir -p "$root"/{bin,dev,sbin,tmp,usr/lib/quillstead,var/log}
cp -f /usr/bin/bash-static "$root/bin/bash"
cp -f /usr/bin/busybox "$root/bin/busybox"
for tool in awk basename cat chmod cmp cp cut date dirname echo env expr find grep head \
    hexdump id ln ls mkdir mkfifo mktemp mv od ps pwd rm rmdir sed sleep sort stat sync \
    tail tee touch tr true uniq wc xargs; do
    ln -sf busybox "$root/bin/$tool"
done

while IFS= read -r -d '' file; do
    target=$root/${file#"$lab/commands/"}
    mkdir -p "$(dirname "$target")"
    install -m 755 "$file" "${target%.sh}"
done < <(find "$lab/commands" -name '*.sh' -print0)

# Where device files are not to be had, an ordinary file does.
null=$root/dev/null
rm -f "$null"
if ! { mknod -m 666 "$null" c 1 3 && : >"$null"; } 2>/dev/null; then
    rm -f "$null"
    : >"$null"
    chmod 666 "$null"
fi

: >"$root/dev/ttyS0"

# A machine that was just switched on: no link, no process, no scratch file.
rm -rf "$root/var/lib/practice" "$root/proc" "$root/tmp" "$root/usr/local/squid/logs/squid.pid" "$root/etc/diald/diald.ctl"
mkdir -p "$root/var/lib"
mkdir -m 1777 "$root/tmp"

mkdir -p "$root/var/lib/quillstead-admin/changes"
chmod 700 "$root/var/lib/quillstead-admin" "$root/var/lib/quillstead-admin/changes"
install -m 755 "$program" "$root/usr/lib/quillstead/nat.cgi"
"$lab/../deploy/factory-archive.sh" "$lab/factory" "$root/usr/share/quillstead/factory.tar"
rm -rf "$root/www"
cp -RL "$www" "$root/www"
: >"$root/www/nat.cgi" # the name that the web server's rule below is tried on
[ -e "$root/www/index.html" ] || cat >"$root/www/index.html" <<'EOF'
<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="refresh" content="0; url=nat.cgi?next_file=nat_base.htm">
<link rel="icon" href="icon.svg">
<title>Internet sharing</title>
</head>
<body><p><a href="nat.cgi?next_file=nat_base.htm">Internet sharing</a></p></body>
</html>
EOF
echo '*.cgi:/usr/lib/quillstead/nat.cgi' >"$root/etc/httpd.conf"
