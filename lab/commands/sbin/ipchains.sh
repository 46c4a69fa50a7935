#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# The kernel's packet filter: checks every argument and keeps the rules, one a
# line behind their chain, in the order in which they are tried.
rules=$state/rules
chains=$state/chains # name and policy; user chains have the policy "-"
[ -e "$chains" ] || printf '%s ACCEPT\n' input forward output >"$chains"
touch "$rules"

usage() { fail 2 "$1"; }
known() { grep -q "^$1 " "$chains"; }
chain() { known "$1" || fail 1 "No chain by that name: $1"; }

address() {
    local host=${1%%/*} bits=${1#*/}
    [[ $1 == */* ]] || bits=32
    [ "$host" = 0 ] || is_address "$host" || usage "host/network '$1' not found"
    [[ $bits =~ ^[0-9]+$ ]] && ((bits <= 32)) || is_address "$bits" || usage "invalid mask '$bits'"
}

port() {
    local low=${1%%:*} high=${1##*:}
    low=${low:-0} high=${high:-65535}
    [[ $1 =~ ^[0-9]*(:[0-9]*)?$ ]] && [ "$1" != : ] && ((10#$high <= 65535 && 10#$low <= 10#$high)) ||
        usage "invalid port/service '$1'"
}

# Leaves by usage() when the words are no rule for CHAIN.
check_rule() { # CHAIN WORDS...
    local chain=$1 proto=all ports='' target='' syn='' word
    shift
    while (($#)); do
        word=$1
        shift
        if [ "$word" = ! ]; then
            [[ ${1:-} =~ ^-[yf]$ ]] || usage "'!' not allowed before '${1:-}'"
            word=$1
            shift
        fi
        case $word in
        -[psdij]) [ "${1:-}" != ! ] || [ "$word" = -j ] || shift
            (($#)) || usage "option '$word' needs an argument" ;;
        esac
        case $word in
        -p) proto=$1
            [[ $1 =~ ^(tcp|udp|icmp|all)$ ]] || usage "unknown protocol '$1'"
            shift ;;
        -s | -d) address "$1"
            shift
            [[ ${1:-} != ! || ${2:-} =~ ^-[yf]$ ]] || shift
            if [[ ${1:-} =~ ^[0-9:]+$ ]]; then port "$1"; ports=yes; shift; fi ;;
        -i) [[ $1 =~ ^[a-z]+[0-9]*\+?$ ]] || usage "bad interface '$1'"
            shift ;;
        -j) target=$1
            shift
            if [ "$target" = REDIRECT ] && [[ ${1:-} =~ ^[0-9]+$ ]]; then port "$1"; shift; fi ;;
        -y) syn=yes ;;
        -b | -f | -l | -v | -n) ;;
        *) usage "bad argument '$word'" ;;
        esac
    done
    [ -z "$ports" ] || [[ $proto =~ ^(tcp|udp|icmp)$ ]] || usage 'only icmp, tcp and udp have ports'
    [ -z "$syn" ] || [ "$proto" = tcp ] || usage '-y is for tcp only'
    case $chain:$target in
    *: | *:ACCEPT | *:DENY | *:REJECT | *:RETURN | input:REDIRECT | forward:MASQ) ;;
    *:REDIRECT | *:MASQ) fail 1 "$target is not for the chain $chain" ;;
    *) known "$target" || fail 1 "no chain or target '$target'" ;;
    esac
}

op=${1:-}
on=${2:-}
case $op in
-A | -I | -D)
    [ -n "$on" ] || usage "option '$op' needs an argument"
    chain "$on"
    shift 2
    place=1
    if [ "$op" != -A ] && [[ ${1:-} =~ ^[0-9]+$ ]]; then
        place=$1
        shift
        # shellcheck disable=SC2046 # a rule is its words
        [ "$op" = -I ] || { (($# == 0)) || usage 'a number and a rule'; set -- $(grep "^$on " "$rules" | sed -n "${place}p" | cut -d' ' -f2-); }
    fi
    check_rule "$on" "$@"
    rule="$on $*"
    case $op in
    -A) printf '%s\n' "$rule" >>"$rules" ;;
    -I) rule=$rule awk -v n="$place" -v on="$on" '$1 == on && ++seen == n { print ENVIRON["rule"]; done = 1 }
            { print } END { if (!done) print ENVIRON["rule"] }' "$rules" >"$rules.tmp" && mv "$rules.tmp" "$rules" ;;
    -D) grep -qxF -e "$rule" "$rules" || fail 1 'bad rule (does a matching rule exist in that chain?)'
        rule=$rule awk '$0 == ENVIRON["rule"] && !done++ { next } { print }' "$rules" >"$rules.tmp" && mv "$rules.tmp" "$rules" ;;
    esac ;;
-F | -Z | -X | -L)
    [[ $on != -* ]] && (($# <= 2)) || [ "$op" = -L ] || usage "bad argument '$on'"
    [ -z "$on" ] || [[ $on == -* ]] || chain "$on"
    case $op in
    -F) sed -i "/^${on:-[^ ]*} /d" "$rules" ;;
    -X) sed -i "/^${on:-[^ ]*} -\$/d" "$chains" ;;
    -L) [[ $on != -* ]] || on=
        while read -r each policy; do
            [ "${on:-$each}" = "$each" ] || continue
            printf 'Chain %s (policy %s):\n' "$each" "$policy"
            grep "^$each " "$rules"
        done <"$chains" ;;
    esac ;;
-N) [ $# = 2 ] || usage 'usage: ipchains -N CHAIN'
    ! known "$on" || fail 1 'Chain already exists'
    printf '%s -\n' "$on" >>"$chains" ;;
-P) [ $# = 3 ] || usage 'usage: ipchains -P CHAIN TARGET'
    chain "$on"
    [[ $3 =~ ^(ACCEPT|DENY|REJECT|MASQ)$ ]] || usage "bad policy '$3'"
    sed -i "s/^$on .*/$on $3/" "$chains" ;;
*) usage "no command specified" ;;
esac
exit 0
