#!/bin/sh
# A program of other sizes must name all types that differ, then abort before main.
# usage: check_wordsize.sh PROBE
ulimit -c 0
told=$("$1" 2>&1)
told="$? $told"
mismatch="Word size mismatch for '%s': Expected 4, is %d\r\n"
[ "$told" = "134 $(printf "$mismatch" long 8 pointer 8 wchar 2)" ] && exit
echo "$told"
exit 1
