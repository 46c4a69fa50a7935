#!/bin/bash
# shellcheck source=lab/commands/usr/lib/practice/common.sh
. /usr/lib/practice/common

gone adsl-connect && fail 1 'no link is up'
end adsl-connect
