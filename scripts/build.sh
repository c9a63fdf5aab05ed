#!/usr/bin/env bash
# Installs what is missing, configures and builds the default (lean) build in build/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build build
