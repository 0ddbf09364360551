#!/usr/bin/env bash
# Builds and runs the whole suite three ways: native 64-bit, 32-bit (-m32, which
# proves the record layouts) and under AddressSanitizer + UndefinedBehaviorSanitizer,
# builds the benchmarks (without running them), then runs each fuzzer (decoder at
# every dictionary, compress-decode round trip, comment decoder, archive listing,
# testing and extraction, adding and deleting, file masks) for FUZZ_SECONDS
# (default 60).
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
run() {
  local name=$1; shift
  echo "==== $name build ===="
  cmake -S . -B "build/$name" -DACEPLUG_WERROR=ON "$@" >/dev/null
  cmake --build "build/$name" -j "$jobs"
  echo "==== $name tests ===="
  ctest --test-dir "build/$name" -j "$jobs" --output-on-failure --timeout 600
}
run native -DCMAKE_BUILD_TYPE=Release
run m32 -DCMAKE_BUILD_TYPE=Release -DACEPLUG_M32=ON -DACEPLUG_BUILD_CLI=OFF
run asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DACEPLUG_SANITIZE=ON
echo "==== benchmark build (built, not run) ===="
cmake --preset bench -DACEPLUG_WERROR=ON >/dev/null
cmake --build build/bench -j "$jobs"
echo "==== fuzzing (${FUZZ_SECONDS:-60} s per target) ===="
bash scripts/fuzz.sh "${FUZZ_SECONDS:-60}" 2>&1 | grep -v "^\["
echo "all three builds passed, the benchmarks build; the fuzzers found nothing"
