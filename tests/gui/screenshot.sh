#!/usr/bin/env bash
# Runs the screenshot tests of the window on a virtual X server. Exits 77 (skipped) when
# xvfb-run isn't installed; TW_SCREENSHOT=FILE keeps the picture of the window.
set -euo pipefail
if ! command -v xvfb-run >/dev/null; then
    echo "xvfb-run is missing: the screenshot test is skipped"
    exit 77
fi
exec xvfb-run -a -s "-screen 0 1920x1080x24" env QT_QPA_PLATFORM=xcb "$1" \
    --gtest_filter='Screenshot*'
