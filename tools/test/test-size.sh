#!/usr/bin/env bash
# Prints the lines of the tests, the lines of the rest of the code and their
# ratio; exits 1 when the ratio is above the project's limit (0.35).
# Tests: every file under tests/ except the fuzzers' seed corpora, and the
# test infrastructure of tools/test/. Code: source/, the rest of tools/,
# samples/, bench/, cmake/ and the Makefile, except data (.tsv, .dat files)
# and documents (.md).
set -euo pipefail
cd "$(dirname "$0")/../.."
count() { find "$@" -type f -print0 | xargs -0 cat | wc -l; }
tests=$(count tests tools/test -path tests/fuzz/corpus -prune -o)
code=$(count source tools samples bench cmake Makefile -path tools/test -prune -o \
  ! -name '*.tsv' ! -name '*.dat' ! -name '*.md')
awk -v t="$tests" -v c="$code" 'BEGIN {
  r = t / c
  printf "tests: %d lines\ncode: %d lines\nratio: %.4f (limit 0.35)\n", t, c, r
  exit r > 0.35 ? 1 : 0
}'
