#!/bin/sh
# check_imports.sh PROGRAM LIBRARY: every function that the program takes from the C
# library is stood in for by the library, or is on the list of harmless ones. One path
# to the real clock that was forgotten hangs a run, or makes it different each time.
set -u
program=$1
library=$2
list=$(dirname "$0")/harmless_imports.txt
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

nm -D --undefined-only "$program" | awk '{ print $NF }' | grep '@GLIBC_' | sed 's/@.*//' | sort -u >"$work/imports"
nm -D --defined-only "$library" | awk '$2 == "T" { print $3 }' | sort -u >"$work/stood_in"
grep -v '^#' "$list" >"$work/harmless"

[ -s "$work/imports" ] || { echo "$program imports nothing"; exit 1; }
unknown=$(comm -23 "$work/imports" "$work/stood_in" | grep -vxE -f "$work/harmless")
[ -z "$unknown" ] && exit 0
echo "$program imports what the virtual device neither stands in for nor calls harmless:"
echo "$unknown"
exit 1
