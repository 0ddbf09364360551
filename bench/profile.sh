#!/usr/bin/env bash
# Where the compressor's time goes for some settings: a flat profile by
# function and by source line (inlined code shows under its own line), from
# perf where it works, from callgrind otherwise. Builds a Release copy with
# line tables in build/bench-prof; compresses the concatenated corpus.
#
#   bench/profile.sh [ID...]    default: ace/1024/l1 ace/1024/l3 ace/1024/l4
set -euo pipefail
cd "$(dirname "$0")/.."
ids=("$@")
if [ ${#ids[@]} -eq 0 ]; then ids=(ace/1024/l1 ace/1024/l3 ace/1024/l4); fi

cmake --preset bench -B build/bench-prof -DCMAKE_CXX_FLAGS=-g >/dev/null
cmake --build build/bench-prof -j2 --target bench_compare >/dev/null
bin=build/bench-prof/bin/bench_compare
work=$(mktemp -d "${TMPDIR:-/tmp}/aceprof-XXXXXX")
trap 'rm -rf "$work"' EXIT

short() { sed -e 's/ace::(anonymous namespace)::Member<\([0-9]*\)u, [0-9u, ]*>/Member<\1>/g' \
              -e 's/ace::(anonymous namespace):://g' -e 's/[[:space:]]*-[[:space:]]*-[[:space:]]*$//' \
              -e '/^#/d' -e '/^$/d'; }

for id in "${ids[@]}"; do
  echo "## $id"
  "$bin" --profile "$id" --reps 3
  if perf record -q -F 2000 -o "$work/perf.data" -- "$bin" --profile "$id" --reps 5 >/dev/null 2>&1; then
    echo "by function (perf, self time):"
    perf report -i "$work/perf.data" --stdio --no-children --sort symbol --percent-limit 1 2>/dev/null | short
    echo "by source line:"
    perf report -i "$work/perf.data" --stdio --no-children --sort srcline --percent-limit 1.5 2>/dev/null | short
  else
    echo "by function (callgrind, instructions):"
    valgrind --tool=callgrind --callgrind-out-file="$work/cg.out" "$bin" --profile "$id" --reps 1 \
      >/dev/null 2>&1
    callgrind_annotate "$work/cg.out" 2>/dev/null | sed -n '/file:function/,$p' | head -15 | short
  fi
  echo
done
