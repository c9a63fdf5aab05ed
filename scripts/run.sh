#!/usr/bin/env bash
# The main job: set up, build, and start the lab as the host starts it, on an example input file
# (a Mohr-Coulomb medium dense sand). With a display ($DISPLAY or $WAYLAND_DISPLAY) the window
# program opens on it; without one (or with TARNWICK_HEADLESS=1) the headless program runs the
# example script that runs every test type through our kernel and prints rows of each test's
# curves.
#   bash scripts/run.sh                                  # the example
#   bash scripts/run.sh INPUT [--run SCRIPT|-]           # the headless program on other arguments
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
input=examples/materials/medium_dense_sand_mohr_coulomb.xml
if (($# == 0)); then
    if [[ -z "${TARNWICK_HEADLESS:-}" && -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]]; then
        exec ./build/bin/tarnwick-window "$input"
    fi
    set -- "$input" --run examples/scripts/every_test.commands
fi
exec ./build/bin/tarnwick "$@"
