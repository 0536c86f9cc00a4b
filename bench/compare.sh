#!/usr/bin/env bash
# Compares Chronvale Server with chronyd (NTP) and openbsd-inetd's internal time and daytime
# services, on loopback, in a network namespace of its own so that every server can use its
# standard port and nothing else on this machine is touched. Each server is pinned to core 0,
# the load to core 1; rounds alternate between the servers so drift hits all alike.
#
#   bench/compare.sh [SECONDS_PER_RUN] [ROUNDS] [log-off]   (default 5 s, 3 rounds; as root)
#
# With "log-off" the server keeps its request log switched off in memory (a switch for the
# benchmarks only), so that the price of writing a record per request shows by comparison.
#
# Needs: a build in build/ (cmake --build build; CHRONVALE_BUILD_DIR names another), iproute2, util-linux (taskset); chronyd and
# inetd are compared when installed. Never sets the clock: the server runs with
# --no-set-clock and CHRONVALE_NO_SET_CLOCK=1, chronyd with -x.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-5}
rounds=${2:-3}
log_mode=${3:-log-on}
[[ $log_mode == log-on || $log_mode == log-off ]] || { echo "third argument: log-off" >&2; exit 2; }
root=$PWD
build=${CHRONVALE_BUILD_DIR:-$root/build}
loadgen=$build/bench/loadgen
server=$build/src/app/chronvale-server
[[ -x $loadgen && -x $server ]] || { echo "build first: cmake --build build" >&2; exit 2; }

