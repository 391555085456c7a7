#!/usr/bin/env bash
# Installs the build, moves the prefix, and builds and runs against it what the pages print, to the letter, each as a project
# of its own that knows nothing but the prefix: check.sh BUILD_FOLDER
set -eEuo pipefail
trap 'echo "check.sh: line $LINENO: $BASH_COMMAND gave $?"' ERR
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/bvinstall.XXXXXX")
trap 'rm -rf "$work"' EXIT

fail() {
    echo "$1"
    exit 1
}

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
export PREFIX=$work/moved

# block PAGE NAME: the block of a page that begins with a line "```language NAME".
block() {
    awk -v name="$2" '/^```/ { if (inside) exit; inside = $2 == name; next } inside' "$root/$1" | grep . ||
        fail "$1 has no block $2" >&2
}
# project FOLDER PAGE FILE...: a folder with files as the page prints them.
project() {
    local folder=$work/$1 page=$2 file
    shift 2
    mkdir -p "$folder"
    for file in "$@"; do block "$page" "$file" >"$folder/$file"; done
}
# follow FOLDER PAGE NAME: the commands of a block, in a folder, with a registry of its own.
follow() {
    (cd "$work/$1" && block "$2" "$3" | BV_REGISTRY=$work/$1/registry.db bash -euo pipefail) >"$work/log" 2>&1 || {
        cat "$work/log"
        fail "$2: the commands of $3 fail"
    }
    tail -n 2 "$work/log"
}
# gives WANTED COMMAND...: the command's last line.
gives() {
    local wanted=$1 said
    shift
    said=$("$@" | tail -n 1)
    [ "$said" = "$wanted" ] || fail "$*: \"$said\" instead of \"$wanted\""
}

if grep -rIlF -e "$root" -e "$work/first" "$PREFIX"; then
    fail "The files above hold a path of the machine that built them."
fi

# --- Windows: the same sources by a cross build, run under Wine --------------------------------------------------------
if [ -f "$build/bin/BVSchema.dll" ]; then
    unset BV_REGISTRY
    export BV_WINEPREFIX=$work/wineprefix
    windows_path() { printf 'Z:%s' "${1//\//\\}"; }
    bvhost() { "$root/scripts/run-wine.sh" "$PREFIX/bin/bvhost.exe" "$@" | tr -d '\r'; }
    cross() {
        cmake -G Ninja -S "$work/$1" -B "$work/$1/build" --toolchain "$root/cmake/mingw-w64-x86_64.cmake" \
            -DBVSchema_DIR="$PREFIX/lib/cmake/BVSchema" >/dev/null
        cmake --build "$work/$1/build" >/dev/null
    }
    project host README.md host.cpp CMakeLists.txt
    project layer docs/host-layer.md layer.cpp CMakeLists.txt
    project grain docs/component-guide.md grain.cpp CMakeLists.txt
    cp -r "$root/samples/components" "$here/resources" "$work"
    for each in host layer grain components resources; do cross $each; done
    bvhost register >/dev/null
    # Unregistering gives its order to those that come after.
    bvhost unregister "$(windows_path "$PREFIX/bin/BVSamples.dll")" >/dev/null
    bvhost register "$(windows_path "$work/components/build/BVSamples.dll")" \
        "$(windows_path "$work/grain/build/grain.dll")" "$(windows_path "$work/resources/build/texts.dll")"
    "$root/scripts/run-wine.sh" "$work/host/build/host.exe" | grep '^Mode is set'
    printf x >"$work/layer/clip.mp4"
    cd "$work/layer"
    "$root/scripts/run-wine.sh" "$work/layer/build/layer.exe" | grep '^read back, the same'
    exit 0
fi

# --- Linux --------------------------------------------------------------------------------------------------------------
while read -r file; do
    # A literal $ORIGIN.
    # shellcheck disable=SC2016
    if readelf -d "$file" 2>/dev/null | grep -E 'R(UN)?PATH' | grep -v '\[\$ORIGIN'; then
        fail "$file looks for libraries in a folder of the machine that built it."
    fi
done < <(find "$PREFIX" -type f \( -name '*.so*' -o -path '*/bin/*' \))

# The packages that the page names are those that the set-up installs.
tr -s '` ' '\n' <"$root/README.md" >"$work/words"
while read -r package; do
    grep -qxF -- "$package" "$work/words" || fail "README.md doesn't name the package $package"
done < <(sed -n 's/^    local \(build\|samples\)="\(.*\)"$/\2/p' "$root/scripts/setup.sh" | tr ' ' '\n')

# A host, in both ways.
project host README.md host.cpp CMakeLists.txt
follow host README.md by-cmake
mkdir "$work/host2" && cp "$work/host/host.cpp" "$work/host2"
follow host2 README.md by-pkg-config
for host in host/build/host host2/host; do
    BV_REGISTRY=$work/host/registry.db gives "Mode is set" "$work/$host"
done

