#!/usr/bin/env bash
# The Windows package under wine: msiexec installs it silently (files, Start-menu shortcut, Run
# entry, Event Log source, Programs and Features), a newer build replaces it in place, an older
# one is refused, and removing it takes away what it installed and keeps the settings. In a
# network namespace of its own with only loopback and a wine prefix of its own.
# "windows_package_test.sh WINE WIXL FOLDER" (FOLDER: the package's description, the program
# and the server file, as the msi target leaves them)
set -euo pipefail
wine=$1
wixl=$2
folder=$3
if [[ ! -x $wixl ]]; then
  echo "skipped: needs wixl"
  exit 77
fi
source "$(dirname "$0")/private_network.sh"

work=$(mktemp -d)
cleanup() {
  WINEPREFIX=$work/prefix "$wineserver" -k 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
export WINEPREFIX=$work/prefix WINEDEBUG=-all CHRONVALE_NO_SET_CLOCK=1 TZ=UTC HOME=$work
fail() { echo "FAIL: $*"; exit 1; }

# Packages of three versions from the one description: an older, this one, a newer.
version=$(sed -n 's/.*Version="\([0-9.]*\)".*/\1/p' "$folder/ChronvaleServer.wxs" | head -1)
cp "$folder/QBK_CVL_Server.exe" "$folder/QBK_CVLS4.CVL" "$work/"
for v in 0.0.1 "$version" 99.0.0; do
  sed "s/Version=\"$version\"/Version=\"$v\"/g" "$folder/ChronvaleServer.wxs" >"$work/package.wxs"
  (cd "$work" && "$wixl" -a x64 -o "package-$v.msi" package.wxs 2>/dev/null) || fail "wixl $v"
done

"$wine" wineboot -i </dev/null >/dev/null 2>&1
"$wineserver" -w
"$wineserver" -p
reg_has() { "$wine" reg query "$1" /v "$2" </dev/null 2>/dev/null | grep -q REG_; }
installed="$WINEPREFIX/drive_c/Program Files/Chronvale Server"
uninstall_entries() {
  "$wine" reg query 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall' /s </dev/null \
    2>/dev/null | grep -c "DisplayName.*Chronvale Server" || true
}

"$wine" msiexec /i "Z:${work//\//\\}\\package-$version.msi" /qn </dev/null >/dev/null 2>&1 \
  || fail "install"
[[ -f $installed/QBK_CVL_Server.exe && -f $installed/QBK_CVLS4.CVL ]] || fail "files not installed"
reg_has 'HKLM\Software\Microsoft\Windows\CurrentVersion\Run' "Chronvale Server" \
  || fail "no Run entry"
"$wine" reg query 'HKLM\Software\Microsoft\Windows\CurrentVersion\Run' /v "Chronvale Server" \
  </dev/null | grep -q 'C:\\Program Files\\Chronvale Server\\QBK_CVL_Server.exe' \
  || fail "the Run entry does not name the installed program"
reg_has 'HKLM\SYSTEM\CurrentControlSet\Services\EventLog\Application\Chronvale Server' \
  EventMessageFile || fail "no Event Log source"
[[ $(uninstall_entries) -eq 1 ]] || fail "no single Programs and Features entry"
find "$WINEPREFIX/drive_c" -name "Chronvale Server.lnk" | grep -q . || fail "no Start-menu shortcut"

# The operator's settings, which no package version may touch.
"$wine" reg add 'HKLM\Software\Chronvale Server' /v NTP37 /t REG_SZ /d YES:YES:NO:10037 /f \
  </dev/null >/dev/null 2>&1
"$wine" msiexec /i "Z:${work//\//\\}\\package-0.0.1.msi" /qn </dev/null >/dev/null 2>&1 \
  && fail "an older package installed over a newer one"
"$wine" msiexec /i "Z:${work//\//\\}\\package-99.0.0.msi" /qn </dev/null >/dev/null 2>&1 \
  || fail "upgrade"
[[ $(uninstall_entries) -eq 1 ]] || fail "the upgrade left two entries"
"$wine" reg query 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall' /s </dev/null \
  | grep -q "DisplayVersion.*99.0.0" || fail "the upgrade's version is not the one listed"

"$wine" msiexec /x "Z:${work//\//\\}\\package-99.0.0.msi" /qn </dev/null >/dev/null 2>&1 \
  || fail "uninstall"
[[ ! -f $installed/QBK_CVL_Server.exe ]] || fail "the program stayed"
reg_has 'HKLM\Software\Microsoft\Windows\CurrentVersion\Run' "Chronvale Server" \
  && fail "the Run entry stayed"
[[ $(uninstall_entries) -eq 0 ]] || fail "the Programs and Features entry stayed"
"$wine" reg query 'HKLM\Software\Chronvale Server' /v NTP37 </dev/null | grep -q 10037 \
  || fail "the settings went with the program"

# As a service, with a setting given. The shipped server file names real hosts; in this
# namespace there is no route to them, and the clock is left alone.
"$wine" msiexec /i "Z:${work//\//\\}\\package-$version.msi" /qn SERVICE=1 \
  UNIX519=YES:YES:YES:10519 REGION=EU </dev/null >/dev/null 2>&1 || fail "install as a service"
"$wine" sc query ChronvaleServer </dev/null | grep -q RUNNING || fail "the service is not running"
reg_has 'HKLM\Software\Microsoft\Windows\CurrentVersion\Run' "Chronvale Server" \
  && fail "a Run entry beside the service"
"$wine" reg query 'HKLM\Software\Chronvale Server' /v UNIX519 </dev/null | grep -q 10519 \
  || fail "the setting given was not written"
"$wine" reg query 'HKLM\Software\Chronvale Server' /v NTP37 </dev/null | grep -q 10037 \
  || fail "a setting not given was changed"
"$wine" reg query 'HKLM\Software\Chronvale Server' /v Settings </dev/null | grep -q ':EU:' \
  || fail "the region given was not written"
# msiexec does not wait for the service to end: stop it first, as an administrator would.
"$wine" net stop ChronvaleServer </dev/null >/dev/null 2>&1 || fail "net stop"
"$wine" msiexec /x "Z:${work//\//\\}\\package-$version.msi" /qn </dev/null >/dev/null 2>&1 \
  || fail "uninstall of the service"
"$wine" sc query ChronvaleServer </dev/null 2>&1 | grep -q RUNNING && fail "the service stayed"
[[ ! -f $installed/QBK_CVL_Server.exe ]] || fail "the program stayed after the service"
echo "PASS"
