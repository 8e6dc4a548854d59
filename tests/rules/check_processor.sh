#!/bin/sh
# check_processor.sh PROGRAM: the program's own code keeps to the i686, so that it runs on a
# processor without SIMD. What is faster with SSE2 is in functions whose names end in "Sse2" and
# that are called after a look at the processor.
set -u
later='%[xyz]?mm[0-7]|[[:space:]](popcnt|lzcnt|tzcnt|movbe|crc32|fisttp|rdtscp|[lms]fence|prefetch|cmpxchg16b)'

code=$(objdump -d --no-show-raw-insn "$1") && [ -n "$code" ] || { echo "$1 can't be read"; exit 1; }
found=$(echo "$code" | awk -v later="$later" '
    /^[0-9a-f]+ </ { name = $2 }
    name !~ /Sse2/ && $0 ~ later { print name, $0 }')
[ -z "$found" ] && exit 0
echo "$1 has instructions that an i686 has not:"
echo "$found" | head -20
exit 1
