#!/bin/bash
# parallel_test.sh K4SIM PROGRAM: a campaign that GNU parallel spreads comes to the results of one
# process.
set -euo pipefail
k4sim=$1 program=$2
command -v parallel >/dev/null || { echo "no parallel: scripts/setup --slurm installs it"; exit 77; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
faults=(--boards engine --faults 'link-[ad]*')
"$k4sim" campaign --out whole "${faults[@]}" -- "$program" run
parallel --sshlogin 2/: --halt soon,fail=1 \
    "$k4sim" campaign --shard {}/3 --jobs 1 --out part-{} "${faults[@]@Q}" -- "$program" run ::: 1 2 3
cmp <(sort whole/results.jsonl) <(sort part-*/results.jsonl)
"$k4sim" coverage --out all part-* | grep "single faults are detected"
