#!/usr/bin/env bash
# Runs the benchmarks (bench/run_bench.py) on a virtual display in the
# benchmarks' own Wine prefix, BUILD_DIR/bench/wineprefix, whose server is
# stopped again when the run ends, whatever its result.
# Usage: run-bench.sh BUILD_DIR [run_bench.py options]
set -euo pipefail
build=$(cd "${1:?usage: run-bench.sh BUILD_DIR [options]}" && pwd)
shift
here=$(cd "$(dirname "$0")" && pwd)

if [ -z "${ORVIK_IN_XVFB:-}" ]; then
  export ORVIK_IN_XVFB=1
  exec xvfb-run -a -s "-screen 0 1024x768x24 -nolisten tcp" "$0" "$build" "$@"
fi

export WINEPREFIX=$build/bench/wineprefix
unset WINEARCH
mkdir -p "$build/bench"
trap 'wineserver -k >/dev/null 2>&1 || true' EXIT
python3 "$here/run_bench.py" "$build" "$@"
