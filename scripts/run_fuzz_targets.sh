#!/bin/bash
# Runs every fuzz target in a build directory for some seconds each, from its seeds in fuzz/corpus. New inputs and crash
# files go below the build directory: fuzz/corpus is never written.
# Usage: run_fuzz_targets.sh DIRECTORY SECONDS
set -euo pipefail
directory=$(cd "$1" && pwd)
seconds=$2
cd "$(dirname "$0")/.."

targets=0
for target in "$directory"/*_fuzz; do
    [ -x "$target" ] || continue
    name=$(basename "$target")
    found=$directory/found/$name
    log=$found.log
    mkdir -p "$found"
    echo "== $name, $seconds s"
    if ! ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
        "$target" -max_total_time="$seconds" -timeout=10 -artifact_prefix="$found.crash-" -print_final_stats=1 \
        "$found" "fuzz/corpus/$name" >"$log" 2>&1; then
        tail -n 80 "$log"
        echo "FAILED: $name; the whole output is $log, the input lies beside it"
        exit 1
    fi
    grep -E 'number_of_executed_units|new_units_added' "$log" | sed 's/^stat:://'
    targets=$((targets + 1))
done
[ "$targets" -gt 0 ] || { echo "no fuzz targets in $directory"; exit 1; }