work=$(mktemp -d)
ns=cvlbench$$
pids=()
cvl="" chrony="" inetd="" responder=""
cleanup() {
  # `ip netns exec` may fork: the processes found by name are ended as well as their launchers.
  for pid in "${pids[@]}" ${cvl:-} ${chrony:-} ${inetd:-} ${responder:-}; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  ip netns delete "$ns" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT INT TERM
ip netns add "$ns"
ip netns exec "$ns" ip link set lo up
inns() { ip netns exec "$ns" "$@"; }
# The process whose command line mentions $2 and whose name is $1 (not its launcher).
pid_of() {
  local pid
  for _ in $(seq 50); do
    for pid in $(pgrep -f -- "$2"); do
      [[ $(cat "/proc/$pid/comm" 2>/dev/null) == "$1"* ]] && { echo "$pid"; return; }
    done
    sleep 0.1
  done
  echo "no $1 process found" >&2; exit 1
}

# --- the servers -----------------------------------------------------------------------------
mkdir -p "$work/data"
printf 'h\r\nh\r\nh\r\nh\r\nh\r\n127.0.0.1:::Loopback NA:::2:::\r\n' > "$work/data/QBK_CVLS4.CVL"
cat > "$work/settings.conf" <<CONF
[General]
Settings=NO:59:Minutes/s:NA:36
DTS13=YES:YES:YES:1013
NTP37=YES:YES:YES:1037
SNTP123=YES:YES:YES:1123
UNIX519=YES:YES:YES:1519
CVL3777=NO:YES:NO:3777
CONF
inns taskset -c 1 "$loadgen" --respond 1999 & pids+=($!)
responder=$(pid_of loadgen "--respond 1999")
inns env CHRONVALE_NO_SET_CLOCK=1 XDG_CONFIG_HOME="$work/xdg" \
  CHRONVALE_BENCH_LOG_OFF=$([[ $log_mode == log-off ]] && echo 1 || echo 0) taskset -c 0 "$server" --headless \
  --no-set-clock --settings "$work/settings.conf" --data-dir "$work/data" --reference-port 1999 \
  2> "$work/server.err" & pids+=($!)
cvl=$(pid_of chronvale-serv "$work/settings.conf")
for _ in $(seq 50); do grep -q Synchronized "$work/server.err" && break; sleep 0.1; done
grep -q Synchronized "$work/server.err" || { echo "server did not synchronise" >&2; exit 1; }
rss() { awk '/VmRSS/{print $2}' "/proc/$1/status"; }
cvl_idle_rss=$(rss "$cvl")

chrony=""
if command -v chronyd >/dev/null; then
  cat > "$work/chrony.conf" <<CONF
port 123
allow 127.0.0.1
local stratum 8
cmdport 0
pidfile $work/chronyd.pid
CONF
  inns taskset -c 0 chronyd -x -d -u root -f "$work/chrony.conf" > "$work/chronyd.log" 2>&1 & pids+=($!)
  chrony=$(pid_of chronyd "$work/chrony.conf")
  sleep 1
fi
inetd=""
if command -v inetd >/dev/null; then
  printf 'time stream tcp nowait root internal\ndaytime stream tcp nowait root internal\n' > "$work/inetd.conf"
  inns taskset -c 0 inetd -i "$work/inetd.conf" > "$work/inetd.log" 2>&1 & pids+=($!)
  inetd=$(pid_of inetd "$work/inetd.conf")
  sleep 0.5
fi

# --- measuring -----------------------------------------------------------------------------
# Time on a core in nanoseconds, all threads (the scheduler's own count, finer than the 10 ms
# ticks of /proc/PID/stat); it includes the kernel's work done in the process's time.
cpu_ns() { cat /proc/"$1"/task/*/schedstat | awk '{n += $1} END {printf "%.0f\n", n}'; }
declare -A total_rps total_cpu total_ok total_sent total_lost all_p50 all_p99 runs
# run LABEL PID loadgen-arguments...: one run, its rate and the server's CPU per reply.
run() {
  local label=$1 pid=$2; shift 2
  local before after line ok
  before=$(cpu_ns "$pid")
  line=$(inns taskset -c 1 "$loadgen" --target 127.0.0.1 --seconds "$seconds" "$@")
  after=$(cpu_ns "$pid")
  ok=$(sed -E 's/.* ok=([0-9]+) .*/\1/' <<<"$line")
  total_rps[$label]=$(( ${total_rps[$label]:-0} + $(sed -E 's/.* rps=([0-9]+) .*/\1/' <<<"$line") ))
  all_p50[$label]+=" $(sed -E 's/.* p50_us=([0-9]+).*/\1/' <<<"$line")"
  all_p99[$label]+=" $(sed -E 's/.* p99_us=([0-9]+).*/\1/' <<<"$line")"
  total_sent[$label]=$(( ${total_sent[$label]:-0} + $(sed -E 's/.* sent=([0-9]+) .*/\1/' <<<"$line") ))
  total_lost[$label]=$(( ${total_lost[$label]:-0} + $(sed -E 's/.* sent=([0-9]+) ok=([0-9]+) bad=([0-9]+) .*/\1 - \2 - \3/' <<<"$line") ))
  total_cpu[$label]=$(( ${total_cpu[$label]:-0} + (after - before) / 1000 ))  # µs
  total_ok[$label]=$(( ${total_ok[$label]:-0} + ok ))
  runs[$label]=$(( ${runs[$label]:-0} + 1 ))
}
for round in $(seq "$rounds"); do
  echo "round $round of $rounds" >&2
  run "cvl ntp udp" "$cvl" --port 1123 --proto ntp --window 64
  [[ -n $chrony ]] && run "chronyd ntp udp" "$chrony" --port 123 --proto ntp --window 64
  run "cvl ntp paced" "$cvl" --port 1123 --proto ntp --rate 10000
  [[ -n $chrony ]] && run "chronyd ntp paced" "$chrony" --port 123 --proto ntp --rate 10000
  for proto in time daytime; do
    port=$([[ $proto == time ]] && echo 37 || echo 13)
    run "cvl $proto tcp" "$cvl" --port "10${port}" --proto "$proto" --tcp --concurrency 16
    [[ -n $inetd ]] && run "inetd $proto tcp" "$inetd" --port "$port" --proto "$proto" --tcp --concurrency 16
    # inetd's internal datagram services refuse loopback senders, so only ours runs here.
    run "cvl $proto udp" "$cvl" --port "10${port}" --proto "$proto" --window 64
  done
  run "cvl unix tcp" "$cvl" --port 1519 --proto unix --tcp --concurrency 16
  run "cvl unix udp" "$cvl" --port 1519 --proto unix --window 64
done
# Ten seconds of full load, then the server's memory.
inns taskset -c 1 "$loadgen" --target 127.0.0.1 --seconds 10 --port 1123 --proto ntp --window 64 >/dev/null
cvl_load_rss=$(rss "$cvl")

# --- the table -----------------------------------------------------------------------------
# Latency tails are the noisiest figures here (a stall of the host shows up as one run's p99),
# so the rounds' median is reported, not their mean.
median() { tr ' ' '\n' <<<"$1" | grep . | sort -n | awk '{v[NR]=$1} END{print NR ? v[int((NR+1)/2)] : 0}'; }
row() { # label
  local label=$1 n=${runs[$1]:-0}
  [[ $n -gt 0 ]] || return 0
  local rps=$(( ${total_rps[$label]} / n ))
  local p50 p99 cpu="-" loss
  p50=$(median "${all_p50[$label]}"); p99=$(median "${all_p99[$label]}")
  [[ ${total_ok[$label]} -gt 0 ]] && cpu=$(awk -v c="${total_cpu[$label]}" -v o="${total_ok[$label]}" 'BEGIN{printf "%.1f", c/o}')
  loss=$(awk -v l="${total_lost[$label]}" -v s="${total_sent[$label]}" 'BEGIN{printf "%.2f", (s > 0 ? 100*l/s : 0)}')
  printf '| %-18s | %9d | %6s | %7d | %7d | %8s |\n' "$label" "$rps" "$loss" "$p50" "$p99" "$cpu"
}
ratio() { # ours theirs field
  local a=${runs[$1]:-0} b=${runs[$2]:-0}
  [[ $a -gt 0 && $b -gt 0 ]] || { echo "-"; return; }
  awk -v x="$3" -v y="$4" 'BEGIN{ if (y > 0) printf "%.2f", x/y; else print "-" }'
}
echo
echo "Loopback, ${seconds} s a run, ${rounds} rounds, request log ${log_mode#log-}; server on core 0, load on core 1; $(date -u +%Y-%m-%d), $(nproc) cores, $(uname -r)"
echo
echo "| run                | replies/s | loss % | p50 µs  | p99 µs  | CPU µs/reply |"
echo "|--------------------|-----------|--------|---------|---------|--------------|"
for label in "cvl ntp udp" "chronyd ntp udp" "cvl ntp paced" "chronyd ntp paced" \
             "cvl time tcp" "inetd time tcp" "cvl time udp" \
             "cvl daytime tcp" "inetd daytime tcp" "cvl daytime udp" \
             "cvl unix tcp" "cvl unix udp"; do
  row "$label"
done
echo
per_run() { echo $(( ${total_rps[$1]:-0} / (${runs[$1]:-1}) )); }
cpu_per() { awk -v c="${total_cpu[$1]:-0}" -v o="${total_ok[$1]:-0}" 'BEGIN{ if (o > 0) printf "%.2f", c/o; else print 0 }'; }
p99_of() { median "${all_p99[$1]:-}"; }
echo "Ratios (this server / the other, same run):"
echo "- NTP UDP replies/s vs chronyd: $(ratio "cvl ntp udp" "chronyd ntp udp" "$(per_run "cvl ntp udp")" "$(per_run "chronyd ntp udp")")"
echo "- NTP paced 10000/s, p99 latency vs chronyd: $(ratio "cvl ntp paced" "chronyd ntp paced" "$(p99_of "cvl ntp paced")" "$(p99_of "chronyd ntp paced")")"
echo "- Time TCP CPU per connection vs inetd: $(ratio "cvl time tcp" "inetd time tcp" "$(cpu_per "cvl time tcp")" "$(cpu_per "inetd time tcp")")"
echo "- Daytime TCP CPU per connection vs inetd: $(ratio "cvl daytime tcp" "inetd daytime tcp" "$(cpu_per "cvl daytime tcp")" "$(cpu_per "inetd daytime tcp")")"
echo "- Resident memory of the headless server: ${cvl_idle_rss} kB idle, ${cvl_load_rss} kB after 10 s of full load"
