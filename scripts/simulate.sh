#!/usr/bin/env bash
# The main job: installs what is missing, builds the native debug configuration and runs the
# simulator, which loads the glue library as the television's middleware does and plays its
# scenario with the simulated host and browser. Arguments go to the simulator (--help lists them).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
cmake --preset debug >/dev/null
cmake --build --preset debug
exec build/debug/simulator/hbbtv_simulator "$@"
