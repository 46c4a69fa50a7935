#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# Puts the LAN address and the IP-forwarding switch into force.
[ $# = 0 ] || fail 2 'takes no arguments'
sed -n 's/^net\.ipv4\.ip_forward[ \t]*=[ \t]*//p' /etc/sysctl.conf >"$state/ip_forward"
if_get eth1 && if_set eth1 "$(setting ip_addr /etc/CGI_qs.conf)" "$(setting netmask /etc/CGI_qs.conf)" '' "$hw"
