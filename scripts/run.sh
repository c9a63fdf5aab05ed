#!/usr/bin/env bash
# The main job: set up, build, and run the headless program as the host starts it, on an example
# input file (a Mohr-Coulomb medium dense sand), with the example script that runs every test type
# through our kernel and prints rows of each test's curves.
#   bash scripts/run.sh                                  # the example
#   bash scripts/run.sh INPUT [--run SCRIPT|-]           # the program on other arguments
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
if (($# == 0)); then
    set -- examples/materials/medium_dense_sand_mohr_coulomb.xml \
        --run examples/scripts/every_test.commands
fi
./build/bin/tarnwick "$@"
