#!/bin/sh
# check_faults.sh K4SIM FOLDER: every fault that the virtual K/4 lists is in a system test.
set -u
names=$("$1" faults | grep -oE '^[a-z][a-z0-9]*-[a-z0-9-]+')
[ "$(echo "$names" | wc -l)" -gt 10 ] || { echo "no list of faults"; exit 1; }
status=0
for name in $names; do
    grep -rqE "[\" ]$name[=@\"]" "$2" && continue
    echo "no system test of the fault $name"
    status=1
done
exit $status
