#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs every test.
#   scripts/test.sh            the native debug build
#   scripts/test.sh PRESET     one of: debug, release, asan, tsan, armhf, clang
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-debug}"

if [ "$preset" = "armhf" ]; then
  scripts/bootstrap.sh --armhf
elif [ "$preset" = "clang" ]; then
  scripts/bootstrap.sh --clang
else
  scripts/bootstrap.sh
fi
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset"
