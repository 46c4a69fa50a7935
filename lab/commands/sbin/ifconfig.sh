#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# The old form of the answer: "inet addr:" is what the scripts look for.
show() {
    if_get "$1" || { printf '%s: error fetching interface information: Device not found\n' "$1" >&2; exit 1; }
    case $1 in
    eth*) printf '%-10sLink encap:Ethernet  HWaddr %s  \n' "$1" "$hw" ;;
    sl*) printf '%-10sLink encap:Serial Line IP  \n' "$1" ;;
    *) printf '%-10sLink encap:Point-to-Point Protocol  \n' "$1" ;;
    esac
    if [ -n "$addr" ]; then
        case $1 in
        eth*) printf '          inet addr:%s  Bcast:%s  Mask:%s\n' "$addr" "$(combine "$addr" broadcast "$mask")" "$mask" ;;
        *) printf '          inet addr:%s  P-t-P:%s  Mask:%s\n' "$addr" "$far" "$mask" ;;
        esac
    fi
    printf '          UP RUNNING  MTU:1500  Metric:1\n\n'
}

case $# in
0) for each in "$state"/if/*; do show "${each##*/}"; done ;;
1) show "$1" ;;
2)
    case $2 in
    up) if_up "$1" || fail 1 "$1: no such device" ;;
    down) if_up "$1" || fail 1 "$1: no such device" && if_gone "$1" ;;
    *) fail 2 "bad argument '$2'" ;;
    esac
    ;;
*) fail 2 'usage: ifconfig [INTERFACE [up|down]]' ;;
esac
