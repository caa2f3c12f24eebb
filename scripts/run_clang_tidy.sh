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

# Beyond so many states of one function the analyzer goes round what it knows; with the default of eleven times as many,
# the sources that instantiate a template for every table take minutes.
analyzer_limit=(-Xclang -analyzer-config -Xclang max-nodes=20000)

# clang-tidy tells on the error stream how many warnings of system headers it left out; what matters is on the other.
# One source at a time, so that the long ones don't wait behind each other.
printf '%s\0' "${sources[@]}" |
    xargs -0 -n 1 -P "$(nproc)" clang-tidy -p "$build" --quiet --warnings-as-errors='*' \
        "${analyzer_limit[@]/#/--extra-arg=}" 2> >(grep -v 'warnings generated' >&2)
