#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

gone pppoe || fail 1 'runs already'
serve pppoe
