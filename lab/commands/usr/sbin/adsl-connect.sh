#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# Holds pppd and the PPPoE program up until it is ended itself.
ETH=eth0 DEMAND=no PPPOE_TIMEOUT=0 PPPOE_EXTRA=''
# shellcheck source=/dev/null
. /etc/ppp/pppoe.conf
read -ra extra <<<"$PPPOE_EXTRA"
on_start() {
    /usr/sbin/pppoe -I "$ETH" -T "$PPPOE_TIMEOUT" "${extra[@]}"
    case $DEMAND in
    no) /usr/sbin/pppd pppoe ;;
    *) /usr/sbin/pppd pppoe demand idle "$DEMAND" ;;
    esac
}
on_term() {
    end pppd
    end pppoe
}
serve adsl-connect
