#!/usr/bin/env bash
# The main job on a built-in example: builds acearc, packs the project's own
# sources into a solid archive, lists it, tests it, extracts it into a
# temporary folder, compares every file with its original and prints the sizes
# and two ratios. Run ./scripts/setup.sh first on a fresh machine.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/demo
echo "==== building acearc ($build) ===="
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DACEPLUG_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)" --target acearc >/dev/null
acearc="$PWD/$build/bin/acearc"

work=$(mktemp -d "${TMPDIR:-/tmp}/aceplug-demo.XXXXXX")
cleanup() { chmod -R u+w "$work" 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

# What goes in: every source folder and the top-level files that exist; the
# tests without their data (packed vectors that would not pack again).
inputs=()
for item in CMakeLists.txt CMakePresets.json README.md cmake include src unace cli tests/* scripts \
  bench fuzz; do
  [ -e "$item" ] && [ "$item" != tests/data ] && inputs+=("$item")
done
archive="$work/aceplug-sources.ace"

echo "==== acearc a -s (a solid archive of the sources) ===="
"$acearc" a -s "$archive" "${inputs[@]}"

echo "==== acearc l ===="
"$acearc" l "$archive"

echo "==== acearc t ===="
"$acearc" t "$archive"

echo "==== acearc x into $work/out ===="
"$acearc" x -q "$archive" -o "$work/out"

echo "==== comparing every file ===="
files=0
for item in "${inputs[@]}"; do
  diff -r "$item" "$work/out/$item"
  files=$((files + $(find "$item" -type f | wc -l)))
done
echo "all $files files are identical to their originals"

# Two ratios: the packed data against the original data (what "acearc l" shows,
# rounded down there), and the whole archive file, which also holds a header
# with the name of every file and folder.
original=$(find "${inputs[@]}" -type f -printf '%s\n' | awk '{ s += $1 } END { print s + 0 }')
data=$("$acearc" l --json "$archive" | sed -n '/"summary"/,/}/s/^ *"packed": \([0-9]*\).*/\1/p')
file=$(stat -c %s "$archive")
entries=$(find "${inputs[@]}" | wc -l)
awk -v o="$original" -v d="$data" -v f="$file" -v n="$entries" 'BEGIN {
  printf "sources:      %9d bytes in %d files and folders\n", o, n
  printf "packed data:  %9d bytes, %.1f%% of the sources (the ratio of acearc l)\n", d, 100 * d / o
  printf "archive file: %9d bytes, %.1f%% of the sources (%.2f:1): the packed data and %d bytes of headers\n",
         f, 100 * f / o, o / f, f - d
}'
