#!/usr/bin/env bash
# The main job: set up, build, and start the lab on an example input file as the host hands it
# over (a Mohr-Coulomb medium dense sand). With a display ($DISPLAY or $WAYLAND_DISPLAY) the
# window program opens on it; without one the headless program runs its triaxial and oedometer
# tests through our kernel and prints a summary. TARNWICK_HEADLESS=1 asks for the headless run
# on a desktop too.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
input=examples/materials/medium_dense_sand_mohr_coulomb.xml
if [[ -z "${TARNWICK_HEADLESS:-}" && -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]]; then
    exec ./build/bin/tarnwick-window "$input" "$@"
fi
exec ./build/bin/tarnwick "$input" "$@"
