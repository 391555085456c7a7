#!/usr/bin/env bash
# A module exports the four operations of a component module, or the seven editors, and nothing else, undecorated, and a
# Windows module imports from the system's own libraries alone. The native layer exports what its headers declare and its
# version script lists, under the version that stands there: exports.sh BIN_FOLDER
set -euo pipefail
bin=$1
four="DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer"
seven="CropEditor Filters FontEditor ImageSize LogoTextEditor ResizeEditor WaterMarkEditor"
system="advapi32 comdlg32 gdi32 kernel32 msvcrt msxml6 ole32 oleaut32 shell32 shlwapi user32"
failed=0

complain() {
    echo "$1"
    failed=1
}

found=0
for module in "$bin"/BVSchema.* "$bin"/BVSamples.* "$bin"/dlgs.*; do
    case $module in
        *.so)
            exports=$(nm -D --defined-only "$module" | awk '{ print $3 }')
            ;;
        *.dll)
            # objdump reads x64 and x86 alike
            dump=$(x86_64-w64-mingw32-objdump -p "$module")
            exports=$(awk '/^\[Ordinal\/Name Pointer\]/ { names = 1; next } names && /^$/ { exit } names { print $NF }' \
                <<<"$dump")
            while read -r import; do
                case " $system " in
                    *" ${import%.dll} "*) ;;
                    *) complain "$module imports from $import" ;;
                esac
            done < <(awk '/DLL Name:/ { print tolower($3) }' <<<"$dump")
            ;;
        *) continue ;;
    esac
    found=1
    exports=$(LC_ALL=C sort <<<"$exports" | tr '\n' ' ')
    wanted=$four
    case $module in */dlgs.*) wanted=$seven ;; esac
    [ "$exports" = "$wanted " ] || complain "$module exports: $exports"
done
layer=$bin/libbvplatform.so
if [ -e "$layer" ]; then
    platform=$(dirname "$0")/../../platform
    map=$platform/native/bvplatform.map
    version=$(sed -n 's/ {$//p' "$map")
    listed=$(sed -e 's|/\*.*\*/||' "$map" | grep -oE '\b[A-Za-z0-9_]+;' | tr -d ';' | LC_ALL=C sort)
    # What is declared once for each platform stands in platform/include.
    declared=$(find "$platform/native/include" "$platform/include" -name '*.h' -exec grep -hv '^#' {} + | tr '\n' ' ' |
        grep -oE 'BV_PLATFORM_API [^;(]*\(' | grep -oE '[A-Za-z0-9_]+\($' | tr -d '(' | LC_ALL=C sort)
    exported=$(nm -D --defined-only --with-symbol-versions "$layer" | awk '$2 != "A" { print $3 }' | LC_ALL=C sort)
    difference=$(diff <(echo "$listed") <(echo "$declared")) ||
        complain "the layer's version script (<) and headers (>) differ: $difference"
    difference=$(diff <(sed "s/\$/@@$version/" <<<"$listed") <(echo "$exported")) ||
        complain "the layer's version script (<) and exports (>) differ: $difference"
fi
[ $found = 1 ] || complain "there is no module in $bin"
exit $failed
