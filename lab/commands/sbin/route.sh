#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

[ "${*:--n}" = -n ] || fail 2 'only the table can be shown here'
row() { printf '%-15s %-15s %-15s %-5s %-6s 0        0 %s\n' "$@"; }

echo 'Kernel IP routing table'
row Destination Gateway Genmask Flags Metric Iface | sed 's/0        0 Iface/Ref    Use Iface/'
for each in "$state"/if/*; do
    link=${each##*/}
    if_get "$link" && [ -n "$addr" ] || continue
    case $link in
    eth*)
        row "$(combine "$addr" network "$mask")" 0.0.0.0 "$mask" U 0 "$link"
        [ -z "$far" ] || row 0.0.0.0 "$far" 0.0.0.0 UG 0 "$link"
        ;;
    sl*)
        row "$far" 0.0.0.0 255.255.255.255 UH 1 "$link"
        row "$addr" 0.0.0.0 255.255.255.255 UH 1 "$link"
        row 0.0.0.0 0.0.0.0 0.0.0.0 U 1 "$link"
        ;;
    *)
        row "$far" 0.0.0.0 255.255.255.255 UH 0 "$link"
        row 0.0.0.0 0.0.0.0 0.0.0.0 U 0 "$link"
        ;;
    esac
done
