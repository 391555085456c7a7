#!/usr/bin/env bash
# Which platform it is on is nobody's business outside platform/ and the build.
set -euo pipefail
cd "$(dirname "$0")/../.."
folders=()
for folder in src editors tools samples tests include bench fuzz; do
    if [ -d "$folder" ]; then folders+=("$folder"); fi
done
if grep -rnE '\b(_WIN32|_WIN64|WIN32|__WIN32__|__MINGW32__|__linux__|__linux|__unix__)\b' "${folders[@]}" \
    --include='*.cpp' --include='*.h' --include='*.def' --include='*.rc'; then
    echo "The lines above ask which platform they are on."
    exit 1
fi
