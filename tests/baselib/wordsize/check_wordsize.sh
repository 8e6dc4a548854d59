#!/bin/sh
# A 64-bit program must name both types that differ, then abort before main.
# usage: check_wordsize.sh PROBE
ulimit -c 0
told=$("$1" 2>&1)
told="$? $told"
[ "$told" = "134 $(printf "Word size mismatch for '%s': Expected 4, is 8\r\n" long pointer)" ] && exit
echo "$told"
exit 1
