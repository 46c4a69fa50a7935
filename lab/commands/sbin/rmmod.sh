#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

[ $# = 1 ] || fail 2 'usage: rmmod MODULE'
line=$(grep -s "^$1 " "$state/modules") || fail 1 "module $1 is not loaded"
read -r _ _ users <<<"$line"
[ "$users" = 0 ] || fail 1 "$1: Device or resource busy"
sed -i "/^$1 /d" "$state/modules"
