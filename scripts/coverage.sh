#!/usr/bin/env bash
# How much of the code the native tests reach: builds with counters, runs the tests, prints lines and branches by folder.
# Branches that the compiler adds for exceptions don't count. The pages with each line are in build/coverage/report.
#
#   scripts/coverage.sh [FILE...]    with files, their branches that were never taken
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh test coverage

build=build/coverage
log=$build.log
mkdir -p build
if ! { cmake -G Ninja -S . -B $build -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS="--coverage -fprofile-update=atomic" &&
    cmake --build $build --parallel "$(nproc)"; } >$log 2>&1; then
    tail -n 40 $log >&2
    exit 1
fi
find $build -name '*.gcda' -delete
for program in "$build"/bin/*_tests; do
    if ! timeout 900 scripts/run-native.sh "$program" >"$build/$(basename "$program").log" 2>&1; then
        echo "$(basename "$program") failed, see $build/$(basename "$program").log" >&2
    fi
done

mkdir -p $build/report
gcovr --root . --object-directory $build --filter src/ --filter platform/native/src/ --exclude-throw-branches \
    --exclude-unreachable-branches --json-summary $build/report/summary.json --html-details $build/report/index.html \
    --json $build/report/lines.json >/dev/null
python3 - "$build/report" "$@" <<'END'
import collections, json, sys
folder, wanted = sys.argv[1], sys.argv[2:]
sums = collections.defaultdict(lambda: [0, 0, 0, 0])
for file in json.load(open(folder + "/summary.json"))["files"]:
    parts = file["filename"].split("/")
    for room in {"/".join(parts[:-1]), "src" if parts[0] == "src" else "platform/native/src"}:
        for i, key in enumerate(("line_covered", "line_total", "branch_covered", "branch_total")):
            sums[room][i] += file[key]
print(f"{'folder':34} {'lines':>7} {'branches':>9}")
for room, (lc, lt, bc, bt) in sorted(sums.items()):
    print(f"{room:34} {100 * lc / max(lt, 1):6.1f}% {100 * bc / max(bt, 1):8.1f}%  of {bt}")
for file in json.load(open(folder + "/lines.json"))["files"]:
    if file["file"] in wanted:
        for line in file["lines"]:
            missed = [b for b in line["branches"] if not b["count"] and not b.get("throw")]
            if missed or not line["count"] and not line.get("gcovr/noncode"):
                print(f"{file['file']}:{line['line_number']}: {len(missed)} of {len(line['branches'])} branches never taken")
END
