#!/usr/bin/env bash
# Which platform it is on is nobody's business outside platform/ and the build; names of files don't depend on the locale.
set -euo pipefail
cd "$(dirname "$0")/../.."
folders=()
for folder in src host editors tools samples tests include bench fuzz; do
    if [ -d "$folder" ]; then folders+=("$folder"); fi
done
if grep -rnE '\b(_WIN32|_WIN64|WIN32|__WIN32__|__MINGW32__|__linux__|__linux|__unix__)\b' "${folders[@]}" \
    --include='*.cpp' --include='*.h' --include='*.def' --include='*.rc'; then
    echo "The lines above ask which platform they are on."
    exit 1
fi
# The C++ library's own conversion does; names.sh finds those that don't show in the text.
if grep -rnE '\.wstring\(\)|path\((L"|std::wstring\()' "${folders[@]}" platform --include='*.cpp' --include='*.h'; then
    echo "The lines above leave it to the locale which names of files there are; see paths.h and support/names.h."
    exit 1
fi
