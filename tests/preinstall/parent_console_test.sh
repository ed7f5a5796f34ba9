#!/usr/bin/env bash
# An unattended run's error reaches the console of the process that started the bootstrapper.
# Under Wine that console is only reachable from a program started with DETACHED_PROCESS by a
# console launcher on a pseudo-terminal. Usage: parent_console_test.sh WINE_RUN BIN_DIR
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cp "$2/preinstall.exe" "$scratch/setup.exe"
for run in "/q|-126318|Remove '/q' from the command-line" \
  "--quiet|-126304|launching the following"; do
  IFS='|' read -r arguments code text <<<"$run"
  # A wide terminal, then Wine's cursor movements turned back into text.
  output=$(script -qc "stty cols 2000; '$1' '$2/child_recorder.exe' --launch '$scratch/setup.exe' \
    $arguments" /dev/null | sed -E 's/\x1b\[1C/ /g; s/\x1b\[[0-9;?]*[A-Za-z]//g' | tr -d '\r')
  grep -qF "exit code: $code" <<<"$output" && grep -qF "$text" <<<"$output" ||
    { echo "FAIL: '$arguments' should exit with $code and write: $text"; echo "$output"; exit 1; }
  echo "ok: '$arguments' exited with $code and wrote its error to the console"
done
