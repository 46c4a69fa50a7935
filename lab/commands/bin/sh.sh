#!/bin/bash
# The shell; a command line that the program hands to it goes into the log. It
# does not run under the name sh: so named, bash would refuse "kill -SIGTERM".
if [ "${1:-}" = -c ]; then
    line=${*: -1}
    printf 'sh -c %s\n' "${line@Q}" >>/var/log/practice.log
fi
exec /bin/bash "$@"
