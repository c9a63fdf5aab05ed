#!/usr/bin/env bash
# The main job: set up, build, run the headless program on the shipped example, and run the
# drained Mohr-Coulomb triaxial example through our kernel with a short summary.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
./build/src/app/tarnwick "$@"
# The kernel writes its result beside its input: work on a copy in build/, not in examples/.
mkdir -p build/examples
cp examples/kernel/triaxial_drained_mc.qbc build/examples/
./build/bin/qbabc_3d --summary build/examples/triaxial_drained_mc.qbc
