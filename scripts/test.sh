#!/usr/bin/env bash
# Installs what the tests need, builds everything and runs the whole suite inside a private headless
# desktop session (see desktop-session.sh).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh test
cmake --preset dev >/dev/null
cmake --build --preset dev
scripts/check-style.sh

# One run, one summary: unit tests set the offscreen platform themselves; integration tests use the
# session's X server, window manager, tray host and audio server. Then, in the same session, pictures of
# the hub, the settings window and the mirror for people to look at; they decide nothing, so a failure
# to take them is only reported.
scripts/desktop-session.sh bash -c '
    ctest --test-dir build/dev --output-on-failure --timeout 600
    status=$?
    build/dev/bench/hub_screenshots build/dev/test-artifacts || echo "hub pictures were not taken" >&2
    build/dev/bench/bench_settings build/dev/test-artifacts || echo "settings pictures were not taken" >&2
    build/dev/bench/mirror_screenshots build/dev/test-artifacts || echo "mirror pictures were not taken" >&2
    exit $status'
