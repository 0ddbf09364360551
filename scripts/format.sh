#!/usr/bin/env bash
# Applies .clang-format to every tracked C and C++ file; --check only reports
# the files that differ and fails if there are any.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.c' '*.cpp' '*.h')
if [ "${1:-}" = --check ]; then
  clang-format --dry-run -Werror "${files[@]}"
else
  clang-format -i "${files[@]}"
fi
