#!/usr/bin/env bash
# bvhost does the same on both platforms, paths aside: host_compare.sh NATIVE_BIN WINDOWS_BIN
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
native=$(cd "$1" && pwd)
windows=$(cd "$2" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/bvcompare.XXXXXX")
trap 'rm -rf "$work"' EXIT

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
        --set IsSplit=on --set "FileNamePattern=Tom's & Co <1>" --output job.xml
    bvhost job --set SplitLength=-5
    bvhost job --set Mod=1
    bvhost tree --input "$clip" "${given[@]}" --all
    bvhost tree --from job.xml "${given[@]}" --json
    bvhost show Mode
    bvhost show SplitLength
    bvhost tree --format PNG --json --all
    bvhost expand --input "$clip" "${given[@]}" --index 3 --set OutputMediaName=out.avi "%sf %s %of %o %i %x %%"
    bvhost font "FONT=Arial;SIZE=x;U=on;junk"
    bvhost unregister
    bvhost registry
    bvhost tree
    cat job.xml
}
# Drive, separators and the suffix of modules.
same_paths() { tr -d '\r' | sed -E 's#Z:##g; s#\\\\#/#g; s#\\#/#g; s#\.dll#.so#g; s#'"$native"'|'"$windows"'#BIN#g'; }

clip=$root/samples/media/clip.mp4
mkdir "$work/native" "$work/windows"
(cd "$work/native" && BV_REGISTRY=$work/registry.db session "$clip" "$native/bvhost") | same_paths >"$work/native.txt"
(cd "$work/windows" && session "Z:${clip//\//\\}" "$root/scripts/run-wine.sh" "$windows/bvhost.exe") |
    same_paths >"$work/windows.txt"

grep -q "<Main>" "$work/native.txt"
diff "$work/native.txt" "$work/windows.txt"
