#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# Dials on demand over the modem: sl0 stands for the line that is not there yet.
gone diald || fail 1 'runs already'
on_word() {
    case $1 in
    up) gone pppd && /usr/sbin/pppd /dev/ttyS0 "$(sed -n 's/^speed //p' /etc/diald.conf)" file /etc/ppp/options.ttyS0 ;;
    down) end pppd ;;
    esac
}
on_term() {
    end pppd
    if_gone sl0
}
if_set sl0 "$(sed -n 's/^local //p' /etc/diald.conf)" 255.255.255.255 "$(sed -n 's/^remote //p' /etc/diald.conf)" ''
ln -sf "$state/run/diald.ear" "$(sed -n 's/^fifo //p' /etc/diald.conf)"
serve diald
