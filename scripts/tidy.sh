#!/usr/bin/env bash
# Runs clang-tidy over the native build: tidy.sh [FILE...]; without a file over all sources.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh test lint
# A precompiled header of gcc means nothing to clang.
cmake -G Ninja -S . -B build/tidy -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON \
    -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang >/dev/null
cmake --build build/tidy --target bvschema_resources >/dev/null
if [ $# -eq 0 ]; then
    mapfile -t files < <(git ls-files 'src/*.cpp' 'platform/native/*.cpp' 'editors/*.cpp' 'tools/*.cpp' 'editors/*.cpp' 'tools/*.cpp' 'samples/*.cpp')
    set -- "${files[@]}"
fi
printf '%s\0' "$@" | xargs -0 -n 4 -P "$(nproc)" clang-tidy -p build/tidy --quiet
