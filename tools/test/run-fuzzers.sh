#!/usr/bin/env bash
# Runs every fuzz target of a native build for SECONDS seconds each, starting
# from its seed corpus in tests/fuzz/corpus, and prints the executions per
# target. Exits non-zero when any target finds a crash, a leak or a sanitizer
# report; the reproducing input is kept in BUILD/fuzz-findings/<target>.
# SECONDS 0 replays the seeds instead: each seed file runs once, so that a past
# finding kept there stays fixed; findings of earlier runs are left alone.
# A target that cannot run (no sandbox) fails the run, its line saying
# "TARGET: not run: REASON".
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
replay=
[ "$seconds" != 0 ] || replay=.replay
for target in "${targets[@]}"; do
  [ -n "$replay" ] || rm -f "$findings/$target"-* "$findings/$target.log"
done
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

failed=0
summary=()

# The arguments of a target run from SEEDS: each seed file once, or fuzzing
# into CORPUS for the time given.
fuzz_arguments() {  # SEEDS ARTIFACT_PREFIX
  if [ -n "$replay" ]; then
    printf '%s\n' "$1"/*
  else
    printf '%s\n' -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$2" corpus "$1"
  fi
}

# Runs one target in the current process's view of the file system.
run_plain() {
  local target=$1 work=$2 arguments
  mapfile -t arguments < <(fuzz_arguments "$root/tests/fuzz/corpus/$target" "$findings/$target-")
  (cd "$work" && "$build/fuzz/$target" "${arguments[@]}")
}

# Why the sandbox below cannot be built here; nothing when it can.
sandbox_problem() {
  local out
  if [ "$(id -u)" -ne 0 ]; then
    echo "its sandbox needs root"
  elif ! out=$(unshare --mount --propagation private -- sh -c \
    'mount -t tmpfs tmpfs /tmp && setpriv --reuid=nobody --regid=nogroup --clear-groups true' 2>&1); then
    echo "its sandbox cannot be built: ${out//$'\n'/ }"
  fi
}

# Runs the archive target inside the sandbox described above. The target and
# its seeds are staged in a folder under /run first, as the checkout itself
# may lie under one of the folders the sandbox replaces.
run_sandboxed() {
  local target=$1 log=$2 box status=0 arguments
  box=$(mktemp -d /run/orvik-fuzz.XXXXXX)
  mkdir -p "$box/scratch" "$box/corpus" "$box/seeds"
  cp "$build/fuzz/$target" "$box/"
  cp "$root/tests/fuzz/corpus/$target/"* "$box/seeds/"
  chown -R nobody:nogroup "$box"
  mapfile -t arguments < <(cd "$box" && fuzz_arguments seeds "$box/finding-")
  unshare --mount --propagation private -- bash -euo pipefail -c '
    box=$1; target=$2; shift 2
    for world in /tmp /var/tmp /dev/shm /run/lock; do
      mount -t tmpfs -o size=1g tmpfs "$world"
    done
    cd "$box"
    exec setpriv --reuid=nobody --regid=nogroup --clear-groups \
      env HOME="$box" ORVIK_FUZZ_SCRATCH="$box/scratch" "./$target" "$@"
  ' sandbox "$box" "$target" "${arguments[@]}" >"$log" 2>&1 || status=$?
  for f in "$box"/finding-*; do
    if [ -e "$f" ]; then cp "$f" "$findings/$target-${f##*/finding-}"; fi
  done
  rm -rf "$box"
  return $status
}

for target in "${targets[@]}"; do
  log=$findings/$target$replay.log
  status=0
  if [ "$target" = ArchiveManagerFuzzer ] && problem=$(sandbox_problem) && [ -n "$problem" ]; then
    failed=1
    summary+=("$target: not run: $problem")
    continue
  fi
  if [ "$target" = ArchiveManagerFuzzer ]; then
    run_sandboxed "$target" "$log" || status=$?
  else
    work=$(mktemp -d)
    mkdir -p "$work/corpus"
    run_plain "$target" "$work" >"$log" 2>&1 || status=$?
    rm -rf "$work"
  fi
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  if [ -n "$replay" ]; then
    runs=$(grep -c '^Executed ' "$log" || true)
  fi
  if [ "$status" -ne 0 ]; then
    failed=1
    summary+=("$target: FAILED (exit $status) after ${runs:-?} executions; see $log")
    tail -n 40 "$log" >&2
  elif [ -n "$replay" ]; then
    summary+=("$target: $runs seeds replayed, no finding")
  else
    summary+=("$target: ${runs:-?} executions in ${seconds} s, no finding")
  fi
done

printf '%s\n' "${summary[@]}"
exit $failed
