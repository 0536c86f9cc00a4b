#!/usr/bin/env bash
# Installs what building (and, with --test, testing; with --fuzz, fuzzing; with --windows,
# building for Windows and testing under wine; with --bench, bench/compare.sh) needs on
# Debian 12.
# Run as root.
# Test peers are installed without starting any daemon they bring along.
set -euo pipefail

packages=(cmake ninja-build g++ googletest qt6-base-dev qt6-qpa-plugins)
if [[ "${1:-}" == "--test" ]]; then
  packages+=(chrony rdate ntpsec-ntpdig socat util-linux iproute2)
elif [[ "${1:-}" == "--fuzz" ]]; then
  packages+=(clang libclang-rt-14-dev)
elif [[ "${1:-}" == "--bench" ]]; then
  packages+=(chrony openbsd-inetd util-linux iproute2)
elif [[ "${1:-}" == "--windows" ]]; then
  # The system tests that start the Windows program are Linux programs, with the real clients.
  packages=(cmake ninja-build g++ googletest g++-mingw-w64-x86-64-posix wine64
            chrony rdate ntpsec-ntpdig socat util-linux iproute2 xvfb xauth wixl osslsigncode openssl)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

export DEBIAN_FRONTEND=noninteractive
policy=/usr/sbin/policy-rc.d
created_policy=0
if [[ ! -e "$policy" ]]; then
  # Forbid service starts while installing: chrony must not start steering this clock.
  printf '#!/bin/sh\nexit 101\n' > "$policy"
  chmod 755 "$policy"
  created_policy=1
fi
trap '[[ $created_policy -eq 1 ]] && rm -f "$policy"' EXIT

apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
