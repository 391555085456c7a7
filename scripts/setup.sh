#!/usr/bin/env bash
# Installs from Debian's packages what is missing for one or more purposes: setup.sh build|demo|test|bench|fuzz|mutants|...
# Says nothing and changes nothing when everything is there.
set -euo pipefail

packages_for() {
    local build="cmake ninja-build g++ pkg-config libsqlite3-dev libpugixml-dev libffi-dev nlohmann-json3-dev"
    local samples="libcli11-dev libavformat-dev libavcodec-dev libavutil-dev"
    case $1 in
        build) echo "$build" ;;
        demo) echo "$build $samples" ;;
        test)
            echo "$build $samples googletest libgtest-dev libgmock-dev locales sqlite3 libxml2-utils python3-jsonschema git"
            echo "pybind11-dev python3-dev python3-pytest python3-pip python3-setuptools python3-wheel mypy"
            echo "xvfb zenity xdotool dbus-daemon at-spi2-core libglib2.0-dev"
            echo "g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools wine wine64 libwine-dev"
            ;;
        bench) echo "$build libbenchmark-dev" ;;
        fuzz) echo "$build clang libclang-rt-14-dev llvm" ;;
        mutants) echo "python3" ;;
        coverage) echo "gcovr python3" ;;
        lint) echo "clang-format clang-tidy shellcheck" ;;
        *) echo "setup.sh: no such purpose: $1" >&2; return 1 ;;
    esac
}

installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=()
for purpose in "$@"; do
    list=$(packages_for "$purpose")
    for package in $list; do
        installed "$package" || missing+=("$package")
    done
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "Installing ${#missing[@]} packages with what they need: ${missing[*]}"
as_root=()
if [ "$(id -u)" != 0 ]; then as_root=(sudo); fi
log=$(mktemp)
install_all() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get -o DPkg::Lock::Timeout=300 install -y --no-install-recommends "${missing[@]}"
}
# progress: appends to the log, and shows a point for every ten steps.
progress() {
    tee -a "$log" | awk '/^(Get:|Unpacking|Setting up)/ && n++ % 10 == 0 { printf "."; fflush() } END { if (n) print "" }'
}
# The package lists of the machine may be new enough; if they aren't, they are fetched.
if ! install_all </dev/null 2>&1 | progress; then
    if ! { "${as_root[@]}" apt-get update && install_all; } </dev/null 2>&1 | progress; then
        tail -n 20 "$log" >&2
        echo "setup.sh: the packages could not be installed; the whole log is $log" >&2
        exit 1
    fi
fi
rm -f "$log"
