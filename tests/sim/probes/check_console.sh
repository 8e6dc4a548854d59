#!/bin/sh
# check_console.sh PROBE LIBRARY: what a recorded process leaves, however it ends.
set -u
probe=$1
library=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0

# expect WHAT EXPECTED FOUND
expect() {
    [ "$2" = "$3" ] && return
    printf '%s\nexpected: %s\nfound:    %s\n' "$1" "$2" "$3"
    failed=1
}

# run END STATUS LAST-EVENT: runs the probe; its console must be complete on the real
# descriptors and in the record.
run() {
    K4SIM_SETUP=$setup LD_PRELOAD=$library "$probe" "$1" >"$folder/out" 2>"$folder/error" 3>"$folder/record"
    expect "$1: status" "$2" $?
    expect "$1: output" "$(printf 'output "quoted"\npast stdio \344\nno line end')" "$(cat "$folder/out")"
    expect "$1: error" "$(printf 'error\r')" "$(cat "$folder/error")"
    expect "$1: record" "$(printf '%s\n' \
        '{"t":0,"source":"console","event":"text","stream":1,"text":"output \"quoted\"\u000a"}' \
        '{"t":1000,"source":"console","event":"text","stream":2,"text":"error\u000d\u000a"}' \
        '{"t":2000,"source":"console","event":"text","stream":1,"text":"past stdio \u00e4\u000a"}' \
        '{"t":3000,"source":"console","event":"text","stream":1,"text":"no line end"}')" \
        "$(grep '"console"' "$folder/record" | sed -E 's/"t":(3000|5000000)/"t":3000/')"
    expect "$1: last event" "$3" "$(tail -n 1 "$folder/record")"
    expect "$1: nibbles of the picture at the end" 16384 "$(sed -n -E 's/.*"event":"final-picture","pixels":"([0-9a-f]*)"\}$/\1/p' "$folder/record" | tr -d '\n' | wc -c)"
}

setup='board none
operator none
seed 1
limit 5000000
report 3
'
run exit 3 '{"t":3000,"source":"program","event":"end"}'
run deadlock 125 '{"t":3000,"source":"program","event":"deadlock"}'
run forever 124 '{"t":5000000,"source":"program","event":"limit"}'
exit $failed
