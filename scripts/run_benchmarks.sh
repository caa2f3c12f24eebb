#!/bin/bash
# Runs every benchmark in a build directory and repeats the lines of their ratios at the end. Further arguments go to
# each of them.
# Usage: run_benchmarks.sh DIRECTORY [--benchmark_...]
set -euo pipefail
directory=$1
shift
output=$(mktemp)
trap 'rm -f "$output"' EXIT

benchmarks=0
for benchmark in "$directory"/*_bench; do
    [ -x "$benchmark" ] || continue
    echo "== $(basename "$benchmark")"
    "$benchmark" "$@" | tee -a "$output"
    benchmarks=$((benchmarks + 1))
done
[ "$benchmarks" -gt 0 ] || { echo "no benchmarks in $directory"; exit 1; }
echo "== ratios"
grep '^ratio ' "$output" || echo "none was printed"
