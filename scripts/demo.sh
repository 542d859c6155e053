#!/usr/bin/env bash
# Installs what is missing, builds, and starts the demo host on the simulated panel. Options are passed on
# to settings-host (see --help), e.g.: bash scripts/demo.sh --size 800x1280 --state my-panel.json
# Without a display it says so and writes screenshots of every page at the three screen sizes instead.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}

bash "$root/scripts/build.sh"
host="$build/bin/settings-host"

if [[ -z "${DISPLAY:-}" && -z "${WAYLAND_DISPLAY:-}" ]]; then
  shots="$build/screenshots"
  echo "demo: no display here; writing screenshots of every page to $shots instead"
  for size in 1024x600 800x1280 480x800; do
    "$host" --size "$size" --screenshots "$shots" "$@"
  done
  exit 0
fi
exec "$host" "$@"
