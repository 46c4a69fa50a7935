#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# start and stop diald; dial and hang up.
control() {
    gone diald && fail 1 'diald does not run'
    echo "$1" 1<>/etc/diald/diald.ctl
}
case ${1:-} in
start) if gone diald; then /usr/sbin/diald; fi ;;
stop) end diald ;;
up) control up && await [ -e "$state/run/link" ] || fail 1 'no carrier' ;;
down) control down && await gone pppd ;;
*) fail 2 'usage: dial start|stop|up|down' ;;
esac
