#!/usr/bin/env bash
# No program or module leaves it to the C++ library to turn wide names of files into bytes: outside of UTF-8 locales that
# fails for names outside of ASCII. What it takes for that is in none of them: names.sh BIN_FOLDER
set -euo pipefail
failed=0 found=0
for file in "$1"/bvhost "$1"/*.so "$1"/*_tests; do
    [ -f "$file" ] || continue
    found=1
    # std::codecvt<wchar_t, char, mbstate_t>
    if nm -D --undefined-only "$file" | grep '7codecvtIwc' >/dev/null; then
        echo "$file converts a std::wstring to a std::filesystem::path, or back"
        failed=1
    fi
done
[ $found = 1 ] || { echo "there is no program in $1"; failed=1; }
exit $failed
