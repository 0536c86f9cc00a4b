#!/usr/bin/env bash
# Smoke run of the fuzz targets for CI: builds the fuzz preset, then runs each target for
# FUZZ_SECONDS (30 by default) from a copy of its seed corpus, so that nothing is written into
# the repository. Stops at the first crash, leak or sanitizer report and leaves the work
# folder, with the input that did it, for a look.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${FUZZ_SECONDS:-30}"
targets=(fuzz_ntp_datagram fuzz_time_datagram fuzz_server_file fuzz_update_response
         fuzz_settings_value)

cmake --preset fuzz
cmake --build --preset fuzz

work="$(mktemp -d "${TMPDIR:-/tmp}/chronvale-fuzz.XXXXXX")"
export ASAN_OPTIONS="detect_leaks=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export CHRONVALE_NO_SET_CLOCK=1
bin="$PWD/build-fuzz/tests/fuzz"
for target in "${targets[@]}"; do
  dir="$work/$target"
  mkdir -p "$dir/corpus" "$dir/tmp"
  cp tests/fuzz/corpus/"$target"/* "$dir/corpus/"
  echo "== $target: $seconds s"
  # The targets' temporary folders go inside the work folder too.
  if ! TMPDIR="$dir/tmp" "$bin/$target" -max_total_time="$seconds" -print_final_stats=1 \
         -artifact_prefix="$dir/" "$dir/corpus" >"$dir/log" 2>&1; then
    tail -n 60 "$dir/log"
    echo "$target failed; its log and input are in $dir" >&2
    exit 1
  fi
  grep -E '^stat::number_of_executed_units|^stat::average_exec_per_sec' "$dir/log" || true
done
rm -rf "$work"
echo "all fuzz targets ran clean"
