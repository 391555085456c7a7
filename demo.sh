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
# progress: copies the builder's output to the log, and shows how far it is: on one line of a terminal, else in lines.
progress() {
    local line shown=0 percent
    printf 'Building ...'
    if [ ! -t 1 ]; then echo; fi
    while IFS= read -r line; do
        printf '%s\n' "$line" >&3
        [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]] || continue
        percent=$((BASH_REMATCH[1] * 100 / BASH_REMATCH[2]))
        if [ -t 1 ]; then
            printf '\rBuilding ... %d %%' "$percent"
        elif [ $((percent / 10)) -gt "$shown" ]; then
            shown=$((percent / 10))
            echo "Building ... $percent %"
        fi
    done 3>"$log"
    if [ -t 1 ]; then echo; fi
}
export NINJA_STATUS='[%f/%t] '
if ! { cmake --preset native && cmake --build build/native --target product --parallel "$(nproc)"; } 2>&1 | progress; then
    tail -n 40 "$log" >&2
    exit 1
fi

# An installation of its own, so that a registry and index files of this machine stay as they are.
cmake --install build/native --prefix "$work" >>"$log"
export BV_REGISTRY=$work/registry.db
PATH=$work/bin:$PATH

# title TEXT: what comes next.
if [ -t 1 ]; then bold=$(printf '\033[1m') plain=$(printf '\033[0m'); else bold='' plain=''; fi
title() { printf '\n%s%s%s\n' "$bold" "$*" "$plain"; }

apostrophe="'\\''" # inside of apostrophes
# Shows a command as one would type it in the folder of the demo, and runs it.
run() {
    local word shown=
    for word in "$@"; do
        case $word in *[!A-Za-z0-9_./=+-]*) word="'${word//\'/$apostrophe}'" ;; esac
        shown+=" $word"
    done
    printf '$%s\n' "$shown"
    (cd "$work" && "$@")
}

title "1. The modules announce their classes, formats and actions"
run bvhost register

title "2. A job for the file: each setting shows and hides what depends on it"
run bvhost job --input "$input" --set Mode=Multiply --set OutputFileFormat=MP4 --set IsSplit=on \
    --set "SplitLength=250 frm" --output job.xml

title "3. The saved job opens again, with its index from the cache"
run bvhost job --from job.xml --output again.xml
cmp "$work/job.xml" "$work/again.xml" && echo "(the same settings, byte for byte)"

title "4. A value that makes no sense is refused"
run bvhost job --set SplitLength=-5 || true

title "5. The job's tree"
run bvhost tree --from job.xml

title "6. The job's settings XML"
run cat job.xml
