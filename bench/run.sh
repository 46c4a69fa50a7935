#!/bin/bash
# Measures the program in a private root with factory settings.
# usage: bench/run.sh PROGRAM FOLDER    FOLDER is made anew
set -eu
cd "$(dirname "$0")/.."

program=$1
folder=$2
root=$folder/root
enter=()
((EUID == 0)) || enter=(unshare --user --map-root-user)

rm -rf "$folder"
mkdir -p "$root/www"
cp -a lab/factory/. "$root"
cp -a build/www/. "$root/www"
mkdir -p "$root/tmp"
cp "$program" "$root/nat.cgi"

# Static, and so small that its own pages do not hide those of the programs that it starts.
g++ -std=c++20 -O2 -static -s -o "$folder/bench" bench/bench.cpp
"${enter[@]}" "$folder/bench" "$root" /nat.cgi > "$folder/page"
gcc -O2 -static -s -DPAGE="\"$folder/page\"" -o "$root/baseline" bench/baseline.c
"${enter[@]}" "$folder/bench" "$root" /nat.cgi /baseline
