#!/bin/sh
# check_stand_ins.sh LIBRARY: every function that the library shows under a name of C is one that
# the libraries which it needs have, so that it stands in for something.
set -u
library=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

nm -D --defined-only "$library" | awk '$2 == "T" && $3 !~ /^_(Z|snd_|init$|fini$)/ { print $3 }' |
    sort -u >"$work/stand_ins"
ldd "$library" | awk '$3 ~ /^\// { print $3 }' | while read -r needed; do
    nm -D --defined-only "$needed" | awk '{ print $NF }' | sed 's/@.*//'
done | sort -u >"$work/functions"

[ "$(wc -l <"$work/stand_ins")" -gt 100 ] || { echo "$library stands in for next to nothing"; exit 1; }
nothing=$(comm -23 "$work/stand_ins" "$work/functions")
[ -z "$nothing" ] && exit 0
echo "$library stands in for what no library has:"
echo "$nothing"
exit 1
