#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in build/fuzz and runs each for N seconds
# (default 60): the LZ77 decoder on hostile data (seeded with the golden packed
# vectors), the compressor-to-decoder round trip on any input (seeded with the
# golden inputs), the comment decoder (seeded with the test comment blocks) and
# the archive listing (seeded with the two golden archives).
# Usage: scripts/fuzz.sh [seconds]. Crashing inputs land in build/fuzz/artifacts/.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build/fuzz
targets=(decoder_fuzz roundtrip_fuzz comment_fuzz archive_fuzz)

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DACEPLUG_BUILD_FUZZ=ON -DACEPLUG_BUILD_TESTS=OFF -DACEPLUG_BUILD_CLI=OFF \
  -DACEPLUG_WERROR=ON >/dev/null
cmake --build "$build" -j2 --target "${targets[@]}"

artifacts=$build/artifacts
mkdir -p "$artifacts"
for t in "${targets[@]}"; do mkdir -p "$build/seeds/$t" "$build/corpus/$t"; done

# A decoder seed is the flag byte 0, the unpacked size as 3 bytes little-endian,
# then the packed data; a round-trip seed is a setting byte, then the data.
byte() { printf "\\$(printf '%03o' "$1")"; }
vectors=tests/data/vectors
if [ -f "$vectors/packed.tsv" ]; then
  while IFS=$'\t' read -r input _dict _level _run size _crc packed_size packed; do
    [ "$input" = input ] && continue
    [ "$size" -lt 1048576 ] && [ "$packed_size" -le 16384 ] || continue
    {
      byte 0; byte $((size & 255)); byte $(((size >> 8) & 255)); byte $(((size >> 16) & 255))
      cat "$vectors/$packed"
    } > "$build/seeds/decoder_fuzz/$(basename "$packed")"
  done < "$vectors/packed.tsv"
else
  echo "fuzz.sh: no golden vectors at $vectors; the decoder starts without seeds" >&2
fi
setting=0
for f in "$vectors"/inputs/*; do
  [ -f "$f" ] && [ "$(stat -c %s "$f")" -le 20000 ] || continue
  { byte $((setting & 15)); cat "$f"; } > "$build/seeds/roundtrip_fuzz/$(basename "$f")"
  setting=$((setting + 1))
done
cp tests/data/vectors/comments/*.bin "$build/seeds/comment_fuzz/" 2>/dev/null || true
cp "$vectors"/archives/*.ace "$build/seeds/archive_fuzz/" 2>/dev/null || true

status=0
for t in "${targets[@]}"; do
  echo "---- $t ($seconds s) ----"
  max_len=20000
  [ "$t" = archive_fuzz ] && max_len=70000  # room for the golden archives
  "$build/bin/$t" -max_total_time="$seconds" -max_len="$max_len" -timeout=10 \
    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$artifacts/$t-" \
    "$build/corpus/$t" "$build/seeds/$t" 2>&1 | grep -E "^(#[0-9]+ +DONE|==[0-9]+==|SUMMARY|stat::number_of_executed_units|Done )|ERROR|Test unit written" || true
  # libFuzzer exits non-zero on a finding; PIPESTATUS keeps its status past grep.
  [ "${PIPESTATUS[0]}" -eq 0 ] || { echo "$t found a failing input" >&2; status=1; }
done
exit $status
