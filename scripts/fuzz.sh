#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in build/fuzz, writes their seeds with
# the plug-in itself (make_seeds packs the project's test inputs into archives at
# every dictionary and level, plain and solid) and runs each target for SECONDS
# (default 60), or only the one named:
#   decoder_fuzz    the LZ77 decoder on hostile data, at every dictionary size
#   roundtrip_fuzz  compressor then decoder on any input, every engine
#   comment_fuzz    the comment decoder
#   archive_fuzz    opening and listing through the exports
#   extract_fuzz    testing and extracting through the plug-in and UnAceV2.Dll
#   update_fuzz     adding, deleting and directory entries on hostile archives
#   mask_fuzz       the plug-in's and the library's file masks on any text
# Usage: scripts/fuzz.sh [SECONDS] [TARGET]    e.g. scripts/fuzz.sh 3600 extract_fuzz
# The corpus grows in build/fuzz/corpus/TARGET; a failing input is written to
# build/fuzz/artifacts/. Keep it in tests/data/fuzz/TARGET/, where the test
# suite replays it and later runs start from it.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
all=(decoder_fuzz roundtrip_fuzz comment_fuzz archive_fuzz extract_fuzz update_fuzz mask_fuzz)
targets=("${all[@]}")
if [ -n "${2:-}" ]; then
  [[ " ${all[*]} " == *" $2 "* ]] || { echo "fuzz.sh: no target $2 (${all[*]})" >&2; exit 2; }
  targets=("$2")
fi
build=build/fuzz

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DACEPLUG_BUILD_FUZZ=ON -DACEPLUG_BUILD_TESTS=OFF -DACEPLUG_BUILD_CLI=OFF \
  -DACEPLUG_WERROR=ON >/dev/null
cmake --build "$build" -j2 --target "${targets[@]}" make_seeds

artifacts=$build/artifacts
seeds=$build/seeds
# The targets make their scratch folders here and remove them when they end.
export TMPDIR=$PWD/$build/tmp
rm -rf "$seeds"
mkdir -p "$artifacts" "$TMPDIR"
for t in "${targets[@]}"; do mkdir -p "$seeds/$t" "$build/corpus/$t"; done

"$build/bin/make_seeds" "$seeds/made" tests/data/vectors/inputs/*
byte() { printf "\\$(printf '%03o' "$1")"; }
for t in "${targets[@]}"; do
  case $t in
    decoder_fuzz) cp "$seeds"/made/decoder/* "$seeds/$t/" ;;
    archive_fuzz | extract_fuzz | update_fuzz)
      cp "$seeds"/made/archives/*.ace tests/data/vectors/archives/*.ace "$seeds/$t/" ;;
    mask_fuzz) cp "$seeds"/made/masks/* "$seeds/$t/" ;;
    comment_fuzz) cp tests/data/vectors/comments/*.bin "$seeds/$t/" ;;
    roundtrip_fuzz)
      # A setting byte, then the data.
      setting=0
      for f in tests/data/vectors/inputs/*; do
        [ "$(stat -c %s "$f")" -le 20000 ] || continue
        { byte $((setting & 15)); cat "$f"; } > "$seeds/$t/$(basename "$f")"
        setting=$((setting + 1))
      done ;;
  esac
  if [ -d "tests/data/fuzz/$t" ]; then cp tests/data/fuzz/"$t"/* "$seeds/$t/"; fi
done

status=0
for t in "${targets[@]}"; do
  echo "---- $t ($seconds s) ----"
  max_len=20000
  case $t in archive_fuzz | extract_fuzz | update_fuzz) max_len=65536 ;; esac
  "$build/bin/$t" -max_total_time="$seconds" -max_len="$max_len" -timeout=10 \
    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$artifacts/$t-" \
    "$build/corpus/$t" "$seeds/$t" 2>&1 | grep -E "^(#[0-9]+[[:space:]]+DONE|==[0-9]+==|SUMMARY|stat::number_of_executed_units|Done )|ERROR|Test unit written" || true
  # libFuzzer exits non-zero on a finding; PIPESTATUS keeps its status past grep.
  [ "${PIPESTATUS[0]}" -eq 0 ] || { echo "$t found a failing input" >&2; status=1; }
done
exit $status
