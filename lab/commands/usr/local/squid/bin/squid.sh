#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# The proxy with its filter: a process, a pid file, an access log that grows.
[ $# = 0 ] || fail 2 'takes no options here'
gone squid || fail 1 'runs already'
conf=/usr/local/squid/etc/squid.conf
value() { sed -n "s/^$1[ \t][ \t]*//p" "$conf"; }
pid_file=$(value pid_filename)
access=$(value cache_access_log)
cache=$(value cache_log)
stamped() { printf '%(%Y-%m-%d/%H:%M:%S)T %s\n' -1 "$1"; }

on_start() { stamped started >>"$cache"; }
on_idle() { stamped "192.168.1.$((RANDOM % 50 + 20)) http://www.example.org/$RANDOM" >>"$access"; }
on_hup() {
    stamped reconfigured >>"$cache"
    log_event 'reads its settings again (SIGHUP)'
}
on_term() {
    stamped ended >>"$cache"
    log_event 'ends (SIGTERM)'
    rm -f "$pid_file"
}
serve squid
running squid >"$pid_file"
