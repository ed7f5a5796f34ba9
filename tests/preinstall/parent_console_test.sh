#!/usr/bin/env bash
# An unattended run's error reaches the console of the process that started
# the bootstrapper. Under Wine that console is only reachable from a program
# started with DETACHED_PROCESS by a console launcher on a pseudo-terminal.
# Usage: parent_console_test.sh WINE_RUN BIN_DIR
set -euo pipefail
wine_run=$1
bin=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cp "$bin/preinstall.exe" "$scratch/setup.exe"

check() { # ARGUMENTS EXPECTED_CODE EXPECTED_TEXT
  local output
  # A wide terminal, then Wine's cursor movements turned back into text.
  output=$(script -qc "stty cols 2000; '$wine_run' '$bin/console_launcher.exe' '$scratch/setup.exe' $1" /dev/null |
    sed -E 's/\x1b\[1C/ /g; s/\x1b\[[0-9;?]*[A-Za-z]//g' | tr -d '\r')
  if ! grep -qF "exit code: $2" <<<"$output"; then
    echo "FAIL: '$1' did not exit with $2:"; echo "$output"; return 1
  fi
  if ! grep -qF "$3" <<<"$output"; then
    echo "FAIL: '$1' did not write: $3"; echo "$output"; return 1
  fi
  echo "ok: '$1' exited with $2 and wrote its error to the console"
}

check "/q" -126318 \
  "The command-line includes one or more obsolete options. Remove '/q' from the command-line and reinstall."
check "--quiet" -126304 \
  "An error occurred when launching the following required file:"
