#!/usr/bin/env bash
# Installs the build, moves the prefix, and builds and runs a host against it that knows nothing but the prefix, once by
# the CMake package and once by pkg-config: check.sh BUILD_FOLDER
set -eEuo pipefail
trap 'echo "check.sh: line $LINENO: $BASH_COMMAND gave $?"' ERR
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/bvinstall.XXXXXX")
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
prefix=$work/moved

if grep -rIlF -e "$root" -e "$work/first" "$prefix"; then
    echo "The files above hold a path of the machine that built them."
    exit 1
fi
while read -r file; do
    # A literal $ORIGIN.
    # shellcheck disable=SC2016
    if readelf -d "$file" 2>/dev/null | grep -E 'R(UN)?PATH' | grep -v '\[\$ORIGIN'; then
        echo "$file looks for libraries in a folder of the machine that built it."
        exit 1
    fi
done < <(find "$prefix" -type f \( -name '*.so*' -o -path '*/bin/*' \))

cmake -G Ninja -S "$here/host" -B "$work/host" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Debug
cmake --build "$work/host"
by_package=$("$root/scripts/run-native.sh" "$work/host/host" "$(cat "$work/host/module")")
echo "$by_package"

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name bvschema.pc)")
export PKG_CONFIG_PATH
# The flags are words.
# shellcheck disable=SC2046
g++ -std=c++20 "$here/host/host.cpp" -o "$work/host2" $(pkg-config --cflags --libs bvschema) \
    "-Wl,-rpath,$(pkg-config --variable=libdir bvschema)"
by_pkg_config=$("$root/scripts/run-native.sh" "$work/host2" "$(pkg-config --variable=module bvschema)")

grep -qx Common <<<"$by_package"
[ "$by_package" = "$by_pkg_config" ]

# The tool finds its modules in a prefix of any name, whatever the locale.
named="$work/Übung 日本 'a' \$x"
mv "$prefix" "$named"
export BV_REGISTRY="$named/registry.db" LC_ALL=C
[ "$("$named/bin/bvhost" register | grep -cF "registered    $named/")" = 2 ]
"$named/bin/bvhost" tree >/dev/null
