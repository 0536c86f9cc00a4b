#!/usr/bin/env bash
# Signing: with a throw-away certificate made here (never kept), the build's signing step signs
# the program and a package, and both signatures verify against that certificate.
# "windows_signing_test.sh WIXL FOLDER" (FOLDER: the program, server file and package
# description, as the msi target leaves them)
set -euo pipefail
wixl=$1
folder=$2
sign=$(dirname "$0")/../../scripts/sign-windows.sh
if ! command -v osslsigncode >/dev/null || ! command -v openssl >/dev/null || [[ ! -x $wixl ]]; then
  echo "skipped: needs osslsigncode, openssl and wixl"
  exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

openssl req -x509 -newkey rsa:2048 -nodes -days 1 -subj "/CN=Chronvale test signing" \
  -addext "extendedKeyUsage=codeSigning" -keyout "$work/key.pem" -out "$work/cert.pem" \
  2>/dev/null || fail "openssl req"
password=$(openssl rand -hex 12)
openssl pkcs12 -export -inkey "$work/key.pem" -in "$work/cert.pem" -passout "pass:$password" \
  -out "$work/test.p12" 2>/dev/null || fail "openssl pkcs12"

cp "$folder/QBK_CVL_Server.exe" "$folder/QBK_CVLS4.CVL" "$folder/ChronvaleServer.wxs" "$work/"
CHRONVALE_SIGN_PKCS12=$work/test.p12 CHRONVALE_SIGN_PASSWORD=$password \
  "$sign" "$work/QBK_CVL_Server.exe" || fail "signing the program"
(cd "$work" && "$wixl" -a x64 -o package.msi ChronvaleServer.wxs 2>/dev/null) || fail "wixl"
CHRONVALE_SIGN_PKCS12=$work/test.p12 CHRONVALE_SIGN_PASSWORD=$password \
  "$sign" "$work/package.msi" || fail "signing the package"
for file in QBK_CVL_Server.exe package.msi; do
  osslsigncode verify -CAfile "$work/cert.pem" -in "$work/$file" >"$work/verify.txt" 2>&1 \
    || { cat "$work/verify.txt"; fail "$file does not verify"; }
done
# Unsigned without a certificate.
cp "$folder/QBK_CVL_Server.exe" "$work/unsigned.exe"
CHRONVALE_SIGN_PKCS12= "$sign" "$work/unsigned.exe"
cmp -s "$folder/QBK_CVL_Server.exe" "$work/unsigned.exe" || fail "signed without a certificate"
echo "PASS"
