#!/bin/bash
# Fails, with the places, if a C++ source in git is not as clang-format would write it. `make format` mends it.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror
