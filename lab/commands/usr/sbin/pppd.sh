#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# The link ppp0, over the modem or over PPPoE. With "demand" it waits, under a
# placeholder address, for traffic.
gone pppd || fail 1 'runs already'
over=modem demand=
for word in "$@"; do
    case $word in
    pppoe) over=pppoe ;;
    demand) demand=yes ;;
    esac
done

say() { printf '%s\n' "$@" >>/var/log/pppd.log; }

own_address() {
    local fixed=
    if [ $over = pppoe ]; then
        [ "$(setting pppoe_dyna /etc/ppp/CGI_nat.conf)" = 1 ] || fixed=$(setting pppoe_ip /etc/ppp/CGI_nat.conf)
    else
        fixed=$(sed -n 's/^pppd-options local \([0-9.]*\):.*/\1/p' /etc/diald.conf)
    fi
    printf '%s' "${fixed:-203.0.113.45}"
}

connect() {
    [ ! -e "$state/run/link" ] || return
    say "pppd: $over"
    [ $over = pppoe ] || say "ATDT$(setting Phone1 /etc/ppp/tel)" 'CONNECT 50666'
    if_set ppp0 "$(own_address)" 255.255.255.255 203.0.113.1 ''
    if_get ppp0
    say "local  IP address $addr" "remote IP address $far"
    /etc/ppp/ip-up ppp0
    : >"$state/run/link"
}

on_start() { [ -n "$demand" ] || connect; }
on_word() { connect; }
on_term() {
    say 'Terminating on signal 15'
    [ ! -e "$state/run/link" ] || /etc/ppp/ip-down ppp0
    rm -f "$state/run/link"
    if_gone ppp0
}
[ -z "$demand" ] || if_set ppp0 10.112.112.112 255.255.255.255 10.112.112.113 ''
serve pppd
