#!/usr/bin/env bash
# Runs the whole CTest suite of a build tree under Wine.
# Usage: run-tests.sh BUILD_DIR [ctest arguments...]
#
# Starts a virtual X display (xvfb-run) and one persistent wineserver for the
# tree's prefix, so that each test program starts in milliseconds instead of
# seconds; the server is stopped again when the run ends, whatever its result.
set -euo pipefail
build=$(cd "${1:?usage: run-tests.sh BUILD_DIR [ctest args]}" && pwd)
shift

if [ -z "${ORVIK_IN_XVFB:-}" ]; then
  export ORVIK_IN_XVFB=1
  exec xvfb-run -a -s "-screen 0 1024x768x24 -nolisten tcp" "$0" "$build" "$@"
fi

export WINEPREFIX=$build/wineprefix
export WINEDEBUG=-all
export WINEDLLOVERRIDES=mscoree,mshtml=
# First use makes the prefix.
"$build/wine-run" cmd /c exit 0 >/dev/null 2>&1 || true
# A server left from that start (or an interrupted run) would refuse -p.
wineserver -k >/dev/null 2>&1 || true
wineserver -w >/dev/null 2>&1 || true
wineserver -p >/dev/null 2>&1 </dev/null
# Wine's background services (device manager, desktop) start with the first
# program and outlive it, holding its output open: start them here, detached
# from CTest's pipes, or CTest would wait for them.
"$build/wine-run" cmd /c exit 0 >/dev/null 2>&1 </dev/null || true
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT

# A small file system for the disk-full tests, when this user may mount one.
tiny=$build/tinyfs
mkdir -p "$tiny"
if [ "$(id -u)" -eq 0 ] && ! mountpoint -q "$tiny" && mount -t tmpfs -o size=1m tmpfs "$tiny" 2>/dev/null; then
  export ORVIK_TINY_FS=$tiny
  trap 'umount "$tiny" 2>/dev/null || true; wineserver -k >/dev/null 2>&1 || true' EXIT
elif mountpoint -q "$tiny"; then
  export ORVIK_TINY_FS=$tiny
fi

# A read-only file system for the unwritable-temporary-folder test: as root,
# Wine's file permissions would not stop a write.
rofs=$build/readonlyfs
mkdir -p "$rofs"
if [ "$(id -u)" -eq 0 ] && ! mountpoint -q "$rofs" && mount -t tmpfs -o size=64k,ro tmpfs "$rofs" 2>/dev/null; then
  export ORVIK_READONLY_FS=$rofs
  trap 'umount "$tiny" "$rofs" 2>/dev/null || true; wineserver -k >/dev/null 2>&1 || true' EXIT
elif mountpoint -q "$rofs"; then
  export ORVIK_READONLY_FS=$rofs
fi

cd "$build"
ctest --output-on-failure -j "$(nproc)" "$@"
