#!/usr/bin/env bash
# An unattended run's error reaches the console of the process that started
# the bootstrapper. Under Wine that console is only reachable from a program
# started with DETACHED_PROCESS by a console launcher on a pseudo-terminal.
# Usage: parent_console_test.sh WINE_RUN BIN_DIR
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cp "$2/preinstall.exe" "$scratch/setup.exe"

check() { # ARGUMENTS EXPECTED_CODE EXPECTED_TEXT
  local output # a wide terminal, then Wine's cursor movements turned back into text
  output=$(script -qc "stty cols 2000; '$1' '$2/console_launcher.exe' '$scratch/setup.exe' $3" /dev/null |
    sed -E 's/\x1b\[1C/ /g; s/\x1b\[[0-9;?]*[A-Za-z]//g' | tr -d '\r')
  if ! grep -qF "exit code: $4" <<<"$output" || ! grep -qF "$5" <<<"$output"; then
    echo "FAIL: '$3' should exit with $4 and write: $5"; echo "$output"; return 1
  fi
  echo "ok: '$3' exited with $4 and wrote its error to the console"
}

check "$1" "$2" "/q" -126318 \
  "The command-line includes one or more obsolete options. Remove '/q' from the command-line and reinstall."
check "$1" "$2" "--quiet" -126304 "An error occurred when launching the following required file:"
