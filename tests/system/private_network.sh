# Sourced by the Windows service and package tests, with the wine loader in $wine: runs the
# rest of the calling script in a network namespace of its own with only loopback (so that an
# installed service reaches nothing beyond this machine), or skips it (77) where the machine
# gives none. Sets $wineserver, the wine server beside $wine.
wineserver=$(dirname "$wine")/wineserver64
[[ -x $wineserver ]] || wineserver=$(dirname "$wine")/wineserver
if [[ -z ${CHRONVALE_IN_NAMESPACE:-} ]]; then
  if [[ $(id -u) -ne 0 ]] || ! command -v unshare >/dev/null || ! unshare --net true 2>/dev/null
  then
    echo "skipped: needs root and a network namespace of its own (unshare --net)"
    exit 77
  fi
  exec env CHRONVALE_IN_NAMESPACE=1 unshare --net -- "$0" "$@"
fi
ip link set lo up
