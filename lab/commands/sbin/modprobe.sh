#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

known=' ip_masq_cuseeme ip_masq_ftp ip_masq_h323 ip_masq_icq ip_masq_ipsec ip_masq_irc ip_masq_pptp ip_masq_raudio '
[ $# = 1 ] || fail 2 'usage: modprobe MODULE'
[[ $known == *" $1 "* ]] || fail 255 "Can't locate module $1"
grep -qs "^$1 " "$state/modules" || printf '%-19s %8d %3d\n' "$1" 2912 0 >>"$state/modules"
