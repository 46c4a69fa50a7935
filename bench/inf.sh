#!/bin/bash
# Measures the import of modem driver descriptions against their size, beside awk merging the models of the same file,
# and of files that consist of what costs most.
# usage: bench/inf.sh PROGRAM FOLDER    FOLDER is made anew
set -euo pipefail
cd "$(dirname "$0")/.."

program=$1
folder=$2
root=$PWD/$folder/root
list=$root/etc/ppp/modem.ini
rounds=3
enter=()
((EUID == 0)) || enter=(unshare --user --map-root-user)

rm -rf "$folder"
mkdir -p "$root/tmp"
cp -a lab/factory/. build/www/. "$root" # the page templates lie in the working directory, "/"
echo '[@message#]' >"$root/sp_port.htm" # the page would show the list, which is not the import
cp "$program" "$root/nat.cgi"
gcc -O2 -static -s -o "$folder/measure" bench/measure.c
printf 'this_file=sp_port.htm&todo=upload&load_file=/tmp/driver.inf' >"$folder/form"

# Prints the middle one of some rounds, time and memory, each begun with a fresh upload and list.
measure() { # input output root command...
    local input=$1 output=$2
    shift 2
    for ((round = 0; round < rounds; round++)); do
        cp "$folder/driver.inf" "$root/tmp"
        cp lab/factory/etc/ppp/modem.ini "$list"
        "${enter[@]}" "$folder/measure" "$@" <"$input" 3>&1 >"$output"
    done | sort -n | sed -n "$((rounds / 2 + 1))p"
}

# shellcheck disable=SC2016 # the dollar signs are awk's
readonly plain='
    /^\[/ { section = substr($0, 2, index($0, "]") - 2); next }
    section == "Strings" && split($0, part, / *= *"|"/) > 1 { keys[++n] = part[1]; names[n] = part[2] }
    section == "Models" && split($0, part, /% *= *|%|,/) > 2 { install[part[2]] = part[3] }
    /^AddReg/ { sub(/.*= */, ""); registry[section] = $0 }
    /^HKR, Init, 1/ { sub(/<cr>".*/, ""); sub(/.*"/, ""); init[section] = $0 }
    END { for (i = 1; i <= n; i++) { text = init[registry[install[keys[i]]]]
          if (text != "") printf "[%s]\nInitString=%s\n\n", names[i], text } }'

row() { # name
    local size ours theirs
    size=$(stat -c %s "$folder/driver.inf")
    ours=$(REQUEST_METHOD=POST CONTENT_TYPE=application/x-www-form-urlencoded \
        CONTENT_LENGTH=$(stat -c %s "$folder/form") measure "$folder/form" "$folder/page" "$root" /nat.cgi)
    grep -q '^\[The modem file was imported' "$folder/page"
    cp "$list" "$folder/ours"
    theirs=$(measure /dev/null "$folder/out" / awk "$plain" "$PWD/$folder/driver.inf")
    cat "$folder/out" >>"$list"
    cmp "$folder/ours" "$list"
    # shellcheck disable=SC2086 # two words each
    printf '%-26s %6d kB %9s ms %7s kB %9s ms %7s kB\n' "$1" "$((size >> 10))" $ours $theirs
}

description() { # number-of-models command... What the command prints comes before the models.
    printf '[Manufacturer]\n%%Maker%% = Models\n[Other]\n'
    "${@:2}"
    printf '\n[Models]\n'
    seq "$1" | sed 's/.*/%K&% = I&, X/'
    printf '[R]\nHKR, Init, 1,, "AT<cr>"\n'
    seq "$1" | sed 's/.*/[I&]\nAddReg = R/'
    printf '[Strings]\n'
    seq "$1" | sed 's/.*/K& = "Modem &"/'
}

printf '%-26s %9s %12s %10s %12s %10s\n' '' size nat.cgi peak awk peak
for models in 1000 10000 100000; do
    description "$models" true >"$folder/driver.inf"
    row "$models models"
done
for size in 1000000 4000000; do
    for strange in 'tr "\0" x </dev/zero' 'yes x' 'yes []' 'seq -f [%.0f]]]]] 1000000'; do
        { eval "$strange" || true; } 2>/dev/null | head -c "$size" >"$folder/strange"
        description 1 cat "$folder/strange" >"$folder/driver.inf"
        row "$strange"
    done
done
