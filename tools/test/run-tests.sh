#!/usr/bin/env bash
# Runs the CTest suite of a build tree under Wine: every test of the 32-bit
# tree (BUILD_DIR), on a host that runs 32-bit programs. On a host that does
# not (see host-runs-32bit.sh) it runs what such a host can: the packing
# tool's tests built as 64-bit programs (BUILD_DIR/x64, under the 64-bit Wine
# loader alone) and the host-side tests. It ends with one line naming every
# skipped test and why (skipped-tests.py), over the trees it ran and the native
# tree's last run; on a host without 32-bit support that line also counts the
# 32-bit tree's tests, which did not run. A ctest run in which no test ran
# fails. The exit code tells whether everything that ran passed.
# Usage: run-tests.sh BUILD_DIR [ctest arguments...]
#
# Each tree gets one persistent wineserver for its prefix, so that each test
# program starts in milliseconds instead of seconds; the server is stopped
# again when the tree's tests end, whatever their result.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:?usage: run-tests.sh BUILD_DIR [ctest args]}" && pwd)
shift

if [ -z "${ORVIK_IN_XVFB:-}" ]; then
  export ORVIK_IN_XVFB=1
  exec xvfb-run -a -s "-screen 0 1024x768x24 -nolisten tcp" "$0" "$build" "$@"
fi

export WINEDEBUG=-all
export WINEDLLOVERRIDES=mscoree,mshtml=

# Starts the persistent server of TREE's prefix, made on first use.
start_wine() {
  export WINEPREFIX=$1/wineprefix
  "$1/wine-run" cmd /c exit 0 >/dev/null 2>&1 || true
  # A server left from that start (or an interrupted run) would refuse -p.
  wineserver -k >/dev/null 2>&1 || true
  wineserver -w >/dev/null 2>&1 || true
  wineserver -p >/dev/null 2>&1 </dev/null
  # Wine's background services (device manager, desktop) start with the first
  # program and outlive it, holding its output open: start them here, detached
  # from CTest's pipes, or CTest would wait for them.
  "$1/wine-run" cmd /c exit 0 >/dev/null 2>&1 </dev/null || true
}

stop_wine() {
  wineserver -k >/dev/null 2>&1 || true
}

mounted=()
cleanup() {
  stop_wine
  if [ ${#mounted[@]} -gt 0 ]; then
    umount "${mounted[@]}" 2>/dev/null || true
  fi
}
trap cleanup EXIT

# Mounts a tmpfs with OPTIONS on DIR when this user may; exports VAR=DIR when
# a file system is mounted there.
small_fs() {  # VAR DIR OPTIONS
  mkdir -p "$2"
  if [ "$(id -u)" -eq 0 ] && ! mountpoint -q "$2" && mount -t tmpfs -o "$3" tmpfs "$2" 2>/dev/null; then
    mounted+=("$2")
  fi
  if mountpoint -q "$2"; then
    export "$1=$2"
  fi
}

# Runs TREE's tests; its results go to TREE/ctest-results.xml.
run_ctest() {  # TREE [ctest arguments...]
  (cd "$1" && shift && ctest --output-on-failure --no-tests=error -j "$(nproc)" \
    --output-junit ctest-results.xml "$@")
}

# A small file system for the disk-full tests, and a read-only one for the
# unwritable-temporary-folder test (as root, Wine's file permissions would not
# stop a write). Without them those tests are skipped.
small_fs ORVIK_TINY_FS "$build/tinyfs" size=1m
small_fs ORVIK_READONLY_FS "$build/readonlyfs" size=64k,ro

status=0
rm -f "$build/ctest-results.xml" "$build/x64/ctest-results.xml"
if ! reason=$(bash "$here/host-runs-32bit.sh"); then
  start_wine "$build/x64"
  run_ctest "$build/x64" "$@" || status=1
  stop_wine
  bash "$build/host-tests.sh" || status=1
  # The 32-bit test programs cannot even list their cases here: count the
  # cases their sources declare.
  cases=$(cat "$here"/../../tests/{shared,preinstall,tools}/*.cpp "$here"/../../tests/shared/*/*.cpp |
    grep -cE '^(TEST|TEST_F|TEST_P)\(' || true)
  scripted=$(grep -c . "$build/wine-scripted-tests.txt" || true)
  notrun="$cases Wine test cases of the 32-bit test programs and $scripted scripted Wine tests"
  python3 "$here/skipped-tests.py" \
    --also "$notrun (this host cannot run 32-bit programs: $reason)" "$build/native" "$build/x64"
  exit "$status"
fi

start_wine "$build"
run_ctest "$build" "$@" || status=1
python3 "$here/skipped-tests.py" "$build/native" "$build"
exit "$status"
