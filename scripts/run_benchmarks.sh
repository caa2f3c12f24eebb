#!/bin/bash
# Runs every benchmark in a build directory. Further arguments go to each of them.
# Usage: run_benchmarks.sh DIRECTORY [--benchmark_...]
set -euo pipefail
directory=$1
shift

benchmarks=0
for benchmark in "$directory"/*_bench; do
    [ -x "$benchmark" ] || continue
    echo "== $(basename "$benchmark")"
    "$benchmark" "$@"
    benchmarks=$((benchmarks + 1))
done
[ "$benchmarks" -gt 0 ] || { echo "no benchmarks in $directory"; exit 1; }
