#!/usr/bin/env bash
# Exits 0 when this host runs 32-bit Linux programs, and so 32-bit Wine; exits
# 1 when it does not, with the reason on stdout. ORVIK_HOST_RUNS_32BIT=1 or 0
# gives the answer without probing (to try either path on any host).
set -uo pipefail
case "${ORVIK_HOST_RUNS_32BIT:-}" in
  1) exit 0 ;;
  0) echo "ORVIK_HOST_RUNS_32BIT=0"; exit 1 ;;
  '') ;;
  *) echo "ORVIK_HOST_RUNS_32BIT must be 0 or 1, not '$ORVIK_HOST_RUNS_32BIT'" >&2; exit 2 ;;
esac
# The loader of i386 programs, which 32-bit Wine's own loader needs, is a
# small 32-bit program itself.
if out=$(/lib/ld-linux.so.2 --version 2>&1 </dev/null); then
  exit 0
fi
out=${out%%$'\n'*}
echo "/lib/ld-linux.so.2: ${out##*ld-linux.so.2: }"
exit 1
