#!/bin/bash
# Runs the demonstration: a market and two hosts on this machine, about 25 seconds on a terminal.
# Usage: demo.sh BUILD_DIRECTORY
set -euo pipefail
exec "$1/examples/qapi-demo" "$1" "$(dirname "$0")/../tools/market/scenarios/two_banks.json"
