#!/bin/bash
# What the stand-ins share: the log of calls, the appliance's state, its
# background processes. Sourcing it enters the caller's call in the log.
set -u
umask 022

state=/var/lib/practice
log=/var/log/practice.log
name=${0##*/}

# The call as one line that a shell would read the same way.
log_call() {
    local word line=$name
    for word in "$@"; do
        [[ $word =~ ^[]A-Za-z0-9_./:=,%@+!^-]+$ ]] || word=${word@Q}
        line+=" $word"
    done
    # What the program itself runs is told apart from what a script of the appliance runs.
    [ -n "${PRACTICE_CALL:-}" ] || line="nat.cgi: $line"
    export PRACTICE_CALL=yes
    printf '%s\n' "$line" >>"$log"
}

# Something that happened without a call, such as a signal.
log_event() { printf '# %s: %s\n' "$name" "$*" >>"$log"; }

fail() { # STATUS TEXT
    printf '%s: %s\n' "$name" "$2" >&2
    exit "$1"
}

setting() { # KEY FILE: the value of the first line KEY=value
    local line
    while IFS= read -r line; do
        [[ $line == "$1="* ]] || continue
        printf '%s' "${line#*=}"
        return
    done <"$2"
}

await() { # COMMAND...: until it succeeds, five seconds at most
    local i
    for i in {1..50}; do
        "$@" && return
        sleep 0.1
    done
    return 1
}

is_address() {
    local IFS=. octet
    [[ $1 =~ ^[0-9]+(\.[0-9]+){3}$ ]] || return 1
    for octet in $1; do ((10#$octet <= 255)) || return 1; done
}

# An interface is a file of its values; one without a file does not exist.
if_set() { # NAME ADDRESS NETMASK FAR HARDWARE: FAR is the gateway or the other end
    printf 'addr=%q mask=%q far=%q hw=%q\n' "$2" "$3" "$4" "$5" >"$state/if/$1"
}

# shellcheck disable=SC2034 # callers look at them
addr='' mask='' far='' hw=''
if_get() { # NAME: sets addr mask far hw; false when there is no such interface
    # shellcheck source=/dev/null
    [[ $1 != */* && -r $state/if/$1 ]] && . "$state/if/$1"
}

if_up() { [ -e "$state/if/$1" ]; }
if_gone() { rm -f "$state/if/$1"; }

combine() { # ADDRESS OPERATOR MASK: octet by octet
    local a m i out=
    IFS=. read -ra a <<<"$1"
    IFS=. read -ra m <<<"$3"
    for i in 0 1 2 3; do
        case $2 in
        network) out+=.$((a[i] & m[i])) ;;
        broadcast) out+=.$((a[i] | 255 - m[i])) ;;
        esac
    done
    printf '%s' "${out#.}"
}

running() { # NAME: prints the process id; false when there is none
    local pid=
    read -r pid 2>/dev/null <"$state/run/$1" || return 1
    kill -0 "$pid" 2>/dev/null && printf '%s' "$pid"
}

gone() { ! running "$1" >/dev/null; }

end() { # NAME: terminates it and waits until it has cleared up
    local pid
    pid=$(running "$1") || return 0
    kill -TERM "$pid"
    await gone "$1"
}

tell() { # NAME WORD: a word into the ear of a background process
    gone "$1" || printf '%s\n' "$2" 1<>"$state/run/$1.ear"
}

# What a background process does; callers replace what they need.
on_start() { :; }
on_word() { :; }
on_idle() { :; }
on_hup() { :; }
on_term() { :; }

# Leaves a background process NAME behind. It holds none of the caller's pipes,
# or the page that started it would never be complete. What the appliance's kernel
# would tell of it stands in /proc: the command that it was started by.
serve() { # NAME
    local ear=$state/run/$1.ear word
    rm -f "$ear"
    mkfifo "$ear"
    (
        exec </dev/null >/dev/null 2>&1 3<>"$ear"
        trap 'trap : TERM INT; on_term; rm -rf "$ear" "$state/run/$1" "/proc/$BASHPID"; exit 0' TERM INT
        trap on_hup HUP
        on_start
        while :; do
            if read -r -t 30 -u 3 word; then on_word "$word"; else on_idle; fi
        done
    ) &
    mkdir -p "/proc/$!"
    printf '%s\0' "$0" >"/proc/$!/cmdline"
    printf '%s\n' "$!" >"$state/run/$1"
}

if [ ! -d "$state/if" ]; then
    mkdir -p "$state/if" "$state/run"
    if_set eth1 "$(setting ip_addr /etc/CGI_qs.conf)" "$(setting netmask /etc/CGI_qs.conf)" '' 00:A0:C9:00:00:01
fi
log_call "$@"
