#!/usr/bin/env bash
# The main job: set up, build, and run the headless program on an input file as the host hands it
# over: a new project on a Mohr-Coulomb medium dense sand whose triaxial and oedometer tests run
# through our kernel, with a summary.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
./build/bin/tarnwick examples/materials/medium_dense_sand_mohr_coulomb.xml "$@"
