#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

printf '%-19s %8s  Used by\n' Module Size
[ ! -e "$state/modules" ] || cat "$state/modules"
