#!/bin/sh
# A 64-bit program must name both types that differ, then abort before main.
# usage: check_wordsize.sh PROBE
ulimit -c 0
expected=$(printf "Word size mismatch for 'long': Expected 4, is 8\r\nWord size mismatch for 'pointer': Expected 4, is 8\r\n")
actual=$("$1" 2>&1)
status=$?
if [ "$status" -ne 134 ]; then
    echo "exit status $status, not that of an abort: $actual"
    exit 1
fi
if [ "$actual" != "$expected" ]; then
    printf 'expected:\n%s\nactual:\n%s\n' "$expected" "$actual"
    exit 1
fi
