#!/usr/bin/env bash
# Fails when a program calls a delay-loaded function through an import declaration: the linker
# then leaves that function's loading thunk out (an absolute 0 symbol) and the call jumps to 0.
# Usage: check-delay-thunks.sh NM DEF_DIR PROGRAM... (DEF_DIR: the delay-import libraries' .def)
set -euo pipefail
nm=$1 defs=$2 status=0
shift 2
for program in "$@"; do
  missing=$(comm -12 <(awk 'NR > 2 && NF {print "_" $1}' "$defs"/*.def | sort -u) \
    <("$nm" "$program" | awk '$1 == "00000000" && $2 == "A" {print $3}' | sort -u))
  [ -z "$missing" ] || { echo "$program: delay-loaded without a thunk:" $missing; status=1; }
done
exit $status
