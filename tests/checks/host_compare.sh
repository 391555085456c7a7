#!/usr/bin/env bash
# bvhost does the same on both platforms, paths aside, also with names that aren't ASCII: host_compare.sh NATIVE_BIN
# WINDOWS_BIN
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
native=$(cd "$1" && pwd)
windows=$(cd "$2" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/bvcompare.XXXXXX")
trap 'rm -rf "$work"' EXIT

# Every file is named so. Nothing of it gets lost on Windows either: this locale's narrow code page is UTF-8.
name="Übung 日本 'a' \$x"
mkdir "$work/locales"
localedef -i hi_IN -f UTF-8 "$work/locales/hi_IN.UTF-8"
export LOCPATH=$work/locales BV_TEST_LOCALE=hi_IN.UTF-8

# The input is described, since the Windows build reads no media files.
session() {
    local clip=$1
    shift
    local host=("$@")
    local given=(--duration 3 --frame-time 0.04)
    bvhost() {
        echo "$ bvhost ${1:-}"
        "${host[@]}" "$@" 2>&1 || echo "exit code $?"
    }
    bvhost register
    bvhost job --input "$clip" "${given[@]}" --set Mode=Multiply --set OutputFileFormat=MP4 --set "SplitLength=250 frm" \
        --set IsSplit=on --set "FileNamePattern=Tom's & Co <1>" --output "$name.xml"
    bvhost job --set SplitLength=-5
    bvhost job --set Mod=1
    bvhost tree --input "$clip" "${given[@]}" --all
    bvhost tree --from "$name.xml" "${given[@]}" --json
    bvhost show Mode
    bvhost show SplitLength
    bvhost tree --format PNG --json --all
    bvhost expand --input "$clip" "${given[@]}" --index 3 --set OutputMediaName=out.avi "%sf %s %of %o %i %x %%"
    bvhost cuts add "$name.tlc" 0-25 --input "$clip" "${given[@]}"
    bvhost cuts check "$name.tlc" "${name}2.tlc"
    bvhost show OutputMediaName --set "OutputMediaName=$name.avi"
    bvhost font "FONT=Arial;SIZE=x;U=on;junk"
    bvhost unregister
    bvhost registry
    bvhost tree
    cat "$name.xml"
}
# Drive, separators and the suffix of modules.
same_paths() { tr -d '\r' | sed -E 's#Z:##g; s#\\\\#/#g; s#\\#/#g; s#\.dll#.so#g; s#'"$native"'|'"$windows"'#BIN#g'; }

clip="$work/$name.mp4"
cp "$root/samples/media/clip.mp4" "$clip"
mkdir "$work/native" "$work/windows"
(cd "$work/native" && LC_ALL=C BV_REGISTRY="$work/$name.db" session "$clip" "$native/bvhost") | same_paths >"$work/native.txt"
(cd "$work/windows" && session "Z:${clip//\//\\}" "$root/scripts/run-wine.sh" "$windows/bvhost.exe") |
    same_paths >"$work/windows.txt"

grep -q "<Main>" "$work/native.txt"
grep -qF "Input    $clip" "$work/native.txt"
diff "$work/native.txt" "$work/windows.txt"
