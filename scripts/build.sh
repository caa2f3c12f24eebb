#!/bin/bash
# Configures a preset of CMakePresets.json, if it isn't yet, and brings its build up to date.
# Usage: build.sh PRESET
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1

# Ninja runs CMake again by itself when a CMake file has changed, but it doesn't know the presets.
if [ ! -e "build/$preset/build.ninja" ] || [ CMakePresets.json -nt "build/$preset/build.ninja" ]; then
    cmake --preset "$preset"
fi
cmake --build --preset "$preset"
