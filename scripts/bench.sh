#!/usr/bin/env bash
# Builds the release preset and runs every benchmark, then prints their figures as one table
# (figure, subject, baseline, ratio as the median of interleaved rounds with its range, target,
# met or not) and writes the same rows as JSON.
#   scripts/bench.sh [OUT.json]      default: build/release/bench/results.json
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh
cmake --preset release >/dev/null
cmake --build --preset release
out="${1:-build/release/bench/results.json}"
parts="$(mktemp -d)"
trap 'rm -rf "$parts"' EXIT
for bench in memory_pool_bench service_agent_bench television_bench; do
  echo "== $bench"
  "build/release/bench/$bench" --json "$parts/$bench.json" >"$parts/$bench.log" 2>&1 || {
    cat "$parts/$bench.log"
    echo "bench.sh: $bench failed" >&2
    exit 1
  }
done
echo
build/release/bench/bench_report "$out" "$parts"/memory_pool_bench.json "$parts"/service_agent_bench.json \
  "$parts"/television_bench.json
