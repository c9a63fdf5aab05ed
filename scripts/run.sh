#!/usr/bin/env bash
# The main job: set up, build, and run the headless program on the shipped example.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
./build/src/app/tarnwick "$@"
