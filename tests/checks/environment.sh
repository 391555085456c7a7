#!/usr/bin/env bash
# Runs the tests that depend on the environment once more in another one: a locale with a decimal comma, made for the
# purpose, and a narrow code page that isn't UTF-8: environment.sh WRAPPER PLATFORM_TESTS, with cuts_tests beside it
set -euo pipefail
wrapper=$1
program=$2
cuts=${program/platform_tests/cuts_tests}

locales=$(mktemp -d)
trap 'rm -rf "$locales"' EXIT
localedef -i de_DE -f UTF-8 "$locales/de_DE.UTF-8"
localedef -i ru_RU -f UTF-8 "$locales/ru_RU.UTF-8"

# again PROGRAM FILTER: these tests pass, and there are some.
again() { "$wrapper" "$1" --gtest_filter="$2" | tee "$locales/log" && grep -q 'PASSED.* [1-9]' "$locales/log"; }

export LOCPATH=$locales
BV_TEST_LOCALE=de_DE.UTF-8 BV_TEST_DECIMAL=, again "$program" 'VariantConversion.NumbersHaveTheSeparatorOfTheEnvironment'

# The Windows build has its system's code page, which follows the locale. A file of cuts says 1251 whatever it is.
export BV_TEST_CODEPAGE=1251
case $program in
    *.exe) BV_TEST_LOCALE=ru_RU.UTF-8 again "$cuts" 'FilesTest.NamesOfTheNarrowPageComeBack' ;;
    *)
        BV_CODEPAGE=1251 again "$program" 'CodePage.*:Comparison.*'
        BV_CODEPAGE=1251 again "$cuts" 'FilesTest.NamesOfTheNarrowPageComeBack'
        ;;
esac
