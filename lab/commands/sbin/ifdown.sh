#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

[ $# = 1 ] || fail 2 'usage: ifdown INTERFACE'
if_gone "$1"
