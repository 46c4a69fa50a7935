#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# The table of virtual servers: each service a line "SERVICE", each real server
# behind it a line "SERVICE -> HOST".
table=$state/ipvs
touch "$table"

usage() { fail 2 "$1"; }

endpoint() { # ADDRESS:PORT, the port perhaps left out
    local port=0
    [[ $1 == *:* ]] && port=${1##*:}
    is_address "${1%%:*}" && [[ $port =~ ^[0-9]{1,5}$ ]] && ((10#$port <= 65535)) || usage "illegal address '$1'"
}

op=${1:-}
service='' server='' how='' persistent=''
(($# == 0)) || shift
while (($#)); do
    case $1 in
    -t | -u | -R | -r | -s | -w) (($# >= 2)) || usage "option '$1' needs an argument" ;;
    esac
    case $op:$1 in
    -[AEDad]:-[tu]) endpoint "$2"; service="$1 $2"; shift ;;
    -[ad]:-[Rr]) endpoint "$2"; server=$2; shift ;;
    -a:-[mgi]) how=$1 ;;
    -a:-w) [[ $2 =~ ^[0-9]+$ ]] || usage "illegal weight '$2'"; shift ;;
    -A:-s) [[ $2 =~ ^w?(rr|lc)$ ]] || usage "unknown scheduler '$2'"; shift ;;
    -A:-p) persistent=yes; if [[ ${2:-} =~ ^[0-9]+$ ]]; then shift; fi ;;
    -L:-n) ;;
    *) usage "bad argument '$1'" ;;
    esac
    shift
done
case $op in
-A | -D | -a | -d) [ -n "$service" ] || usage 'no service given' ;;
-C | -L | '') ;;
*) usage "unknown command '$op'" ;;
esac
has() { grep -qxF -e "$1" "$table"; }
case $op in
-C) : >"$table" ;;
-L | '') cat "$table" ;;
-A) [[ $service != *:0 || -n $persistent ]] || usage 'port 0 is for persistent services only'
    ! has "$service" || fail 1 'Service already exists'
    printf '%s\n' "$service" >>"$table" ;;
-a) [ -n "$server" ] || usage 'no server given'
    has "$service" || fail 1 'Service not defined'
    ! has "$service -> $server ${how:--g}" || fail 1 'Destination already exists'
    printf '%s\n' "$service -> $server ${how:--g}" >>"$table" ;;
-D) has "$service" || fail 1 'No such service'
    grep -vF -e "$service" "$table" >"$table.tmp"; mv "$table.tmp" "$table" ;;
-d) grep -vF -e "$service -> $server " "$table" >"$table.tmp"; mv "$table.tmp" "$table" ;;
esac
