#!/usr/bin/env bash
# Installs what Halcy needs, builds it, installs it under ~/.local (HALCY_PREFIX to choose another place)
# and starts it. Extra arguments go to halcy.
set -euo pipefail
cd "$(dirname "$0")/.."

prefix="${HALCY_PREFIX:-$HOME/.local}"
scripts/install-deps.sh build
cmake --preset release >/dev/null
cmake --build --preset release --target halcy
cmake --install build/release --prefix "$prefix" >/dev/null
case ":$PATH:" in
    *":$prefix/bin:"*) ;;
    *) echo "Halcy is installed in $prefix/bin; add it to PATH to run \"halcy\" by name." >&2 ;;
esac
exec "$prefix/bin/halcy" "$@"
