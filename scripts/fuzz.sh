#!/usr/bin/env bash
# Builds the decoder's libFuzzer target with clang in build/fuzz and runs it for N seconds
# (default 60), starting from seeds made of the golden packed vectors.
# Usage: scripts/fuzz.sh [seconds]. Crashing inputs land in build/fuzz/artifacts/.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build/fuzz

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DACEPLUG_BUILD_FUZZ=ON -DACEPLUG_BUILD_TESTS=OFF -DACEPLUG_BUILD_CLI=OFF \
  -DACEPLUG_WERROR=ON >/dev/null
cmake --build "$build" -j2 --target decoder_fuzz

seeds=$build/seeds
corpus=$build/corpus
artifacts=$build/artifacts
mkdir -p "$seeds" "$corpus" "$artifacts"

# A seed is the flag byte 0, the unpacked size as 3 bytes little-endian, then the packed data.
byte() { printf "\\$(printf '%03o' "$1")"; }
vectors=../shared/vectors
if [ -f "$vectors/packed.tsv" ]; then
  while IFS=$'\t' read -r input _dict _level _run size _crc packed_size packed; do
    [ "$input" = input ] && continue
    [ "$size" -lt 1048576 ] && [ "$packed_size" -le 16384 ] || continue
    {
      byte 0; byte $((size & 255)); byte $(((size >> 8) & 255)); byte $(((size >> 16) & 255))
      cat "$vectors/$packed"
    } > "$seeds/$(basename "$packed")"
  done < "$vectors/packed.tsv"
else
  echo "fuzz.sh: no golden vectors at $vectors; starting without seeds" >&2
fi

exec "$build/bin/decoder_fuzz" -max_total_time="$seconds" -max_len=20000 -timeout=10 \
  -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$artifacts/" "$corpus" "$seeds"
