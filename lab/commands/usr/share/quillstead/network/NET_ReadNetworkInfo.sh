#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

[ $# = 1 ] || fail 2 'usage: NET_ReadNetworkInfo INTERFACE'
if ! if_get "$1"; then
    [ "$1" = eth0 ] || fail 1 "no interface $1"
    hw=00:A0:C9:00:00:00 # the port has its address even while it is down
fi
[ -z "$hw" ] || echo "HWADDR=$hw"
[ -n "$addr" ] || exit 0
echo "IPADDR=$addr"
echo "NETMASK=$mask"
[ -z "$far" ] || echo "GATEWAY=$far"
