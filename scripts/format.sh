#!/usr/bin/env bash
# Lays out all sources by .clang-format; with --check only names those that differ.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh lint
mode=(-i)
if [ "${1:-}" = --check ]; then mode=(--dry-run --Werror); fi
git ls-files -z '*.cpp' '*.h' | xargs -0 -r clang-format "${mode[@]}"
