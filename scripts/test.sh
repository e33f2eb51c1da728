#!/usr/bin/env bash
# Installs what the tests need, builds everything and runs the whole suite inside a private headless
# desktop session (see desktop-session.sh); then the whole suite again built with the address and
# undefined-behaviour sanitizers, and each fuzz target for a few seconds over its corpus.
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

# The whole suite again, built with the address and undefined-behaviour sanitizers: first the unit tests,
# then the integration tests in a fresh desktop session. Leaks inside the system's libraries are listed,
# each with its reason, in the suppressions file; the halcy binary and the peers the integration tests
# start inherit the same options. Everything runs a few times slower this way, so every wait deadline of
# the integration tests is stretched by one factor.
cmake --preset asan >/dev/null
cmake --build --preset asan
export LSAN_OPTIONS="suppressions=$PWD/tests/sanitizers/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS=print_stacktrace=1
ctest --test-dir build/asan -L unit --output-on-failure --timeout 900
HALCY_TEST_TIME_FACTOR=3 scripts/desktop-session.sh \
    ctest --test-dir build/asan -L integration --output-on-failure
unset LSAN_OPTIONS UBSAN_OPTIONS

# New inputs found here go to a scratch folder; the checked-in corpus changes only by hand.
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzz_capture fuzz_search fuzz_pasteboard fuzz_preferences
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
for corpus in tests/fuzz/corpus/*/; do
    target="$(basename "$corpus")"
    mkdir -p "$scratch/$target"
    build/fuzz/tests/fuzz/fuzz_"$target" -max_total_time=5 -artifact_prefix="$scratch/" "$scratch/$target" "$corpus" \
        2>"$scratch/$target.log" || { cat "$scratch/$target.log" >&2; exit 1; }
    tail -n 1 "$scratch/$target.log"
done
