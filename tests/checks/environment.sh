#!/usr/bin/env bash
# Runs the tests that depend on the environment once more in another one: a locale with a decimal comma, made for the
# purpose, and a narrow code page that isn't UTF-8: environment.sh WRAPPER PLATFORM_TESTS
set -euo pipefail
wrapper=$1
program=$2

locales=$(mktemp -d)
trap 'rm -rf "$locales"' EXIT
localedef -i de_DE -f UTF-8 "$locales/de_DE.UTF-8"

# again FILTER: these tests pass, and there are some.
again() { "$wrapper" "$program" --gtest_filter="$1" | tee "$locales/log" && grep -q 'PASSED.* [1-9]' "$locales/log"; }

export LOCPATH=$locales
BV_TEST_LOCALE=de_DE.UTF-8 BV_TEST_DECIMAL=, again 'VariantConversion.NumbersHaveTheSeparatorOfTheEnvironment'

# The Windows build has its system's code page in any case.
case $program in
    *.exe) ;;
    *) BV_CODEPAGE=1251 again 'CodePage.*:Comparison.*' ;;
esac
