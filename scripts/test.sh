#!/usr/bin/env bash
# Set up, build and run every test; exits non-zero when any test fails.
set -euo pipefail
cd "$(dirname "$0")/.."
# Benchmarks are built (so they can't rot) but not run.
bash scripts/build.sh -DTARNWICK_BENCH=ON
ctest --test-dir build --output-on-failure -j "$(nproc)" </dev/null
