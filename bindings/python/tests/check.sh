#!/usr/bin/env bash
# The Python package's tests, through the module of a build: check.sh BUILD_FOLDER [PYTEST_ARGUMENT...]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../../.." && pwd)
build=$(cd "$1" && pwd)
shift
python=$(sed -n 's/^_*Python_EXECUTABLE:[A-Z]*=//p' "$build/CMakeCache.txt" | head -n 1)
[ -x "$python" ] || { echo "check.sh: $build has no Python package"; exit 1; }
export PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$build/python PYTHONDEVMODE=1
"$root/scripts/run-native.sh" "$python" -m pytest -q -p no:cacheprovider "$here" "$@"
