#!/bin/bash
# static_test.sh SCRIPTS K4SIM STATIC PROGRAM: the static program is small, needs no more than it is
# said to, and does what the usual one does.
set -euo pipefail
scripts=$1 k4sim=$2 static=$3 program=$4
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
same() { [ "$2" = "$3" ] || { echo "$1: $2 instead of $3"; exit 1; }; }
below() { [ "$2" -lt "$3" ] || { echo "$1: $2, not below $3"; exit 1; }; }

same "libraries" "$(objdump -p "$static" | awk '/NEEDED/ { print $2 }' | sort | xargs)" \
    "ld-linux.so.2 libasound.so.2 libc.so.6 libm.so.6"
same "glibc of the usual program" "$("$scripts/glibc-need" "$program")" 2.34
same "glibc, which libgcc's unwinder decides" "$("$scripts/glibc-need" "$static")" 2.35
grep -q "C library of version 2.35 or later" "$scripts/../docs/operator.md" ||
    { echo "the operator's guide tells of another C library"; exit 1; }
below "bytes" "$(stat -c %s "$static")" 500000

for one in "$static" "$program"; do
    "$k4sim" run --quiet --record "$folder/$(basename "$(dirname "$one")")" -- "$one" run >/dev/null
done
cd "$folder"
set -- *
for file in console.txt events.jsonl; do
    cmp "$1/$file" "$2/$file"
done

# 16 MB is the limit; what is measured is more than the program alone has.
peak=$(python3 -c 'import resource, subprocess, sys
subprocess.run(sys.argv[1:], check=True, stdout=subprocess.DEVNULL)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)' "$k4sim" run --quiet -- "$static" run)
below "KiB at most, of any process of a run, with the virtual device in it" "$peak" 15625
