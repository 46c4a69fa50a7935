#!/bin/bash
# The shell of the appliance's scripts; one that the program runs goes into the log.
if [ -z "${PRACTICE_CALL:-}" ] && [[ ${1:-} == /etc/* ]]; then
    export PRACTICE_CALL=yes
    printf 'nat.cgi: %s\n' "$*" >>/var/log/practice.log
fi
exec /bin/bash "$@"
