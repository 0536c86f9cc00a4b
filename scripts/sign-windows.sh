#!/usr/bin/env bash
# Signs Windows files (the program, the package) in place with Authenticode, when a certificate
# is given: CHRONVALE_SIGN_PKCS12 names a PKCS#12 file and CHRONVALE_SIGN_PASSWORD holds its
# password. Without a certificate it does nothing, so that every build works unsigned.
# Usage: scripts/sign-windows.sh FILE...
set -euo pipefail
[[ -n ${CHRONVALE_SIGN_PKCS12:-} ]] || exit 0
if ! command -v osslsigncode >/dev/null; then
  echo "sign-windows.sh: osslsigncode is not installed (Debian: osslsigncode)" >&2
  exit 1
fi
for file in "$@"; do
  signed="${file}.signing"
  rm -f "$signed" # osslsigncode writes a new file only
  # -pass reads the password from the environment, never from a file in the tree.
  osslsigncode sign -pkcs12 "$CHRONVALE_SIGN_PKCS12" -pass "${CHRONVALE_SIGN_PASSWORD:-}" \
    -n "Chronvale Server" -h sha256 -in "$file" -out "$signed" >/dev/null
  mv "$signed" "$file"
done
