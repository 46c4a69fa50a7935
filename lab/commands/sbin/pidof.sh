#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# Knows the appliance's own daemons only, never a process of the machine around.
scripts=
if [ "${1:-}" = -x ]; then scripts=yes; shift; fi
[ $# = 1 ] || fail 2 'usage: pidof [-x] NAME'
[ "$1" = adsl-connect ] && [ -z "$scripts" ] && exit 1 # a script, found by -x only
pid=$(running "$1") || exit 1
echo "$pid"
