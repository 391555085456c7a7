#!/usr/bin/env bash
# Runs a fuzzer with the sanitizers on: fuzz/run.sh TARGET SECONDS
#
# TARGET is NAME of fuzz/NAME_fuzz.cpp. It starts from the committed corpus in fuzz/corpus/NAME; what it finds on top is
# kept in build/fuzz, and --merge puts the part of it that reaches new code into the committed corpus:
#   fuzz/run.sh --merge TARGET
set -euo pipefail
cd "$(dirname "$0")/.."

merge=0
if [ "${1:-}" = --merge ]; then merge=1; shift; fi
if [ $# -lt 1 ] || [ ! -f "fuzz/${1}_fuzz.cpp" ]; then
    sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" >&2
    exit 2
fi
target=$1
seconds=${2:-60}

scripts/setup.sh fuzz
mkdir -p build/fuzz
log=build/fuzz/build.log
if ! { cmake --preset fuzz && cmake --build build/fuzz --target "${target}_fuzz"; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    exit 1
fi

corpus=fuzz/corpus/$target
found=build/fuzz/found/$target
mkdir -p "$corpus" "$found"
dictionary=()
if [ -f "fuzz/$target.dict" ]; then dictionary=("-dict=fuzz/$target.dict"); fi
if [ $merge = 1 ]; then
    exec scripts/run-native.sh "build/fuzz/bin/${target}_fuzz" -merge=1 "$corpus" "$found"
fi
scripts/run-native.sh "build/fuzz/bin/${target}_fuzz" "-max_total_time=$seconds" "${dictionary[@]}" -timeout=20 \
    -rss_limit_mb=4096 -print_final_stats=1 "-artifact_prefix=$found/" "$found" "$corpus"
