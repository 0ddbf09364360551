#!/usr/bin/env bash
# Fault planting: checks that the test suite notices each of the single-line
# faults listed in tests/mutants.txt. Each fault is planted alone in a scratch
# copy of the project (build/mutants/src, kept between runs so that every
# rebuild is incremental), the suite runs against it and stops at the first
# failing test. Every fault is reported as
#   caught   a test failed (the first one is named)
#   missed   the whole suite passed: a test is missing
#   stale    its text is not (or not exactly once) in the file any more
#   broken   the project did not build with it
# followed by a summary. Runs on demand, not in CI.
#
# Usage: scripts/mutants.sh [-j JOBS] [-l LIST] [--no-baseline] [FILTER]
#   -j JOBS        tests run at once (default 8: many tests wait on the clock)
#   -l LIST        the fault list (default tests/mutants.txt)
#   --no-baseline  skip the check that the suite passes without any fault
#   --check        only report the faults whose text is stale, build nothing
#   FILTER         plant only the faults whose line contains this text
#
# tests/mutants.txt: one fault per line, "FILE: TEXT => REPLACEMENT", where
# TEXT must occur exactly once in FILE (leading and trailing blanks of TEXT
# and REPLACEMENT are ignored); lines starting with "#" and blank lines are
# skipped.
set -euo pipefail
shopt -u patsub_replacement 2>/dev/null || true

root=$(cd "$(dirname "$0")/.." && pwd)
jobs=8
list=$root/tests/mutants.txt
baseline=1
check=0
filter=
while [ $# -gt 0 ]; do
  case $1 in
    -j) jobs=$2; shift 2 ;;
    -l) list=$(realpath "$2"); shift 2 ;;
    --no-baseline) baseline=0; shift ;;
    --check) check=1; shift ;;
    -h|--help) sed -n '2,22p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) filter=$1; shift ;;
  esac
done

work=$root/build/mutants
src=$work/src
bld=$work/build
tmp=$work/tmp
log=$work/log
results=$work/results.txt
mkdir -p "$src" "$bld"

# Brings the scratch copy up to the project's files. A file is copied only
# when its content differs, and then gets a fresh time, so that the build
# recompiles exactly what changed (a fault left by an interrupted run too).
sync_copy() {
  local f
  (cd "$root" && git ls-files -co --exclude-standard) | sort > "$work/want"
  while IFS= read -r f; do
    [ -f "$root/$f" ] || continue
    if ! cmp -s "$root/$f" "$src/$f"; then
      mkdir -p "$(dirname "$src/$f")"
      cp "$root/$f" "$src/$f"
    fi
  done < "$work/want"
  # The build collects sources by folder: a file the project dropped must go.
  (cd "$src" && find . -type f | sed 's|^\./||' | sort) > "$work/have"
  comm -23 "$work/have" "$work/want" | while IFS= read -r f; do rm -f "$src/$f"; done
}

build() {
  if [ ! -f "$bld/CMakeCache.txt" ]; then
    cmake -S "$src" -B "$bld" -DCMAKE_BUILD_TYPE=Release > "$log" 2>&1 || return 1
  fi
  cmake --build "$bld" -j2 >> "$log" 2>&1
}

# Runs the suite; prints the first failing test when there is one.
run_suite() {
  rm -rf "$tmp"
  mkdir -p "$tmp"
  if TMPDIR=$tmp ctest --test-dir "$bld" -j "$jobs" --stop-on-failure --timeout 120 \
    >> "$log" 2>&1; then
    return 0
  fi
  sed -n '1s/^[0-9]*://p' "$bld/Testing/Temporary/LastTestsFailed.log" 2>/dev/null | cut -c1-70
  return 1
}

trim() {
  local s=$1
  s=${s#"${s%%[![:space:]]*}"}
  printf '%s' "${s%"${s##*[![:space:]]}"}"
}

# Splits a fault line into file, text and replacement and counts the text's
# occurrences in the project's file (0 when the line is malformed).
parse() {
  local line=$1 rest content without
  file=${line%%: *}
  rest=${line#*: }
  text= repl= count=0
  if [[ $rest == *" => "* ]]; then
    text=$(trim "${rest%% => *}")
    repl=$(trim "${rest#* => }")
  elif [[ $rest == *" =>" ]]; then
    text=$(trim "${rest% =>}")
  fi
  [ -f "$root/$file" ] && [ -n "$text" ] || return 0
  content=$(< "$root/$file")
  without=${content//"$text"/}
  count=$(( (${#content} - ${#without}) / ${#text} ))
}

mapfile -t lines < <(grep -v '^[[:space:]]*\(#\|$\)' "$list" | { grep -F -- "$filter" || true; })
total=${#lines[@]}
if [ "$check" = 1 ]; then
  bad=0
  for line in "${lines[@]}"; do
    parse "$line"
    [ "$count" -eq 1 ] || { echo "stale (found $count times): $line"; bad=$((bad + 1)); }
  done
  echo "$total faults, $bad stale"
  [ "$bad" -eq 0 ]
  exit
fi

start=$(date +%s)
sync_copy
: > "$log"
build || { echo "mutants: the project does not build; see $log" >&2; exit 2; }
if [ "$baseline" = 1 ]; then
  echo "checking that the suite passes without faults ..."
  if failed=$(run_suite); then :; else
    echo "mutants: the suite fails without any fault ($failed); see $log" >&2
    exit 2
  fi
fi

caught=0 missed=0 stale=0 broken=0 n=0
: > "$results"
for line in "${lines[@]}"; do
  n=$((n + 1))
  t0=$(date +%s)
  parse "$line"
  outcome=stale
  detail=
  if [ "$count" -eq 1 ]; then
    content=$(< "$root/$file")
    printf '%s\n' "${content/"$text"/"$repl"}" > "$src/$file"
    : > "$log"
    if ! build; then
      outcome=broken
    elif failed=$(run_suite); then
      outcome=missed
    else
      outcome=caught
      detail=" by $failed"
    fi
    cp "$root/$file" "$src/$file"
  elif [ "$count" -gt 1 ]; then
    detail=" (found $count times)"
  fi
  case $outcome in
    caught) caught=$((caught + 1)) ;;
    missed) missed=$((missed + 1)) ;;
    stale) stale=$((stale + 1)) ;;
    broken) broken=$((broken + 1)) ;;
  esac
  printf '[%2d/%d] %-7s %s%s (%ss)\n' "$n" "$total" "$outcome" "$line" "$detail" \
    "$(($(date +%s) - t0))" | tee -a "$results"
done

# Leave the scratch build as the project is.
build || true
minutes=$(( ($(date +%s) - start + 59) / 60 ))
summary="caught $caught, missed $missed, stale $stale, broken $broken of $total faults ($minutes min)"
echo "$summary" | tee -a "$results"
[ $((missed + stale + broken)) -eq 0 ]
