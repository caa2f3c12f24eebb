#!/bin/bash
# Installs the build into a scratch prefix, builds small hosts against it as a user would, and runs them: by
# find_package with the shared library, by pkg-config with the archive; each with and without a Cur_Qapi of its own.
#
# The environment gives BUILD (build directory), HOST (source of the hosts), LIBDIR (below the prefix), CMAKE, GENERATOR,
# CXX, FLAGS (what the library was built with and a host must be too), RUNNER (put before a program to run it) and PAGES
# (what there must be of the reference of fields).
set -euo pipefail

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

fail() {
    echo "FAILED: $*"
    exit 1
}

quietly() { # shows a command's output only if it fails
    "$@" >"$scratch/output" 2>&1 || { cat "$scratch/output"; fail "$*"; }
}

run_host() {
    echo "-- $1"
    mkdir -p "$scratch/empty"
    (cd "$scratch/empty" && $RUNNER "$2") || fail "$1"
    rm -rf "$scratch/empty"
}

# Staged below DESTDIR and then moved to where it was not built for: nothing may depend on the place.
DESTDIR=$scratch/stage quietly "$CMAKE" --install "$BUILD" --prefix /opt/quentar
mv "$scratch/stage/opt/quentar" "$prefix"
for file in include/qcapi/{qcapi,errors,host}.h "$LIBDIR"/libqapi.{a,so,so.3,so.3.0.0} "$LIBDIR/pkgconfig/qapi.pc" \
    "$LIBDIR"/cmake/qapi/qapi-{config,config-version}.cmake $PAGES; do
    [ -e "$prefix/$file" ] || fail "$file is not installed"
done
headers=$(cd "$prefix/include" && find . -type f | sort | tr '\n' ' ')
[ "$headers" = "./qcapi/errors.h ./qcapi/host.h ./qcapi/qcapi.h " ] || fail "headers installed: $headers"

# The conveniences compile as C++17 without a warning, and leave no macro behind that the interface does not leave.
conveniences=$HOST/conveniences.cpp
quietly "$CXX" $FLAGS -std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
    -I"$prefix/include" -fsyntax-only "$conveniences"
macros=$(echo '#include <qcapi/host.h>' | "$CXX" $FLAGS -std=c++17 -I"$prefix/include" -x c++ -dD -E - |
    awk '/^# [0-9]+ /{ours = /qcapi\/host\.h/} ours && /^#define/{print $2} ours && /^#undef/{print "-" $2}')
for macro in $(grep -v '^-' <<<"$macros" || true); do
    grep -qFx -- "-${macro%%(*}" <<<"$macros" || fail "host.h leaves the macro $macro"
done

quietly "$CMAKE" -S "$HOST" -B "$scratch/host" -G "$GENERATOR" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_FLAGS="$FLAGS"
quietly "$CMAKE" --build "$scratch/host"
run_host "find_package, shared" "$scratch/host/shared_host"
run_host "find_package, shared, with a Cur_Qapi of its own" "$scratch/host/shared_host_with_pointer"
run_host "find_package, static" "$scratch/host/static_host"
run_host "find_package, conveniences" "$scratch/host/conveniences"
readelf -d "$scratch/host/shared_host" | grep -q 'NEEDED.*\[libqapi.so.3\]' || fail "the shared host needs no libqapi.so.3"

export PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig
compile_static() { # program, further flags
    # shellcheck disable=SC2046,SC2086
    quietly "$CXX" $FLAGS -std=c++17 "${@:2}" "$HOST/host.cpp" -o "$1" $(pkg-config --cflags qapi) \
        -Wl,-Bstatic $(pkg-config --static --libs qapi) -Wl,-Bdynamic
}
compile_static "$scratch/static"
run_host "pkg-config, static" "$scratch/static"
compile_static "$scratch/static_with_pointer" -DHOST_DEFINES_CUR_QAPI
run_host "pkg-config, static, with a Cur_Qapi of its own" "$scratch/static_with_pointer"
! readelf -d "$scratch/static" | grep -q libqapi || fail "the static host needs libqapi.so"
