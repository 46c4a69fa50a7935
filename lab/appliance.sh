#!/bin/bash
# appliance.sh [--port N] [--reset] ROOT PROGRAM WWW
# Switches the practice appliance on: its web server, and a running commentary
# on what the requests do. Ctrl-C switches it off again.
set -eu
PATH=$PATH:/usr/sbin:/sbin

usage() {
    echo 'usage: appliance.sh [--port N] [--reset] ROOT PROGRAM WWW' >&2
    exit 2
}
die() {
    echo "practice appliance: $1" >&2
    exit 1
}

port=8080 keep=--keep
while [[ ${1:-} == --* ]]; do
    case $1 in
    --port)
        port=${2:-}
        [[ $port =~ ^[0-9]{1,5}$ ]] && ((10#$port >= 1 && 10#$port <= 65535)) || usage
        shift 2
        ;;
    --reset)
        keep=
        shift
        ;;
    *) usage ;;
    esac
done
[ $# = 3 ] || usage
root=$(realpath -m "$1")
lab=$(dirname "$(realpath "$0")")

# Every process whose root directory is the appliance's.
inside() {
    find /proc -maxdepth 2 -path '/proc/[0-9]*/root' -printf '%h\t%l\n' 2>/dev/null |
        ROOT=$root awk -F '\t' '$2 == ENVIRON["ROOT"] { sub("/proc/", "", $1); print $1 }' || true
}

if (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
    die "port $port is in use; choose another with --port"
fi
[ -z "$(inside)" ] || die "$root is running already"
[ -e "$root/usr/lib/practice/common" ] || keep=
# shellcheck disable=SC2086 # an empty word is no argument
"$lab/make-root.sh" $keep "$root" "$2" "$3"

# Daemons must get every signal in its ordinary sense, however this was started.
enter=(env -i --default-signal "PATH=/sbin:/bin:/usr/sbin:/usr/bin")
if ! chroot "$root" /bin/true 2>/dev/null; then
    enter+=(unshare --user --map-root-user)
fi
enter+=(chroot "$root")
"${enter[@]}" /bin/true 2>/dev/null ||
    die 'changing the root directory is allowed here neither directly nor in a user namespace, so the appliance cannot run.'

commentary=
# shellcheck disable=SC2317 # reached by the trap
stop() {
    trap '' INT TERM
    # shellcheck disable=SC2046 # process ids are words
    {
        [ -z "$commentary" ] || kill "$commentary"
        kill -TERM $(inside)
        for _ in {1..30}; do
            [ -n "$(inside)" ] || break
            sleep 0.1
        done
        kill -KILL $(inside)
    } 2>/dev/null || true
}
trap stop EXIT
trap 'exit 0' INT TERM

touch "$root/var/log/practice.log"
: >"$root/var/log/httpd.log"
"${enter[@]}" /bin/sh -c 'cd /www; REQUEST_METHOD=GET QUERY_STRING=next_file=history.htm \
    exec /usr/lib/quillstead/nat.cgi' >/dev/null 2>&1 </dev/null || true
"${enter[@]}" /etc/rc.d/rc.wan >/dev/null 2>&1 </dev/null || true
"${enter[@]}" /bin/busybox httpd -f -vv -p "127.0.0.1:$port" -h /www -c /etc/httpd.conf \
    </dev/null >"$root/var/log/httpd.log" 2>&1 &
httpd=$!
for _ in {1..30}; do
    sleep 0.1
    kill -0 "$httpd" 2>/dev/null || die "the web server did not start: $(cat "$root/var/log/httpd.log")"
    ! (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null || break
done

cat <<EOF
The practice appliance is on:  http://127.0.0.1:$port/
  off                Ctrl-C
  factory settings   the same command with --reset
  its files          $root
  log of commands    $root/var/log/practice.log
EOF

tail -n 0 -q -F -s 0.2 "$root/var/log/practice.log" "$root/var/log/httpd.log" 2>/dev/null > >(
    sed -u -n -E -e 's/^[0-9.]+:[0-9]+: url:/\nrequest  /p;t' -e '/^[0-9.]+:[0-9]+: /d' \
        -e 's/^nat.cgi: /  ran      /p;t' -e 's/^/             | /p'
) &
commentary=$!

# Name, inode, time and mode of every file that the requests are about.
picture() {
    (cd "$root" && find etc usr/lib/diald usr/local/squid/etc -type f -printf '/%p\t%i %T@ %m\n') 2>/dev/null | sort
}
before=$(picture)
while kill -0 "$httpd" 2>/dev/null; do
    sleep 0.5
    after=$(picture)
    [ "$after" != "$before" ] || continue
    diff <(echo "$before") <(echo "$after") | sed -n 's/^[<>] \([^\t]*\)\t.*/\1/p' | sort -u |
        while IFS= read -r file; do
            if [ -e "$root$file" ]; then echo "  wrote    $file"; else echo "  removed  $file"; fi
        done
    before=$after
done
die "the web server has ended: $(tail -n 1 "$root/var/log/httpd.log")"