# The same on the layer for hosts, in both ways.
project layer docs/host-layer.md layer.cpp CMakeLists.txt
printf x >"$work/layer/clip.mp4"
cmake -G Ninja -S "$work/layer" -B "$work/layer/build" -DCMAKE_PREFIX_PATH="$PREFIX" >/dev/null
cmake --build "$work/layer/build" >/dev/null
# The flags are words.
# shellcheck disable=SC2046
(cd "$work/layer" && export PKG_CONFIG_PATH=$PREFIX/lib/pkgconfig &&
    g++ -std=c++20 layer.cpp -o layer $(pkg-config --cflags --libs bvschema-host) \
        -Wl,-rpath,"$(pkg-config --variable=libdir bvschema)")
for layer in layer/build/layer layer/layer; do
    (cd "$work/layer" && BV_REGISTRY=$work/host/registry.db gives "read back, the same" "$work/$layer")
done

# The Python package, by the page's commands, with the system's own Python.
if [ -d "$build/python" ]; then
    mkdir "$work/python"
    printf x >"$work/python/Übung 日本.mp4"
    block docs/python.md example.py >"$work/python/example.py"
    (
        cd "$work/python"
        { block docs/python.md install && echo python3 example.py; } |
            PATH=/usr/bin:$PATH BV_REGISTRY=$work/python/registry.db bash -euo pipefail >"$work/log" 2>&1
    ) || fail "$(cat "$work/log")"
    grep -x 'Length: 250 ms' "$work/log"
fi

# Its one folder of headers offers no other library a Windows, and without C++20 one line says what is missing.
printf '#include <bvschema/platform.h>\n#if __has_include(<windows.h>)\n#error "a <windows.h>"\n#endif\n%s\n' \
    'LPCOLESTR text = OLESTR("text");' >"$work/names.cpp"
g++ -std=c++17 -fsyntax-only -I"$PREFIX/include" "$work/names.cpp"
if g++ -std=c++17 -fsyntax-only -I"$PREFIX/include" "$work/host/host.cpp" 2>"$work/errors"; then
    fail "C++17 is enough?"
fi
if [ "$(grep -c 'error: #error .*needs C++20' "$work/errors")" != 1 ] || grep -q 'error: [^#b]' "$work/errors"; then
    fail "Without C++20: $(cat "$work/errors")"
fi

# A component module, in both ways, and a host that finds its filter.
project grain docs/component-guide.md grain.cpp CMakeLists.txt
follow grain docs/component-guide.md by-cmake
mkdir "$work/grain2" && cp "$work/grain/grain.cpp" "$work/grain2"
follow grain2 docs/component-guide.md by-pkg-config
project find docs/component-guide.md find.cpp
project find README.md CMakeLists.txt
sed -i 's/host\.cpp/find.cpp/' "$work/find/CMakeLists.txt"
cmake -G Ninja -S "$work/find" -B "$work/find/build" -DCMAKE_PREFIX_PATH="$PREFIX" >/dev/null
cmake --build "$work/find/build" >/dev/null
for grain in grain grain2; do
    export BV_REGISTRY=$work/$grain/registry.db
    "$work/find/build/host" >"$work/found"
    grep -qx "added: My grain" "$work/found" || fail "$grain: found $(cat "$work/found")"
done

# Without its entry a module isn't registered under another's name: it says why, and nothing leads to the program.
export BV_REGISTRY=$work/bare.db PKG_CONFIG_PATH=$PREFIX/lib/pkgconfig
"$PREFIX/bin/bvhost" register >/dev/null
# The flags are words.
# shellcheck disable=SC2046
g++ -std=c++20 -shared -fPIC "$work/grain/grain.cpp" -o "$work/bare.so" $(pkg-config --cflags --libs bvschema)
if "$PREFIX/bin/bvhost" register "$work/bare.so" >"$work/log" 2>&1; then fail "A module without its entry is registered"; fi
grep -q 'bare.so: .*without its module entry' "$work/log" || fail "$(cat "$work/log")"
if "$PREFIX/bin/bvhost" registry | grep -F "$PREFIX/bin/bvhost"; then fail "The program is registered as a module"; fi

# The sample module, and one with resources, by the package's function alone.
cp -r "$root/samples/components" "$here/resources" "$work"
for each in components resources; do
    cmake -G Ninja -S "$work/$each" -B "$work/$each/build" -DCMAKE_PREFIX_PATH="$PREFIX" >/dev/null
    cmake --build "$work/$each/build" >/dev/null
done
export BV_REGISTRY=$work/samples.db
"$PREFIX/bin/bvhost" register "$PREFIX/lib/bvschema/BVSchema.so" "$work/components/build/BVSamples.so" \
    "$work/resources/build/texts.so"
"$PREFIX/bin/bvhost" tree --format MP4 | grep 'FastStart' >/dev/null || fail "The sample's formats aren't found"

# The tool finds its modules in a prefix of any name, whatever the locale.
named="$work/Übung 日本 'a' \$x"
mv "$PREFIX" "$named"
export BV_REGISTRY="$named/registry.db" LC_ALL=C
[ "$("$named/bin/bvhost" register | grep -cF "registered    $named/")" = 2 ]
"$named/bin/bvhost" tree >/dev/null
