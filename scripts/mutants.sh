#!/usr/bin/env bash
# Asks whether the tests would see a fault: plants small faults in the server, one at a time, and runs the native tests
# until one of them fails. Prints each fault that nothing saw, and the share that was seen.
#
#   scripts/mutants.sh [--count N] [--seed N] [--only PATTERN] [--list] [--again]
#
# --only keeps the files whose path matches; --list shows the faults and runs nothing. The same seed plants the same
# faults in the same lines. A run that was broken off goes on where it was; after a change --again asks only about what
# wasn't seen before. Faults that change nothing that can be seen stand in scripts/mutants.equivalent, with the reason.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh test mutants
exec python3 scripts/mutants.py "$@"
