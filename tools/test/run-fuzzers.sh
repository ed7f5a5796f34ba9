#!/usr/bin/env bash
# Runs every fuzz target of a native build for SECONDS seconds each, starting
# from its seed corpus in tests/fuzz/corpus, and prints the executions per
# target. Exits non-zero when any target finds a crash, a leak or a sanitizer
# report; the reproducing input is kept in BUILD/fuzz-findings/<target>.
#
# The archive manager target writes fuzzed entry paths (absolute ones,
# ".." components) on purpose. It runs as an unprivileged user in a private
# mount namespace whose world-writable folders (/tmp, /var/tmp, /dev/shm,
# /run/lock) are fresh, empty tmpfs mounts, so that nothing it unpacks can
# land elsewhere.
#
# Usage: run-fuzzers.sh BUILD_DIR SECONDS [TARGET...]   (default: every target)
set -euo pipefail

build=$(cd "$1" && pwd)
seconds=$2
shift 2
root=$(cd "$(dirname "$0")/../.." && pwd)
targets=(OnlineInstallFuzzer IniReaderFuzzer VersionCompareFuzzer CommandLineFuzzer
  FormatMessageFuzzer ArchiveManagerFuzzer)
if [ $# -gt 0 ]; then
  targets=("$@")
fi
findings=$build/fuzz-findings
mkdir -p "$findings"
for target in "${targets[@]}"; do
  rm -f "$findings/$target"-* "$findings/$target.log"
done
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

failed=0
summary=()

# Runs one target in the current process's view of the file system.
run_plain() {
  local target=$1 work=$2
  (cd "$work" && "$build/fuzz/$target" -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix="$findings/$target-" corpus "$root/tests/fuzz/corpus/$target")
}

# Runs the archive target inside the sandbox described above. The target and
# its seeds are staged in a folder under /run first, as the checkout itself
# may lie under one of the folders the sandbox replaces.
run_sandboxed() {
  local target=$1 log=$2 box status=0
  if [ "$(id -u)" -ne 0 ]; then
    echo "run-fuzzers: $target needs root to build its sandbox; not run" >&2
    return 1
  fi
  box=$(mktemp -d /run/orvik-fuzz.XXXXXX)
  mkdir -p "$box/scratch" "$box/corpus" "$box/seeds"
  cp "$build/fuzz/$target" "$box/"
  cp "$root/tests/fuzz/corpus/$target/"* "$box/seeds/"
  chown -R nobody:nogroup "$box"
  unshare --mount --propagation private -- bash -euo pipefail -c '
    box=$1; target=$2; seconds=$3
    for world in /tmp /var/tmp /dev/shm /run/lock; do
      mount -t tmpfs -o size=1g tmpfs "$world"
    done
    cd "$box"
    exec setpriv --reuid=nobody --regid=nogroup --clear-groups \
      env HOME="$box" ORVIK_FUZZ_SCRATCH="$box/scratch" \
      "./$target" -max_total_time="$seconds" -print_final_stats=1 \
      -artifact_prefix="$box/finding-" corpus seeds
  ' sandbox "$box" "$target" "$seconds" >"$log" 2>&1 || status=$?
  for f in "$box"/finding-*; do
    if [ -e "$f" ]; then cp "$f" "$findings/$target-${f##*/finding-}"; fi
  done
  rm -rf "$box"
  return $status
}

for target in "${targets[@]}"; do
  log=$findings/$target.log
  status=0
  if [ "$target" = ArchiveManagerFuzzer ]; then
    run_sandboxed "$target" "$log" || status=$?
  else
    work=$(mktemp -d)
    mkdir -p "$work/corpus"
    run_plain "$target" "$work" >"$log" 2>&1 || status=$?
    rm -rf "$work"
  fi
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  if [ "$status" -ne 0 ]; then
    failed=1
    summary+=("$target: FAILED (exit $status) after ${runs:-?} executions; see $log")
    tail -n 40 "$log" >&2
  else
    summary+=("$target: ${runs:-?} executions in ${seconds} s, no finding")
  fi
done

printf '%s\n' "${summary[@]}"
exit $failed
