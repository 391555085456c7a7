#!/usr/bin/env bash
# Runs a program of the native build with a registry of its own, which is new at each run: run-native.sh PROGRAM [ARG...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
program=$(realpath "$1")
shift

state=$(mktemp -d "${TMPDIR:-/tmp}/bvtest.XXXXXX")
# shellcheck source=scripts/lend-screen.sh
. "$root/scripts/lend-screen.sh"
trap 'return_screen; rm -rf "$state"' EXIT
lend_screen "$program"
lend_session "$state"

export BV_PRIVATE_RUN=1
export BV_REGISTRY=$state/registry.db
export BV_TEST_DATA=$root/tests
export BV_TEST_TEMP=$state
export LC_ALL=${BV_TEST_LOCALE:-C.UTF-8}
# The leak checker loses track of the thread variables of a module that was unloaded, and fails itself.
export ASAN_OPTIONS=intercept_tls_get_addr=0:${ASAN_OPTIONS:-}
export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1:$ASAN_OPTIONS
export UBSAN_OPTIONS=print_stacktrace=1:${UBSAN_OPTIONS:-}
export TSAN_OPTIONS=second_deadlock_stack=1:${TSAN_OPTIONS:-}
"$program" "$@"
