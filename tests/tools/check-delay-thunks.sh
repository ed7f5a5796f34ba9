#!/usr/bin/env bash
# Fails when a program calls a delay-loaded function through an import declaration: the linker
# then leaves that function's loading thunk out (an absolute 0 symbol) and the call jumps to 0.
# Also fails when any step fails or finds nothing to check (no delay-loaded function listed, a
# program without symbols).
# Usage: check-delay-thunks.sh NM DEF_DIR PROGRAM... (DEF_DIR: the delay-import libraries' .def)
set -euo pipefail
nm=$1 defs=$2 status=0
shift 2
delayed=$(awk 'NR > 2 && NF {print "_" $1}' "$defs"/*.def | sort -u)
[ -n "$delayed" ] || { echo "$defs: no delay-loaded function listed"; exit 1; }
for program in "$@"; do
  symbols=$("$nm" "$program")
  [ -n "$symbols" ] || { echo "$program: no symbols"; exit 1; }
  zeros=$(awk '$1 == "00000000" && $2 == "A" {print $3}' <<<"$symbols" | sort -u)
  missing=$(comm -12 <(printf '%s\n' "$delayed") <(printf '%s\n' "$zeros"))
  [ -z "$missing" ] || { echo "$program: delay-loaded without a thunk:" $missing; status=1; }
done
exit $status
