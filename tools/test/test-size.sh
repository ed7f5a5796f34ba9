#!/usr/bin/env bash
# Prints the lines of the tests, the lines of the rest of the code and their
# ratio; exits 1 when the ratio is above the project's limit (0.35).
# Tests: every file under tests/ except the fuzzers' seed corpora. Code:
# source/, tools/, samples/, bench/, cmake/ and the Makefile, except data
# (the message catalog .tsv, .dat files) and documents (.md).
set -euo pipefail
cd "$(dirname "$0")/../.."
count() { find "$@" -type f -print0 | xargs -0 cat | wc -l; }
tests=$(count tests -path tests/fuzz/corpus -prune -o)
code=$(count source tools samples bench cmake Makefile \
  ! -name '*.tsv' ! -name '*.dat' ! -name '*.md')
awk -v t="$tests" -v c="$code" 'BEGIN {
  r = t / c
  printf "tests: %d lines\ncode: %d lines\nratio: %.4f (limit 0.35)\n", t, c, r
  exit r > 0.35 ? 1 : 0
}'
