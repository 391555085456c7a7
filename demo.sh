#!/usr/bin/env bash
# The main job on a real file: creates the settings tree, gives it the file, sets some values and writes the settings
# XML. Everything goes to a private registry and a temporary folder, which are gone afterwards.
#
#   ./demo.sh [FILE]    FILE: any video file; without one the clip in samples/media
set -euo pipefail

case ${1:-} in
    -h | --help) sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0"; exit 0 ;;
esac
input=$(realpath -- "${1:-$(dirname "$0")/samples/media/clip.mp4}")
cd "$(dirname "$0")"
if [ ! -f "$input" ]; then
    echo "demo.sh: there is no file $input" >&2
    exit 1
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/bvdemo.XXXXXX")
log=$work/build.log
trap 'rm -rf "$work"' EXIT

scripts/setup.sh demo
echo "Building ..."
if ! { cmake --preset native && cmake --build build/native --target product --parallel "$(nproc)"; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    exit 1
fi

export BV_REGISTRY=$work/registry.db
PATH=$PWD/build/native/bin:$PATH

# Shows a command and runs it.
run() {
    printf '\n$ %s\n' "$*"
    "$@"
}

# The index of the file's packets is kept beside the modules; the demo's modules are copies, so it goes with them.
cp build/native/bin/BVSchema.so build/native/bin/BVSamples.so "$work/"
run bvhost register "$work/BVSchema.so" "$work/BVSamples.so"
run bvhost job --input "$input" --set "Mode=Single" --set "Overwrite=0" --output "$work/job.xml"
run bvhost tree --input "$input"
printf '\n$ cat job.xml\n'
cat "$work/job.xml"
echo
run bvhost unregister "$work/BVSchema.so" "$work/BVSamples.so"
