#!/bin/bash
# slurm_test.sh SCRIPTS K4SIM PROGRAM: a campaign on a Slurm cluster of two nodes, one of which dies
# in the middle, comes to the results of one process. The cluster is real, and this test's own: its
# daemons all run here.
set -uo pipefail
scripts=$1 k4sim=$2 program=$3
export PATH=$PATH:/usr/sbin
for need in munged slurmctld slurmd sbatch unshare; do
    command -v "$need" >/dev/null || { echo "no $need: scripts/setup --slurm installs it"; exit 77; }
done
unshare --pid --mount-proc --fork --kill-child true 2>/dev/null ||
    { echo "this system has no process namespaces for this user"; exit 77; }

folder=$(mktemp -d)
chmod 755 "$folder"
daemons=()
cleanup() {
    [ "${#daemons[@]}" -eq 0 ] || kill -KILL "${daemons[@]}" 2>/dev/null
    wait
    rm -rf "$folder"
}
trap cleanup EXIT
fail() {
    echo "$1"
    tail -n 20 "$folder"/*.log "$folder"/out/*.log
    exit 1
}

# Each of them, with all that it starts, is gone when its first process is.
daemon() {
    unshare --pid --mount-proc --fork --kill-child "${@:2}" >"$folder/$1.log" 2>&1 &
    daemons+=($!)
}

# soon COMMAND...: until it succeeds; clusters live in real time.
soon() {
    for ((i = 0; i < 1200; ++i)); do
        "$@" >/dev/null 2>&1 && return 0
        read -rt 0.1 <> <(:)
    done
    fail "never came: $*"
}

free_ports() {
    python3 - <<'P'
import socket
ends = [socket.socket() for _ in range(3)]
for end in ends:
    end.bind(("127.0.0.1", 0))
print(*(end.getsockname()[1] for end in ends))
P
}

read -r control first second < <(free_ports)
user=$(id -un)
dd if=/dev/urandom of="$folder/key" bs=64 count=1 status=none
chmod 600 "$folder/key"
cat >"$folder/slurm.conf" <<C
ClusterName=k4
SlurmctldHost=$(hostname -s)(127.0.0.1)
SlurmctldPort=$control
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$folder/munge.socket,cred_expire=5
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool-%n
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd-%n.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SwitchType=switch/none
MpiDefault=none
ReturnToService=2
SlurmdTimeout=10
MessageTimeout=10
SchedulerParameters=sched_interval=1,sched_min_interval=0,batch_sched_delay=0
NodeName=one NodeHostname=$(hostname -s) NodeAddr=127.0.0.1 Port=$first CPUs=1
NodeName=two NodeHostname=$(hostname -s) NodeAddr=127.0.0.1 Port=$second CPUs=1
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
C
mkdir "$folder/state" "$folder/spool-one" "$folder/spool-two"
export SLURM_CONF=$folder/slurm.conf

daemon munged munged --foreground --force --socket="$folder/munge.socket" \
    --key-file="$folder/key" --pid-file="$folder/munged.pid" --seed-file="$folder/seed" \
    --log-file="$folder/munged-own.log"
soon test -S "$folder/munge.socket"
daemon slurmctld slurmctld -D
daemon one slurmd -D -N one
daemon two slurmd -D -N two
second_node=${daemons[-1]}
both_idle() { [ "$(sinfo -h -t idle -o %D)" = 2 ]; }
soon both_idle

faults=(--boards engine --faults 'serial-*')
plain=$folder/one-process
"$k4sim" campaign --out "$plain" "${faults[@]}" -- "$program" run || fail "one process: status $?"

joining=$("$scripts/campaign.sbatch" "$folder/out" 2 "$k4sim" "${faults[@]}" -- "$program" run) ||
    fail "not submitted"

# Of the part that runs on the second node.
part_there() { squeue -h -w two -t running -o %K | grep .; }
soon part_there
part=$(part_there)
soon test -s "$folder/out/part-$part/results.jsonl"
kill -KILL "$second_node"
done_there=$(wc -l <"$folder/out/part-$part/results.jsonl")

over() { left=$(squeue -h -j "$joining") && [ -z "$left" ]; }
soon over
grep -q 'due to failure of node two' "$folder/slurmctld.log" || fail "node two was not missed"
sort "$plain/results.jsonl" | cmp - "$folder/out/all/results.jsonl" || fail "other results"
cmp <(sort "$folder"/out/part-*/results.jsonl) "$folder/out/all/results.jsonl" ||
    fail "the parts left something to the one that joins"
grep -q "single faults are detected" "$folder/out/all.log" || fail "no coverage"
all_of_part=$(wc -l <"$folder/out/part-$part/results.jsonl")
[ "$done_there" -lt "$all_of_part" ] || fail "node two died too late"
echo "part $part went on on the other node after $done_there of $all_of_part runs"
