#!/usr/bin/env bash
# The Windows service under wine: created with sc, started with net start, it synchronises from
# a reference server of this test's own, answers a Linux client, and on net stop ends in order
# with its settings written back. Everything runs in a network namespace of its own with only
# loopback, in a wine prefix of its own: nothing leaves the machine, and the clock is left alone.
# "windows_service_test.sh WINE QBK_CVL_Server.exe"
set -euo pipefail
wine=$1
program=$2
if ! command -v python3 >/dev/null; then
  echo "skipped: needs python3"
  exit 77
fi
source "$(dirname "$0")/private_network.sh"

work=$(mktemp -d)
reference_pid=
cleanup() {
  [[ -n $reference_pid ]] && kill "$reference_pid" 2>/dev/null || true
  WINEPREFIX=$work/prefix "$wineserver" -k 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
export WINEPREFIX=$work/prefix WINEDEBUG=-all CHRONVALE_NO_SET_CLOCK=1 TZ=UTC HOME=$work
fail() { echo "FAIL: $*"; exit 1; }

# A reference server on loopback: answers every 48-byte request with the present time.
reference_port=21123
python3 "$(dirname "$0")/reference_responder.py" "$reference_port" &
reference_pid=$!

mkdir -p "$work/data"
printf 'h1\r\nh2\r\nh3\r\nh4\r\nh5\r\n127.0.0.1:::Loopback NA:::2:::\r\n' >"$work/data/QBK_CVLS4.CVL"
windows_path() { echo "Z:${1//\//\\}"; }

"$wine" wineboot -i </dev/null >/dev/null 2>&1
"$wineserver" -w
# A service dies with its prefix's wine server: keep it for the test.
"$wineserver" -p
# The first program of the new server starts the control manager, whose services inherit its
# trace settings and output: the events the service writes show there (wine keeps no Event Log
# of its own).
WINEDEBUG=+eventlog "$wine" sc create ChronvaleServer start= demand binpath= "$(windows_path "$program") --service \
--no-set-clock --data-dir $(windows_path "$work/data") --reference-port $reference_port \
--update-server 127.0.0.1:9" </dev/null >/dev/null 2>"$work/trace.txt" || fail "sc create"
"$wine" net start ChronvaleServer </dev/null >/dev/null || fail "net start"
"$wine" sc query ChronvaleServer </dev/null | grep -q RUNNING || fail "not running after net start"

# The Time service over TCP answers once the clock is set: four bytes from a Linux client.
answered=
for _ in $(seq 1 40); do
  bytes=$(timeout 2 socat -u TCP:127.0.0.1:37 - 2>/dev/null | wc -c || true)
  if [[ $bytes -eq 4 ]]; then answered=1; break; fi
  sleep 0.5
done
[[ -n $answered ]] || fail "the Time service did not answer over TCP"
# Every service the default settings enable: Time over UDP, Unix time over TCP, NTP
# over UDP to a real client without the right to set the clock, the client protocol's listener.
bytes=$(printf x | timeout 3 socat -t 2 - UDP:127.0.0.1:37 2>/dev/null | wc -c || true)
[[ $bytes -eq 4 ]] || fail "the Time service did not answer over UDP"
bytes=$(timeout 3 socat -u TCP:127.0.0.1:519 - 2>/dev/null | wc -c || true)
[[ $bytes -eq 4 ]] || fail "the Unix time service did not answer over TCP"
if command -v ntpdig >/dev/null && command -v setpriv >/dev/null; then
  setpriv --bounding-set -sys_time --inh-caps -sys_time -- ntpdig -t 3 127.0.0.1 \
    >"$work/ntpdig.txt" 2>&1 || { cat "$work/ntpdig.txt"; fail "no NTP answer for ntpdig"; }
fi
timeout 3 socat -u /dev/null TCP:127.0.0.1:3777,connect-timeout=2 2>/dev/null \
  || fail "the client protocol's listener did not take a connection"

"$wine" reg delete 'HKLM\Software\Chronvale Server' /v OpenMinimized /f </dev/null >/dev/null 2>&1 || true
"$wine" net stop ChronvaleServer </dev/null >/dev/null || fail "net stop"
"$wine" sc query ChronvaleServer </dev/null | grep -q STOPPED || fail "not stopped after net stop"
for event in "started as the service ChronvaleServer" "First synchronisation" "stopped; its settings"; do
  grep -q "ReportEvent.*$event" "$work/trace.txt" || { grep -i "eventlog" "$work/trace.txt" | head -5; fail "no event \"$event\" in the Event Log"; }
done
"$wine" reg query 'HKLM\Software\Chronvale Server' /v OpenMinimized </dev/null | grep -q REG_SZ \
  || fail "the settings were not written back at the stop"

# Started by hand, --service says what it is for and ends with 2.
set +e
"$wine" "$program" --service </dev/null >"$work/by-hand.txt" 2>&1
status=$?
set -e
[[ $status -eq 2 ]] || fail "--service by hand ended with $status, not 2"
grep -q "service control manager" "$work/by-hand.txt" || fail "--service by hand said nothing"
"$wine" sc delete ChronvaleServer </dev/null >/dev/null
echo "PASS"
