#!/usr/bin/env bash
# Builds everything and runs all tests on every platform: the native build, the same with sanitizers, the Windows x64
# build under Wine; the Windows x86 build is compiled. Installs what the machine lacks.
#
#   ./test.sh                  all of it
#   ./test.sh --quick          the native build only
#   ./test.sh --filter TEXT    only tests whose name matches, as --gtest_filter takes it
#
# Logs and reports stay in build/test-results. The last line counts the tests of all platforms together.
set -euo pipefail
cd "$(dirname "$0")"

quick=0
filter='*'
while [ $# -gt 0 ]; do
    case $1 in
        --quick) quick=1 ;;
        --filter) filter=${2:?--filter needs a text}; shift ;;
        --filter=*) filter=${1#*=} ;;
        -h | --help) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0"; exit 0 ;;
        *) echo "test.sh: unknown option $1, see --help" >&2; exit 2 ;;
    esac
    shift
done

results=build/test-results
rm -rf "$results"
mkdir -p "$results"
: >"$results/all.txt" # lines: PLATFORM pass|fail|skip TEST

stop_wine() {
    if [ -d build/windows-x64/wineprefix ] && command -v wineserver >/dev/null; then
        WINEPREFIX=$PWD/build/windows-x64/wineprefix timeout 30 wineserver -k >/dev/null 2>&1 || true
    fi
}
trap 'if [ -n "${testing:-}" ]; then kill "$testing" 2>/dev/null || true; fi; stop_wine' EXIT

record() { echo "$1 $2 $3" >>"$results/all.txt"; }

# --- Building ---------------------------------------------------------------------------------------------------------

# build PRESET [TARGET...]: a build that fails counts as one failed test.
build() {
    local preset=$1 log=$results/$1-build.log start=$SECONDS
    shift
    if timeout 2400 cmake --preset "$preset" >"$log" 2>&1 &&
        timeout 2400 cmake --build "build/$preset" --parallel "$(nproc)" ${1:+--target} "$@" >>"$log" 2>&1; then
        echo "built $preset in $((SECONDS - start)) s"
        return 0
    fi
    record "$preset" fail "build"
    echo "--- the build $preset failed; from $log:"
    { grep -m1 -A60 -E '^FAILED|CMake Error' "$log" || tail -n 60 "$log"; } | cut -c1-2000
    return 1
}

# --- Running ----------------------------------------------------------------------------------------------------------

