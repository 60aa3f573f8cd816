#!/usr/bin/env bash
# The main job: installs what is missing, builds the glue library and the simulator in the native
# debug configuration and runs the simulator, which loads the library as the television's
# middleware does and plays a scenario with the simulated host and browser: the built-in evening
# in front of the television, or a scenario file. Arguments go to the simulator, for example
#   scripts/simulate.sh --scenario simulator/scenarios/evening.json
#   scripts/simulate.sh --list-steps
# (--help lists them all).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
cmake --preset debug >/dev/null
cmake --build --preset debug --target hbbtv_simulator
exec build/debug/simulator/hbbtv_simulator "$@"
