#!/usr/bin/env bash
# Compares Chronvale Server with chronyd (NTP) and openbsd-inetd's internal time and daytime
# services, on loopback, in a network namespace of its own so that every server can use its
# standard port and nothing else on this machine is touched. Each server is pinned to core 0,
# the load to core 1; rounds alternate between the servers so drift hits all alike.
#
#   bench/compare.sh [SECONDS_PER_RUN] [ROUNDS] [log-off]   (default 5 s, 3 rounds; as root)
#
# Each round first loads two minimal NTP responders (bench/ntp-responder) the same way as the
# server: the plain one shows what the load generator can drive, the one that writes a record
# per reply what a request log leaves. A plain responder less than 1.5 times as fast as the
# fastest server means the load, not the servers, set the rates: the run is marked load-bound
# and gives no NTP throughput ratios.
#
# With "log-off" the server measured is bench/chronvale-server-log-off, the same program with
# its request log switched off, so that the price of writing a record per request shows by
# comparison.
#
# Needs: a build in build/ (cmake --build build; CHRONVALE_BUILD_DIR names another), iproute2,
# util-linux (taskset); chronyd and inetd are compared when installed. Never sets the clock:
# the server runs with --no-set-clock and CHRONVALE_NO_SET_CLOCK=1, chronyd with -x.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-5}
rounds=${2:-3}
log_mode=${3:-log-on}
[[ $log_mode == log-on || $log_mode == log-off ]] || { echo "third argument: log-off" >&2; exit 2; }
root=$PWD
build=${CHRONVALE_BUILD_DIR:-$root/build}
loadgen=$build/bench/loadgen
responder_bin=$build/bench/ntp-responder
server=$build/src/app/chronvale-server
[[ $log_mode == log-off ]] && server=$build/bench/chronvale-server-log-off
[[ -x $loadgen && -x $responder_bin ]] ||
  { echo "build first: cmake --build $build --target loadgen ntp-responder" >&2; exit 2; }
if [[ ! -x $server && $log_mode == log-off ]]; then
  echo "log-off needs $server (the server with its request log switched off); this build has none" >&2
  exit 2
fi
[[ -x $server ]] || { echo "build first: cmake --build $build --target chronvale-server" >&2; exit 2; }

