#!/usr/bin/env bash
# Fails when a program calls a delay-loaded function through an import
# declaration: the linker then leaves that function's loading thunk out (its
# symbol becomes an absolute 0) and the first call jumps to address 0.
# Usage: check-delay-thunks.sh NM DEF_DIR PROGRAM...
# DEF_DIR holds the module definitions of the delay-import libraries.
set -euo pipefail
nm=$1
defs=$2
shift 2
delayed=$(mktemp)
trap 'rm -f "$delayed"' EXIT
awk 'NR > 2 && NF {print "_" $1}' "$defs"/*.def | sort -u >"$delayed"
status=0
for program in "$@"; do
  missing=$("$nm" "$program" | awk '$1 == "00000000" && $2 == "A" {print $3}' | sort -u |
    comm -12 - "$delayed")
  if [ -n "$missing" ]; then
    echo "$program: delay-loaded functions without their loading thunk:" $missing
    status=1
  fi
done
exit $status
