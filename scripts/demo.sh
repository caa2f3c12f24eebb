#!/bin/bash
# Runs the example host in a scratch directory and shows the running log that it leaves behind.
# Usage: demo.sh BUILD_DIRECTORY
set -euo pipefail
build=$(cd "$1" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

echo "--- the host and what it hears"
"$build/examples/hello_host" "$scratch"
echo
echo "--- qapi.log, made readable by qapi-log-view"
"$build/tools/log_view/qapi-log-view" "$scratch/qapi.log"
