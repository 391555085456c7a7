#!/usr/bin/env bash
# Runs a program of a Windows build under Wine: run-wine.sh PROGRAM.exe [ARG...]
#
# Its registry and its files are those of a prefix below the build folder, made at the first run. Paths that a program
# gets from here are Windows paths; Wine shows the machine's root folder as drive Z:.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
program=$(realpath "$1")
shift

# bin/tree_tests.exe: the prefix lies beside bin
# shellcheck source=scripts/lend-screen.sh
. "$root/scripts/lend-screen.sh"
trap return_screen EXIT
lend_screen "$program"
# A prefix's desktop has a screen or has none, whichever program comes first.
export WINEPREFIX=${BV_WINEPREFIX:-$(dirname "$(dirname "$program")")/wineprefix}${DISPLAY:+-screen}
export WINEARCH=win64
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="

# Debian has the server under the name of the package's main program or in its library folder.
server=true
for candidate in wineserver /usr/lib/wine/wineserver64 /usr/lib/wine/wineserver; do
    if command -v "$candidate" >/dev/null; then server=$candidate; break; fi
done

export LC_ALL=${BV_TEST_LOCALE:-C.UTF-8}

mkdir -p "$(dirname "$WINEPREFIX")"
(
    flock 9
    if [ ! -e "$WINEPREFIX/.ready" ]; then
        rm -rf "$WINEPREFIX"
        timeout 180 wine wineboot --init >/dev/null 2>&1 </dev/null
        # A lent screen has no window manager; Wine would wait seconds for its word on each window.
        wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1 </dev/null
        "$server" -w
        touch "$WINEPREFIX/.ready"
    fi
    # By itself the server ends with its last program, and a program that starts just then fails without a word. This one
    # waits; where it runs already, the call fails. What Wine starts beside the first program lives as long as the
    # server, so that program isn't one whose output somebody waits for.
    if "$server" -p600 >/dev/null 2>&1 9>&-; then wine cmd /c exit >/dev/null 2>&1 </dev/null 9>&- || true; fi
) 9>"$WINEPREFIX.lock"

state=$(mktemp -d "${TMPDIR:-/tmp}/bvtest.XXXXXX")
# A desktop doesn't outlive its screen.
trap 'rm -rf "$state"; if [ -n "${DISPLAY:-}" ]; then "$server" -k || true; return_screen; fi' EXIT

windows_path() { printf 'Z:%s' "${1//\//\\}"; }
export BV_PRIVATE_RUN=1
export BV_TEST_DATA BV_TEST_TEMP
BV_TEST_DATA=$(windows_path "$root/tests")
BV_TEST_TEMP=$(windows_path "$state")
wine "$program" "$@" </dev/null
