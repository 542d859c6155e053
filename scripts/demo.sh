#!/usr/bin/env bash
# Installs what is missing, builds, and shows where the settings plug-in and the simulated panel are.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}

bash "$root/scripts/build.sh"
echo
echo "settings plug-in: $build/lib/libqquicksystemset.so"
echo "simulated panel:  $build/lib/libhmisystemset.so"
echo "(the demo host that opens the screen on the simulated panel is not built yet)"
