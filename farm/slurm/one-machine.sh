#!/usr/bin/env bash
# A Slurm cluster of this machine alone, for tests and for a first look; needs no service manager and nothing in /etc.
# Usage: one-machine.sh start FOLDER [CPUS]   writes FOLDER/slurm.conf, starts munged, slurmctld and slurmd, waits until
#                                             the node is idle and prints the line SLURM_CONF=...
#        one-machine.sh stop FOLDER           ends them
#        one-machine.sh controller-stop|controller-start FOLDER
# Packages: slurm-wlm, munge. Ports: SLURM_PORT (controller) and the one behind it, else two that are free.
set -eu
act=${1:?start, stop, controller-stop or controller-start}
folder=${2:?folder}
export SLURM_CONF=$folder/slurm.conf
export PATH=$PATH:/usr/sbin:/sbin

end() { # pid file
  local pid
  pid=$(cat "$1" 2>/dev/null) || return 0
  kill "$pid" 2>/dev/null || return 0
  for _ in $(seq 100); do
    kill -0 "$pid" 2>/dev/null || return 0
    sleep 0.1
  done
  kill -9 "$pid" 2>/dev/null || true
}

controller() {
  slurmctld >/dev/null 2>&1
  for _ in $(seq 150); do
    [ -n "$(sinfo -h -o %P 2>/dev/null)" ] && return 0
    sleep 0.1
  done
  echo "slurmctld doesn't answer:" >&2
  tail -n 20 "$folder/slurmctld.log" >&2
  return 1
}

case $act in
controller-stop) end "$folder/slurmctld.pid"; exit 0 ;;
controller-start) controller; exit 0 ;;
stop)
  scancel --user="$(id -un)" --quiet 2>/dev/null || true
  for one in slurmd slurmctld munged; do end "$folder/$one.pid"; done
  exit 0
  ;;
start) ;;
*) echo "$act: not known" >&2; exit 2 ;;
esac

for program in munged slurmctld slurmd sbatch squeue scontrol; do
  command -v $program >/dev/null || { echo "$program isn't installed" >&2; exit 3; }
done
# Where there is no network but this machine's own, the C library resolves no address at all until lo has a second one.
python3 -c 'import socket as s; s.getaddrinfo("127.0.0.1", 1, s.AF_INET, flags=s.AI_ADDRCONFIG)' 2>/dev/null ||
  ip address add 127.0.0.2/8 dev lo 2>/dev/null || true
mkdir -p "$folder"
folder=$(cd "$folder" && pwd)
export SLURM_CONF=$folder/slurm.conf
mkdir -p "$folder/state" "$folder/spool"
chmod 700 "$folder" 2>/dev/null || true
host=$(hostname -s)
user=$(id -un)
cpus=${3:-4}
port=${SLURM_PORT:-$(python3 -c '
import socket
while True:
    first, second = socket.socket(), socket.socket()
    first.bind(("127.0.0.1", 0))
    try:
        second.bind(("127.0.0.1", first.getsockname()[1] + 1))
    except OSError:
        continue
    print(first.getsockname()[1])
    break
')}
cat >"$folder/slurm.conf" <<CONF
ClusterName=localfarm
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$port
SlurmdPort=$((port + 1))
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$folder/munge.socket
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
SlurmctldLogFile=$folder/slurmctld.log
SlurmdLogFile=$folder/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
JobCompType=jobcomp/filetxt
JobCompLoc=$folder/jobcomp.txt
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=batch_sched_delay=0,sched_interval=1,sched_min_interval=200000
SlurmdParameters=config_overrides
MaxArraySize=100001
MaxJobCount=200000
ReturnToService=2
KillWait=2
MessageTimeout=5
NodeName=$host NodeAddr=127.0.0.1 CPUs=$cpus State=UNKNOWN
PartitionName=farm Nodes=ALL Default=YES MaxTime=INFINITE State=UP
CONF
touch "$folder/jobcomp.txt"
if [ ! -s "$folder/munge.key" ]; then
  (umask 077 && head -c 1024 /dev/urandom >"$folder/munge.key")
fi
munged --force --key-file="$folder/munge.key" --socket="$folder/munge.socket" --pid-file="$folder/munged.pid" \
  --log-file="$folder/munged.log" --seed-file="$folder/munged.seed" >/dev/null 2>&1
controller
slurmd -N "$host" >/dev/null 2>&1
for _ in $(seq 200); do
  case $(sinfo -h -o %t 2>/dev/null) in
  idle | mix | alloc)
    echo "SLURM_CONF=$folder/slurm.conf"
    exit 0
    ;;
  esac
  sleep 0.1
done
echo "the node doesn't come up:" >&2
tail -n 20 "$folder/slurmd.log" >&2
exit 1
