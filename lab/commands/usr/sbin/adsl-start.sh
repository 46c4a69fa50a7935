#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

gone adsl-connect || fail 1 'the link is up already'
DEMAND=no
# shellcheck source=/dev/null
. /etc/ppp/pppoe.conf
/usr/sbin/adsl-connect
await if_up ppp0 || fail 1 'TIMED OUT'
if [ "$DEMAND" = no ]; then await [ -e "$state/run/link" ] || fail 1 'TIMED OUT'; fi
