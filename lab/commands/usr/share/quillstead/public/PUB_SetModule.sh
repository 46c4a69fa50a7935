#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# Notes whether a module is to be loaded at the next start.
[ $# = 3 ] && [ "$1" = -m ] || fail 2 'usage: PUB_SetModule -m MODULE -s|-f'
case $3 in
-s) grep -qsxF -e "$2" "$state/boot_modules" || echo "$2" >>"$state/boot_modules" ;;
-f) [ ! -e "$state/boot_modules" ] || sed -i "/^$2\$/d" "$state/boot_modules" ;;
*) fail 2 "bad argument '$3'" ;;
esac