# run_programs PRESET WRAPPER: all test programs in the preset's bin/.
run_programs() {
    local preset=$1 wrapper=$PWD/scripts/$2 dir=$results/$1 program name log status start=$SECONDS
    mkdir -p "$dir"
    for program in "build/$preset"/bin/*_tests "build/$preset"/bin/*_tests.exe; do
        [ -f "$program" ] || continue
        name=$(basename "$program" .exe)
        log=$dir/$name.log
        status=0
        # A report that lies in the working folder has the same name for both kinds of path.
        program=$PWD/$program
        (cd "$dir" && timeout -k 10 600 "$wrapper" "$program" --gtest_color=no "--gtest_filter=$filter" \
            "--gtest_output=xml:$name.xml") >"$log" 2>&1 </dev/null || status=$?
        tally "$preset" "$name" "$status"
    done
    echo "ran the tests of $preset in $((SECONDS - start)) s"
}

# tally PLATFORM PROGRAM STATUS: counts what its report says; a program that ended badly without a failed test, or
# before it wrote its report, is a failed test of its own.
tally() {
    local platform=$1 name=$2 status=$3 dir=$results/$1 failed=0 result test
    if [ -s "$dir/$name.xml" ]; then
        while read -r result test; do
            if [ "$result" = skip ] && ! known_skip "$platform" "$test"; then
                echo "$platform: $test was skipped and is not in tests/known_skips.txt"
                result=fail
            fi
            if [ "$result" = fail ]; then failed=1; fi
            record "$platform" "$result" "$test"
        done < <(tr -d '\r' <"$dir/$name.xml" | awk -f scripts/results.awk)
    fi
    if [ "$status" != 0 ] && [ $failed = 0 ]; then
        failed=1
        record "$platform" fail "$name(exit_code_$status)"
    fi
    if [ $failed = 1 ]; then
        echo "--- $platform: $name failed with exit code $status; from $dir/$name.log:"
        report_of "$dir/$name.log"
    fi
}

# The failed tests' own output, or the end of the log where the program didn't come that far.
report_of() {
    tr -d '\r' <"$1" | awk '
        /^\[ RUN      \]/ { text = ""; inside = 1 }
        inside { text = text $0 "\n" }
        /^\[       OK \]|^\[  SKIPPED \]/ { text = ""; inside = 0; next }
        /^\[  FAILED  \]/ && inside { printf "%s", text; text = ""; inside = 0; next }
        !inside && !/^\[|^Note:|^$/ { other = other $0 "\n" }
        END { printf "%s%s", text, other }' | tail -n 150
}

known_skip() {
    local platform test reason
    while read -r platform test reason; do
        # The columns are patterns.
        # shellcheck disable=SC2053
        if [ -n "$reason" ] && [[ $1 == $platform && $2 == $test ]]; then return 0; fi
    done < <(grep -v '^#' tests/known_skips.txt)
    return 1
}

# check PLATFORM NAME COMMAND...: a script that is a test by its exit code.
check() {
    local platform=$1 name=$2 log=$results/$1-$2.log
    shift 2
    if timeout -k 10 900 "$@" >"$log" 2>&1 </dev/null; then
        record "$platform" pass "$name"
    else
        record "$platform" fail "$name"
        echo "--- $platform: the check $name failed; the end of $log:"
        tail -n 40 "$log"
    fi
}

# Inputs that the fuzzers have found stay good.
replay_corpora() {
    local program target
    for program in build/native-asan/bin/*_replay; do
        [ -f "$program" ] || continue
        target=$(basename "$program" _replay)
        check native-asan "fuzz_corpus.$target" scripts/run-native.sh "$program" "fuzz/corpus/$target"
    done
}

test_native() {
    run_programs native run-native.sh
    check native exports tests/checks/exports.sh build/native/bin
    check native wide_names tests/checks/names.sh build/native/bin
    check native schema tests/checks/schema.sh build/native/bin
    check native install tests/install/check.sh build/native
    check native python bindings/python/tests/check.sh build/native
    check native environment tests/checks/environment.sh scripts/run-native.sh build/native/bin/platform_tests
}

test_windows() {
    run_programs windows-x64 run-wine.sh
    check windows-x64 exports tests/checks/exports.sh build/windows-x64/bin
    check windows-x64 install tests/install/check.sh build/windows-x64
    check windows-x64 host_compare tests/checks/host_compare.sh build/native/bin build/windows-x64/bin
    check windows-x64 script tests/checks/script.sh build/windows-x64
    check windows-x64 environment tests/checks/environment.sh scripts/run-wine.sh build/windows-x64/bin/platform_tests.exe
}

test_asan() {
    run_programs native-asan run-native.sh
    replay_corpora
}

# Tests wait more than they compute, so they run beside the next build, one platform at a time.
testing=
beside() {
    await_tests
    "$@" >"$results/beside.log" 2>&1 &
    testing=$!
}
await_tests() {
    if [ -n "$testing" ]; then
        wait "$testing" || record test.sh fail "ended_early"
        cat "$results/beside.log"
    fi
    testing=
}

# --- The run ----------------------------------------------------------------------------------------------------------

if ! scripts/setup.sh test; then
    echo "0 passed, 1 failed, 0 skipped"
    exit 1
fi

check source platform_names tests/checks/source.sh

if build native; then
    beside test_native
fi
if [ $quick = 0 ]; then
    if build windows-x64; then beside test_windows; fi
    if build native-asan; then beside test_asan; fi
    if [ -d tests/threads ] && build native-tsan threads_tests; then beside run_programs native-tsan run-native.sh; fi
    if build windows-x86 product; then
        check windows-x86 exports tests/checks/exports.sh build/windows-x86/bin
    fi
fi
await_tests

echo
awk '
    { if (!seen[$1]++) order[++n] = $1; count[$1, $2]++; total[$2]++ }
    $2 == "fail" { failed[++f] = $1 ": " $3 }
    END {
        printf "%-14s %8s %8s %8s\n", "platform", "ran", "failed", "skipped"
        for (i = 1; i <= n; i++) {
            p = order[i]
            printf "%-14s %8d %8d %8d\n", p, count[p, "pass"] + count[p, "fail"], count[p, "fail"], count[p, "skip"]
        }
        if (f) print "\nFailed:"
        for (i = 1; i <= f; i++) print "  " failed[i]
        printf "\n%d passed, %d failed, %d skipped\n", total["pass"], total["fail"], total["skip"]
    }' "$results/all.txt"

# No test at all is no success.
! grep -q ' fail ' "$results/all.txt" && grep -q ' pass ' "$results/all.txt"
