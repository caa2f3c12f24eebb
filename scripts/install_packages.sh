#!/bin/bash
# Installs the Debian packages that a task needs and this machine lacks. Silent when there is nothing to do.
# Usage: install_packages.sh demo|test|format|fuzz|ci
set -euo pipefail

# CLI11 and JSON are for the market that the demonstration runs against.
demo="g++ cmake ninja-build libcli11-dev nlohmann-json3-dev"
# Boost and libgcrypt are what tests compare results with; the other libraries are what benchmarks run against.
test="$demo libgtest-dev libgmock-dev libbenchmark-dev pkgconf libboost-dev libgcrypt20-dev libgmp-dev zlib1g-dev
    libarchive-dev libquickfix-dev libabsl-dev"
format="clang-format"
fuzz="$demo clang libclang-rt-14-dev llvm"
# g++-multilib and the sources of GoogleTest are for the 32-bit build.
ci="$test $format $fuzz clang-tidy g++-multilib googletest stunnel4 openssl"

case "${1-}" in
demo | test | format | fuzz | ci) wanted=${!1} ;;
*)
    sed -n '2,3s/^# //p' "$0" >&2
    exit 2
    ;;
esac

if ! command -v dpkg-query >/dev/null; then
    echo "This is not a Debian system; taking for granted what these packages hold: $wanted"
    exit 0
fi

missing=()
for package in $wanted; do
    status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Missing packages, and no sudo to install them. As root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
    # An unattended run can't type a password: fail at once.
    [ "${CI-}" != true ] || as_root+=(--non-interactive)
fi

echo "Installing Debian packages: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt_get() {
    # The environment is set behind sudo, which drops it. A machine that has just started may hold the lock for a while.
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get --quiet --yes -o DPkg::Lock::Timeout=300 "$@" \
        </dev/null >"$log" 2>&1 || {
        cat "$log" >&2
        echo "apt-get $1 failed" >&2
        return 1
    }
}
# One unreachable source of several makes the update fail; the packages may be had all the same.
apt_get update || true
apt_get install --no-install-recommends "${missing[@]}"
