#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

[ $# = 0 ] || fail 2 'takes no arguments'
