#!/usr/bin/env bash
# Checks the Debian package in a throw-away Debian 12 (bookworm) root: install with apt (which
# pulls in Debian's Qt 6), run --version and --help, remove (data kept), purge (data gone).
# Also verifies the systemd unit and the manual page on this machine. Takes several minutes and
# needs Debian's mirror; not run by ctest. Run as root from the top of the repository:
#
#   ./scripts/check-deb.sh [BUILD_DIR]        (default: build)
#
# Nothing is started on this machine: the package's program only prints its version and help
# inside the chroot, and no service manager runs there.
set -euo pipefail

build=$(realpath "${1:-build}")
chroot_dir=${CHROOT_DIR:-/tmp/chroot}
mirror=${MIRROR:-http://deb.debian.org/debian}
prefix=$(mktemp -d /tmp/cvl-prefix.XXXXXX)

step() { printf '\n== %s\n' "$*"; }
fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

cleanup() {
    mountpoint -q "$chroot_dir/proc" && umount "$chroot_dir/proc"
    rm -rf "$prefix"
}
trap cleanup EXIT

step "package"
(cd "$build" && rm -f chronvale-server_*.deb && cpack -G DEB >/dev/null)
deb=$(ls "$build"/chronvale-server_*.deb)
dpkg-deb --info "$deb" | sed -n '/Package:/p;/Depends:/p'
dpkg-deb --contents "$deb" | awk '{print $6}' | grep -v '/$'

step "manual page"
groff -man -Tutf8 -ww packaging/chronvale-server.8 >/dev/null 2>"$prefix/groff.err"
[[ -s "$prefix/groff.err" ]] && { cat "$prefix/groff.err"; fail "groff warnings"; }
lexgrog packaging/chronvale-server.8

step "desktop entry"
desktop-file-validate packaging/chronvale-server.desktop || fail "desktop entry"

step "systemd unit (installed to a temporary prefix, so that ExecStart exists here)"
cmake --install "$build" --prefix "$prefix" >/dev/null
MANPATH="$prefix/share/man" systemd-analyze verify \
    "$prefix/lib/systemd/system/chronvale-server.service"
echo "verify: no findings"

step "bookworm minbase in $chroot_dir"
if [[ ! -x "$chroot_dir/usr/bin/apt-get" ]]; then
    command -v debootstrap >/dev/null || apt-get install -y -qq debootstrap >/dev/null
    debootstrap --variant=minbase bookworm "$chroot_dir" "$mirror" >/dev/null
fi
mountpoint -q "$chroot_dir/proc" || mount -t proc proc "$chroot_dir/proc"
# No service may start from a maintainer script inside the chroot.
printf '#!/bin/sh\nexit 101\n' >"$chroot_dir/usr/sbin/policy-rc.d"
chmod 755 "$chroot_dir/usr/sbin/policy-rc.d"
cp "$deb" "$chroot_dir/root/"
in_root() { chroot "$chroot_dir" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
    DEBIAN_FRONTEND=noninteractive "$@"; }

step "install"
in_root apt-get update -qq
in_root apt-get install -y -qq --no-install-recommends "/root/$(basename "$deb")" >/dev/null
in_root dpkg -s chronvale-server | grep -E '^(Status|Version):'
in_root getent passwd chronvale || fail "no user chronvale"
in_root chronvale-server --version
in_root chronvale-server --help >/dev/null && echo "--help: exit 0"
set +e
in_root chronvale-server --frobnicate 2>/dev/null
status=$?
set -e
[[ $status -eq 2 ]] || fail "unknown option gave $status, not 2"
echo "unknown option: exit 2"

step "remove keeps the settings and the program folder"
mkdir -p "$chroot_dir/var/lib/chronvale-server/Logs" "$chroot_dir/etc/chronvale-server"
echo "Settings=YES:59:Minutes/s:EU:36" >"$chroot_dir/etc/chronvale-server/chronvale-server.conf"
touch "$chroot_dir/var/lib/chronvale-server/Logs/CVLS010126.LOG"
in_root dpkg -r chronvale-server >/dev/null
for f in /usr/bin/chronvale-server /usr/lib/systemd/system/chronvale-server.service \
    /usr/share/chronvale-server/QBK_CVLS4.CVL /usr/share/man/man8/chronvale-server.8; do
    [[ ! -e "$chroot_dir$f" ]] || fail "$f left after remove"
done
[[ -f "$chroot_dir/etc/chronvale-server/chronvale-server.conf" ]] || fail "settings removed"
[[ -f "$chroot_dir/var/lib/chronvale-server/Logs/CVLS010126.LOG" ]] || fail "logs removed"
echo "files gone, settings and logs kept"

step "purge removes them"
in_root dpkg -P chronvale-server >/dev/null
[[ ! -e "$chroot_dir/var/lib/chronvale-server" && ! -e "$chroot_dir/etc/chronvale-server" ]] ||
    fail "purge left data"
in_root dpkg -s chronvale-server >/dev/null 2>&1 && fail "still known to dpkg"
echo "purged"

step "all checks passed"
