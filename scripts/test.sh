#!/usr/bin/env bash
# Installs what the tests need, builds everything and runs the whole suite: unit tests on the offscreen
# platform, then integration tests inside a private headless desktop session.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh test
cmake --preset dev >/dev/null
cmake --build --preset dev

export QT_QPA_PLATFORM=offscreen
ctest --test-dir build/dev -L unit --output-on-failure
unset QT_QPA_PLATFORM

scripts/desktop-session.sh ctest --test-dir build/dev -L integration --output-on-failure
