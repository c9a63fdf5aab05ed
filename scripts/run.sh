#!/usr/bin/env bash
# The main job: set up, build, and run the headless program: a new project on a Mohr-Coulomb
# medium dense sand whose triaxial and oedometer tests run through our kernel, with a summary.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
./build/bin/tarnwick "$@"
