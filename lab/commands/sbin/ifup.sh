#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# Taking eth0 down unloads its driver, bringing it up loads it again.
file=/etc/sysconfig/network-scripts/ifcfg-${1:-}
[ -n "${1:-}" ] && [ -r "$file" ] || fail 1 "configuration for ${1:-} not found."
BOOTPROTO='' IPADDR='' NETMASK='' GATEWAY='' MACADDR=''
# shellcheck source=/dev/null
. "$file"
if [ "$BOOTPROTO" = dhcp ]; then
    IPADDR=198.51.100.23 NETMASK=255.255.255.0 GATEWAY=198.51.100.1
elif [ -n "$IPADDR" ]; then
    is_address "$IPADDR" || fail 1 "bad address '$IPADDR'"
    is_address "$NETMASK" || fail 1 "bad netmask '$NETMASK'"
fi
if_set "$1" "$IPADDR" "$NETMASK" "$GATEWAY" "${MACADDR:-00:A0:C9:00:00:00}"
