#!/usr/bin/env bash
# Set up, build and run every test; exits non-zero when any test fails.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
ctest --test-dir build --output-on-failure -j "$(nproc)" </dev/null
