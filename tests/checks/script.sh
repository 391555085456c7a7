#!/usr/bin/env bash
# The Windows module as a stranger uses it: registered by the system's own program, called by a script, unregistered. The
# registry is afterwards what it was before, but for what is kept: script.sh BUILD_FOLDER
set -euo pipefail
build=$(realpath "$1")
root=$(cd "$(dirname "$0")/../.." && pwd)
export BV_WINEPREFIX=$build/wineprefix
system=$BV_WINEPREFIX/drive_c/windows/system32
windows_path() { printf 'Z:%s' "${1//\//\\}"; }
module=$(windows_path "$build/bin/BVSchema.dll")
state=$(mktemp -d "${TMPDIR:-/tmp}/bvscript.XXXXXX")
trap 'rm -rf "$state"' EXIT

run() { "$root/scripts/run-wine.sh" "$@"; }
# dump NAME: all that the machine and the user have of classes, types and interfaces.
dump() {
    local place
    for place in 'HKEY_LOCAL_MACHINE\Software\Classes' 'HKEY_CURRENT_USER\Software'; do
        # What Wine starts beside it must not hold the pipe.
        run "$BV_WINEPREFIX/drive_c/windows/regedit.exe" /E "$(windows_path "$state/keys.reg")" "$place" >/dev/null 2>&1
        iconv -f UTF-16 -t UTF-8 "$state/keys.reg" | tr -d '\r'
    done | awk 'BEGIN { RS = ""; ORS = "\n\n" } !/Temporary System Parameters/' >"$state/$1.txt" # Wine's own come and go
}
# script NAME: what the sample script says.
script() {
    run "$system/cscript.exe" //nologo "$(windows_path "$root/samples/script/settings.js")" 'C:\clips\holiday.avi' \
        >"$state/said.crlf" 2>&1 || true
    tr -d '\r' <"$state/said.crlf" >"$state/$1.txt"
}

run "$build/bin/bvhost.exe" unregister >/dev/null || true # what an earlier test has left
script unregistered                                       # the script host registers a library of its own at its first run
if grep -q inputs "$state/unregistered.txt"; then
    echo "the script works before anything is registered"
    exit 1
fi
dump before
run "$system/regsvr32.exe" /s "$module"
dump registered
for key in 'Classes\BVSchema.Map.1\CLSID' 'Classes\TypeLib\{C90C47A5-DC40-4B1F-A0C7-94816B8B762B}\1.0\0\win64'; do
    if ! grep -qiF "$key]" "$state/registered.txt"; then
        echo "regsvr32 registered no $key"
        exit 1
    fi
done
script said
diff -u "$root/tests/golden/script.txt" "$state/said.txt"
run "$system/regsvr32.exe" /s /u "$module"
dump after
diff -u "$state/before.txt" "$state/after.txt"
