#!/bin/bash
# Runs clang-tidy over the library's sources, or those given, with warnings as errors. Needs a build directory that was
# configured with clang.
# Usage: run_clang_tidy.sh [-p DIRECTORY] [SOURCE...]
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/clang
if [ "${1-}" = -p ]; then
    build=$2
    shift 2
fi
[ $# -gt 0 ] || mapfile -t sources < <(git ls-files 'src/*.cpp')
[ $# -eq 0 ] || sources=("$@")

# clang-tidy tells on the error stream how many warnings of system headers it left out; what matters is on the other.
# One source at a time, so that the long ones don't wait behind each other.
printf '%s\0' "${sources[@]}" |
    xargs -0 -n 1 -P "$(nproc)" clang-tidy -p "$build" --quiet --warnings-as-errors='*' 2> >(grep -v 'warnings generated' >&2)
