#!/usr/bin/env bash
# Installs what Halcy needs, builds it and starts it. Extra arguments go to halcy.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh build
cmake --preset release >/dev/null
cmake --build --preset release --target halcy
exec build/release/src/halcy "$@"