work=$(mktemp -d)
ns=cvlbench$$
pids=()
cvl="" chrony="" inetd="" responder="" plain="" logged=""
cleanup() {
  # `ip netns exec` may fork: the processes found by name are ended as well as their launchers.
  for pid in "${pids[@]}" ${cvl:-} ${chrony:-} ${inetd:-} ${responder:-} ${plain:-} ${logged:-}; do
    kill "$pid" 2>/dev/null || true
  done
  wait 2>/dev/null || true
  ip netns delete "$ns" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT INT TERM
ip netns add "$ns"
ip netns exec "$ns" ip link set lo up
inns() { ip netns exec "$ns" "$@"; }
# The process whose command line mentions $2 and whose name is $1 (not its launcher). The
# kernel keeps only the first 15 bytes of a program's name, so only those are compared.
pid_of() {
  local pid name=${1:0:15}
  for _ in $(seq 50); do
    for pid in $(pgrep -f -- "$2"); do
      [[ $(cat "/proc/$pid/comm" 2>/dev/null) == "$name" ]] && { echo "$pid"; return; }
    done
    sleep 0.1
  done
  echo "no $1 process found" >&2; exit 1
}

# --- the servers -----------------------------------------------------------------------------
mkdir -p "$work/data" "$work/home" "$work/xdg"
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
inns env CHRONVALE_NO_SET_CLOCK=1 HOME="$work/home" XDG_CONFIG_HOME="$work/xdg" \
  taskset -c 0 "$server" --headless \
  --no-set-clock --settings "$work/settings.conf" --data-dir "$work/data" --reference-port 1999 \
  2> "$work/server.err" & pids+=($!)
cvl=$(pid_of "$(basename "$server")" "$work/settings.conf")
for _ in $(seq 50); do grep -q Synchronized "$work/server.err" && break; sleep 0.1; done
grep -q Synchronized "$work/server.err" || { echo "server did not synchronise" >&2; exit 1; }
rss() { awk '/VmRSS/{print $2}' "/proc/$1/status"; }
cvl_idle_rss=$(rss "$cvl")

# The two minimal responders, on the servers' core: one only answers, one also appends a
# record per reply to a file in a folder of its own.
inns taskset -c 0 "$responder_bin" --port 2123 & pids+=($!)
plain=$(pid_of ntp-responder "--port 2123")
inns taskset -c 0 "$responder_bin" --port 2124 --log "$work/responder-log" & pids+=($!)
logged=$(pid_of ntp-responder "--port 2124")

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
per_run() { echo $(( ${total_rps[$1]:-0} / (${runs[$1]:-1}) )); }
# The same NTP load for the servers and the responders, so that the responders' rates bound theirs.
ntp_load=(--proto ntp --window 64)
for round in $(seq "$rounds"); do
  echo "round $round of $rounds" >&2
  run "responder ntp udp" "$plain" --port 2123 "${ntp_load[@]}"
  run "resp+log ntp udp" "$logged" --port 2124 "${ntp_load[@]}"
  echo "  responders: $(per_run "responder ntp udp")/s plain, $(per_run "resp+log ntp udp")/s with the log (mean so far)" >&2
  run "cvl ntp udp" "$cvl" --port 1123 "${ntp_load[@]}"
  [[ -n $chrony ]] && run "chronyd ntp udp" "$chrony" --port 123 "${ntp_load[@]}"
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
inns taskset -c 1 "$loadgen" --target 127.0.0.1 --seconds 10 --port 1123 "${ntp_load[@]}" >/dev/null
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
# The load check: the plain responder does next to nothing per request, so unless it answers
# well beyond the fastest server, the generator rather than the servers set the rates.
fastest_label="cvl ntp udp"
[[ -n $chrony && $(per_run "chronyd ntp udp") -gt $(per_run "cvl ntp udp") ]] && fastest_label="chronyd ntp udp"
fastest=$(per_run "$fastest_label")
plain_rps=$(per_run "responder ntp udp")
headroom=$(awk -v r="$plain_rps" -v f="$fastest" 'BEGIN{ printf "%.2f", (f > 0 ? r/f : 0) }')
load_bound=$(awk -v r="$plain_rps" -v f="$fastest" 'BEGIN{ print ((r < 1.5 * f || f <= 0) ? 1 : 0) }')
echo
echo "Loopback, ${seconds} s a run, ${rounds} rounds, request log ${log_mode#log-}; server on core 0, load on core 1; $(date -u +%Y-%m-%d), $(nproc) cores, $(uname -r)"
echo
echo "Minimal responders, same NTP load: $plain_rps replies/s plain, $(per_run "resp+log ntp udp") replies/s with a log record per reply"
if [[ $fastest -le 0 ]]; then
  echo "load-bound: no server answered NTP over UDP, so there is nothing to weigh the load against and no ratios are given"
elif [[ $load_bound == 1 ]]; then
  echo "load-bound: the plain responder answers only ${headroom}x the fastest server ($fastest_label, $fastest/s), less than 1.5x: the load generator set these rates, so no NTP throughput ratios are given"
else
  echo "Load check: the plain responder answers ${headroom}x the fastest server ($fastest_label, $fastest/s), at least 1.5x: the servers set these rates"
fi
echo
echo "| run                | replies/s | loss % | p50 µs  | p99 µs  | CPU µs/reply |"
echo "|--------------------|-----------|--------|---------|---------|--------------|"
for label in "responder ntp udp" "resp+log ntp udp" \
             "cvl ntp udp" "chronyd ntp udp" "cvl ntp paced" "chronyd ntp paced" \
             "cvl time tcp" "inetd time tcp" "cvl time udp" \
             "cvl daytime tcp" "inetd daytime tcp" "cvl daytime udp" \
             "cvl unix tcp" "cvl unix udp"; do
  row "$label"
done
echo
cpu_per() { awk -v c="${total_cpu[$1]:-0}" -v o="${total_ok[$1]:-0}" 'BEGIN{ if (o > 0) printf "%.2f", c/o; else print 0 }'; }
p99_of() { median "${all_p99[$1]:-}"; }
echo "Ratios (this server / the other, same run):"
if [[ $load_bound == 1 ]]; then
  # The UDP load set the throughput figures; the paced run and the TCP runs are not limited by it.
  echo "- NTP UDP replies/s: none, the run is load-bound (see above)"
else
  echo "- NTP UDP replies/s vs chronyd: $(ratio "cvl ntp udp" "chronyd ntp udp" "$(per_run "cvl ntp udp")" "$(per_run "chronyd ntp udp")")"
  echo "- NTP UDP replies/s vs the responder with a log (the ceiling a record per request allows): $(ratio "cvl ntp udp" "resp+log ntp udp" "$(per_run "cvl ntp udp")" "$(per_run "resp+log ntp udp")")"
  echo "- NTP UDP replies/s vs the plain responder: $(ratio "cvl ntp udp" "responder ntp udp" "$(per_run "cvl ntp udp")" "$(per_run "responder ntp udp")")"
fi
echo "- NTP paced 10000/s, p99 latency vs chronyd: $(ratio "cvl ntp paced" "chronyd ntp paced" "$(p99_of "cvl ntp paced")" "$(p99_of "chronyd ntp paced")")"
echo "- Time TCP CPU per connection vs inetd: $(ratio "cvl time tcp" "inetd time tcp" "$(cpu_per "cvl time tcp")" "$(cpu_per "inetd time tcp")")"
echo "- Daytime TCP CPU per connection vs inetd: $(ratio "cvl daytime tcp" "inetd daytime tcp" "$(cpu_per "cvl daytime tcp")" "$(cpu_per "inetd daytime tcp")")"
echo "- Resident memory of the headless server: ${cvl_idle_rss} kB idle, ${cvl_load_rss} kB after 10 s of full load"
