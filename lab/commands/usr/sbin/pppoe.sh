#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

# Brings the port up, without an address of its own.
gone pppoe || fail 1 'runs already'
if_up eth0 || if_set eth0 '' '' '' 00:A0:C9:00:00:00
serve pppoe
