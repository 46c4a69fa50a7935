#!/bin/bash
# Measures a view of the filter log against the log's length, beside awk printing the same rows.
# usage: bench/filterlog.sh PROGRAM FOLDER    FOLDER is made anew
set -euo pipefail
cd "$(dirname "$0")/.."

program=$1
folder=$2
root=$PWD/$folder/root
log=$root/usr/local/squid/logs/access.log
rounds=5
enter=()
((EUID == 0)) || enter=(unshare --user --map-root-user)

rm -rf "$folder"
mkdir -p "$root/tmp"
cp -a lab/factory/. build/www/. "$root" # the page templates lie in the working directory, "/"
cp "$program" "$root/nat.cgi"
gcc -O2 -static -s -o "$folder/measure" bench/measure.c

# Prints the middle one of some rounds, time and memory.
measure() { # output root command...
    local output=$1
    shift
    for ((round = 0; round < rounds; round++)); do
        "${enter[@]}" "$folder/measure" "$@" 3>&1 >"$output"
    done | sort -n | sed -n "$((rounds / 2 + 1))p"
}

# shellcheck disable=SC2016 # the dollar signs are awk's
readonly plain='/^#/ || $0 == "" { next }
    { row = "<tr>\n<td nowrap>" substr($1, 1, 31) "</td>\n<td nowrap>" substr($2, 1, 31) \
            "</td>\n<td nowrap>" substr($3, 1, 79) "</td>\n</tr>\n"
      size += length(row); if (size > 36864) exit; printf "%s", row }'

printf '%9s %9s %12s %10s %12s %10s\n' records size nat.cgi peak awk peak
for records in 100 10000 1000000; do
    seq -f '2001-05-14/08:02:11 192.168.1.23 http://www.example.org/%.0f' "$records" >"$log"
    # A hole in place of what nobody reads makes the last log one of a gigabyte.
    ((records < 1000000)) || truncate -s 1G "$log"
    ours=$(REQUEST_METHOD=GET QUERY_STRING=next_file=filterlog.htm measure "$folder/page" "$root" /nat.cgi)
    theirs=$(measure "$folder/out" / awk "$plain" "$log")
    sed -n '/^<tbody/,/^<\/tbody>/p' "$folder/page" | sed '/tbody/d;/^$/d' | cmp - "$folder/out"
    # shellcheck disable=SC2086 # two words each
    printf '%9d %6d MB %9s ms %7s kB %9s ms %7s kB\n' "$records" "$(($(stat -c %s "$log") >> 20))" $ours $theirs
done
rm "$log"
