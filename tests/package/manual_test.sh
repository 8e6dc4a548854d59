#!/bin/bash
# manual_test.sh SCRIPTS K4SIM FOLDER: the manual is what k4sim tells, complete, in order, and free of
# what troff and mandoc complain about.
set -uo pipefail
scripts=$1 k4sim=$2 folder=$3
order="NAME SYNOPSIS DESCRIPTION OPTIONS COMMANDS FILES EXAMPLES EXIT_STATUS BUGS SEE_ALSO AUTHOR"
failed=0
wrong() {
    echo "$1"
    failed=1
}

"$scripts/manual" --check "$k4sim" || failed=1
for page in "$folder"/*.in; do
    sections=$(sed -n 's/^\.SH //p' "$page" | tr ' ' _)
    ordered=$(for name in $order; do grep -x "$name" <<<"$sections"; done)
    [ "$sections" = "$ordered" ] || wrong "$page: sections out of order, or unknown: "$sections
    complaints=$(groff -ww -man -Tutf8 -z "$page" 2>&1; man -l --warnings "$page" 2>&1 >/dev/null;
        ! command -v mandoc >/dev/null || mandoc -Tlint -W warning "$page" 2>&1)
    [ -z "$complaints" ] || wrong "$page: $complaints"
done

# Whatever a scenario may say is in its page.
scenario() {
    printf '%b\nno_such_key = 1\n' "$1" | "$k4sim" check - 2>&1 |
        sed -n 's/.*known are //p' | sed 's/;.*//; s/,/ /g; s/ or / /g'
}
for table in '' '[[step]]' '[[expect]]'; do
    keys=$(scenario "$table")
    [ -n "$keys" ] || wrong "$table: k4sim tells no keys"
    for key in $keys; do
        grep -qx "\.B $key" "$folder/k4sim-scenario.5.in" || wrong "k4sim-scenario(5): no $key $table"
    done
done

version=$("$k4sim" --version)
grep -q "^k4sim [0-9][0-9.]*$" <<<"$version" || wrong "--version tells $version"
exit $failed
