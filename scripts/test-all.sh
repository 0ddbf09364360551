#!/usr/bin/env bash
# Builds and runs the whole suite three ways: native 64-bit, 32-bit (-m32, which
# proves the record layouts) and under AddressSanitizer + UndefinedBehaviorSanitizer,
# checks the installed tree (scripts/check-install.sh, a test of the native
# suite), builds the benchmarks (without running them), then runs each fuzzer
# (decoder at every dictionary, compress-decode round trip, comment decoder,
# archive listing, testing and extraction, adding and deleting, file masks) for
# FUZZ_SECONDS (default 60).
#
# Where a tool is missing (a 32-bit toolchain, clang's libFuzzer) or 32-bit
# programs cannot run here (a kernel without IA-32 emulation), the part that
# needs it is left out and named at the end; the -m32 build still compiles and
# links whenever the toolchain is there, as its static_asserts are its point.
# With CI set (or ACEPLUG_REQUIRE_ALL=1) nothing may be left out.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
strict=0
if [ "${ACEPLUG_REQUIRE_ALL:-0}" = 1 ] || { [ -n "${CI:-}" ] && [ "${CI:-}" != false ]; }; then
  strict=1
fi
not_run=()
leave_out() {
  if [ "$strict" = 1 ]; then
    echo "test-all.sh: $1 (on CI everything must run)" >&2
    exit 1
  fi
  echo "==== NOT RUN: $1 ===="
  not_run+=("$1")
}
build() {
  local name=$1; shift
  echo "==== $name build ===="
  cmake -S . -B "build/$name" -DACEPLUG_WERROR=ON "$@" >/dev/null
  cmake --build "build/$name" -j "$jobs"
}
run_tests() {
  echo "==== $1 tests ===="
  ctest --test-dir "build/$1" -j "$jobs" --output-on-failure --timeout 600
}

# Whether this machine builds (and runs) a 32-bit program; the probe is kept
# out of the source tree.
probe=$(mktemp -d)
trap 'rm -rf "$probe"' EXIT
printf '#include <string>\nint main() { return sizeof(void*) == 4 && std::string("ok").size() == 2 ? 0 : 1; }\n' > "$probe/p.cpp"
m32_builds=0 m32_runs=0
if ${CXX:-c++} -m32 -o "$probe/p" "$probe/p.cpp" 2>/dev/null; then
  m32_builds=1
  "$probe/p" 2>/dev/null && m32_runs=1
fi
printf '#include <cstdint>\n#include <cstddef>\nextern "C" int LLVMFuzzerTestOneInput(const uint8_t*, size_t) { return 0; }\n' \
  > "$probe/f.cpp"
fuzzer=0
clang++ -fsanitize=fuzzer -o "$probe/f" "$probe/f.cpp" 2>/dev/null && fuzzer=1

build native -DCMAKE_BUILD_TYPE=Release
run_tests native
if [ "$m32_builds" = 1 ]; then
  build m32 -DCMAKE_BUILD_TYPE=Release -DACEPLUG_M32=ON -DACEPLUG_BUILD_CLI=OFF
  if [ "$m32_runs" = 1 ]; then
    run_tests m32
  else
    leave_out "the -m32 tests: this kernel cannot run 32-bit programs (IA-32 emulation is off); the -m32 build compiled and linked"
  fi
else
  leave_out "the -m32 build and its tests: no 32-bit toolchain (install g++-multilib)"
fi
build asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DACEPLUG_SANITIZE=ON
run_tests asan
echo "==== benchmark build (built, not run) ===="
cmake --preset bench -DACEPLUG_WERROR=ON >/dev/null
cmake --build build/bench -j "$jobs"
if [ "$fuzzer" = 1 ]; then
  echo "==== fuzzing (${FUZZ_SECONDS:-60} s per target) ===="
  bash scripts/fuzz.sh "${FUZZ_SECONDS:-60}" 2>&1 | grep -v "^\["
else
  leave_out "fuzzing: clang++ -fsanitize=fuzzer does not link (install clang and libclang-rt-14-dev)"
fi

if ((${#not_run[@]})); then
  echo "everything else passed; NOT RUN:"
  printf '  - %s\n' "${not_run[@]}"
else
  echo "all three builds passed, the installed tree works, the benchmarks build; the fuzzers found nothing"
fi
