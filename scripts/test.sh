#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite with CTest.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}

bash "$root/scripts/build.sh"
cd "$build"
ctest --output-on-failure --parallel "$(nproc)"
