#!/usr/bin/env bash
# Installs what is missing, then configures and builds the project into ${BUILD_DIR:-build}.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}

bash "$root/scripts/setup.sh"
generator=()
if command -v ninja >/dev/null 2>&1 && [[ ! -f "$build/CMakeCache.txt" || -f "$build/build.ninja" ]]; then
  generator=(-G Ninja)
fi
cmake -S "$root" -B "$build" "${generator[@]}" "$@"
cmake --build "$build" --parallel "$(nproc)"
