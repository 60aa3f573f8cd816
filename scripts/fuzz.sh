#!/usr/bin/env bash
# Builds the fuzz preset (clang, libFuzzer, AddressSanitizer, UBSan) and runs every target on its
# seed corpus in fuzz/corpus/<target>, with its dictionary from fuzz/dict/ if it has one.
#   scripts/fuzz.sh                 about 30 seconds each
#   scripts/fuzz.sh 600             600 seconds each
#   scripts/fuzz.sh --runs 1000000  a million executions each
#   scripts/fuzz.sh --seed 1 30     the same mutations on every run (CI: a clean run stays clean
#                                   on the next machine; without a seed every run explores anew)
#   scripts/fuzz.sh ... TARGET...   only these targets (names as in fuzz/corpus)
# What a run finds goes to build/fuzz/findings/<target>-*; what it learns to build/fuzz/learned/,
# never into the repository's corpus. Exits non-zero when a target fails.
set -euo pipefail
cd "$(dirname "$0")/.."

limit=(-max_total_time=30)
seed=()
while [ $# -gt 0 ]; do
  if [ "$1" = "--runs" ]; then
    limit=(-runs="$2")
    shift 2
  elif [ "$1" = "--seed" ]; then
    seed=(-seed="$2")
    shift 2
  elif [[ "$1" =~ ^[0-9]+$ ]]; then
    limit=(-max_total_time="$1")
    shift
  else
    break
  fi
done

scripts/bootstrap.sh --fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

targets=("$@")
[ "${#targets[@]}" -gt 0 ] || mapfile -t targets < <(ls fuzz/corpus)
mkdir -p build/fuzz/findings
failed=()
for target in "${targets[@]}"; do
  learned="build/fuzz/learned/$target"
  mkdir -p "$learned"
  dict=()
  [ -f "fuzz/dict/$target.dict" ] && dict=(-dict="fuzz/dict/$target.dict")
  echo "=== fuzz_$target ==="
  # Standard output is closed (-close_fd_mask=1): the library's log lines would drown the report.
  if ! "build/fuzz/fuzz/fuzz_$target" "${limit[@]}" "${seed[@]}" "${dict[@]}" -timeout=25 -close_fd_mask=1 \
      -print_final_stats=1 -artifact_prefix="build/fuzz/findings/$target-" "$learned" "fuzz/corpus/$target" \
      2> "build/fuzz/$target.log"; then
    failed+=("$target")
    tail -n 40 "build/fuzz/$target.log"
  fi
  grep -E '^(stat::number_of_executed_units|Done)' "build/fuzz/$target.log" || true
done
if [ "${#failed[@]}" -gt 0 ]; then
  echo "fuzz: failed: ${failed[*]} (inputs in build/fuzz/findings)"
  exit 1
fi
echo "fuzz: every target ran clean"
