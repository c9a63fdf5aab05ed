#!/usr/bin/env bash
# Builds the fuzz targets with clang, libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer
# in build-fuzz/ and runs one of them:
#   bash scripts/fuzz.sh                 # lists the targets
#   bash scripts/fuzz.sh NAME [SECONDS]  # fuzzes fuzz/NAME.cpp, 600 s unless told
# New inputs go to build-fuzz/corpus/NAME; the seeds in fuzz/corpus/NAME are read, never written.
# A crash leaves crash-* in the current folder: add it to fuzz/corpus/NAME and fix the reader.
set -euo pipefail
cd "$(dirname "$0")/.."
if (($# == 0)); then
    ls fuzz/*_*.cpp | sed 's|fuzz/||; s|\.cpp$||'
    exit 0
fi
name=$1
seconds=${2:-600}
bash scripts/setup.sh --fuzz
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DTARNWICK_FUZZ=ON >/dev/null
cmake --build build-fuzz --target "fuzz_$name"
mkdir -p "build-fuzz/corpus/$name"
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
"build-fuzz/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 \
    "build-fuzz/corpus/$name" "fuzz/corpus/$name"
