#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# Traffic towards the internet: makes a link that dials on demand dial.
target=${*: -1}
is_address "$target" || fail 2 "unknown host '$target'"
tell pppd dial
if_up ppp0 || tell diald up
await [ -e "$state/run/link" ] || { if_get eth0 && [ -n "$addr" ]; } || fail 1 "$target: no answer"
echo "PING $target ($target): 56 data bytes"
echo "1 packets transmitted, 1 packets received, 0% packet loss"
