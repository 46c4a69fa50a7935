#!/bin/bash
# Measures the site lists against their length, beside awk doing the same to the same file.
# usage: bench/sites.sh PROGRAM FOLDER    FOLDER is made anew
set -euo pipefail
cd "$(dirname "$0")/.."

program=$1
folder=$2
root=$PWD/$folder/root
list=$root/usr/local/squid/etc/deny.list
rounds=3
enter=()
((EUID == 0)) || enter=(unshare --user --map-root-user)

rm -rf "$folder"
mkdir -p "$root/tmp"
cp -a lab/factory/. build/www/. "$root" # the page templates lie in the working directory, "/"
cp "$program" "$root/nat.cgi"
gcc -O2 -static -s -o "$folder/measure" bench/measure.c

# Both print the middle one of some rounds, time and memory, each begun with a fresh copy of the list.
measure() { # input output root command...
    local input=$1 output=$2
    shift 2
    for ((round = 0; round < rounds; round++)); do
        cp "$folder/list" "$list"
        "${enter[@]}" "$folder/measure" "$@" <"$input" 3>&1 >"$output"
    done | sort -n | sed -n "$((rounds / 2 + 1))p"
}
request() { # form body
    local type=application/x-www-form-urlencoded
    [[ $1 != *.parts ]] || type='multipart/form-data; boundary=XyZ'
    REQUEST_METHOD=POST CONTENT_TYPE=$type CONTENT_LENGTH=$(stat -c %s "$1") \
        measure "$1" "$folder/page" "$root" /nat.cgi
}

row() { # job entries form-body files-for-awk...
    local job=$1 entries=$2 body=$3 ours theirs
    shift 3
    ours=$(request "$body")
    cp "$list" "$folder/ours"
    theirs=$(measure /dev/null "$folder/out" / awk "${plain[$job]}" "$@")
    case $job in
        show) sed -n '/^<option>/p' "$folder/page" | cmp - "$folder/out" ;;
        delete) cmp "$folder/ours" "$folder/out" ;;
        *) cat "$folder/out" >>"$list" && cmp "$folder/ours" "$list" ;;
    esac
    # shellcheck disable=SC2086 # two words each
    printf '%-8s %9d %9s ms %7s kB %9s ms %7s kB\n' "$job" "$entries" $ours $theirs
}

# shellcheck disable=SC2016 # the dollar signs are awk's
declare -rA plain=(
    [show]='/^#/ || $0 == "" { next } { size += length($0) + 9 } size > 20480 { exit } { print "<option>" $0 }'
    [add]='$1 == "new.example" { found = 1; exit } END { if (!found) print "new.example" }'
    [delete]='NR == FNR { gone[tolower($1)]; next } /^#/ || !(tolower($1) in gone)'
    [import]='NR == FNR { seen[$1]; next }
        { n = split($0, piece, "http://")
          for (i = 2; i <= n; i++) {
              split(piece[i], site, "[ \r/?]")
              if (site[1] != "" && !(site[1] in seen)) { seen[site[1]]; print site[1] } } }'
)
readonly post='this_file=sites_ban.htm&todo='

printf '%-8s %9s %12s %10s %12s %10s\n' '' entries nat.cgi peak awk peak
for entries in 1000 10000 100000 1000000; do
    seq -f 'site%.0f.example' "$entries" >"$folder/list"
    printf '%snone' "$post" >"$folder/show"
    printf '%sadd_url&new_url=new.example' "$post" >"$folder/add"
    seq -f 'site%.0f.example' "$entries" -1 "$((entries - 799))" >"$folder/names"
    { printf '%sdel_selected' "$post" && sed 's/^/\&banned_list=/' "$folder/names" | tr -d '\n'; } >"$folder/delete"
    row show "$entries" "$folder/show" "$list"
    row add "$entries" "$folder/add" "$list"
    row delete "$entries" "$folder/delete" "$PWD/$folder/names" "$list"
    ((entries <= 100000)) || continue # a larger file is no upload
    # Every other address is on the list.
    seq -f '<DT><A HREF="http://site%.0f.example/index.html?x=1" ADD_DATE="1000212345">A page</A>' \
        2 2 "$((2 * entries))" >"$folder/marks"
    {
        printf -- '--XyZ\r\nContent-Disposition: form-data; name="%s"\r\n\r\n%s\r\n' \
            this_file sites_ban.htm todo import_file
        printf -- '--XyZ\r\nContent-Disposition: form-data; name="upload_file"; filename="marks.html"\r\n\r\n'
        cat "$folder/marks"
        printf -- '\r\n--XyZ--\r\n'
    } >"$folder/import.parts"
    row import "$entries" "$folder/import.parts" "$list" "$PWD/$folder/marks"
done
