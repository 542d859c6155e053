#!/usr/bin/env bash
# Builds the soak program in Release and runs it: the same round of touches through the whole screen (every
# page, switches, an address, the Wi-Fi page with a password, a language switch and back) again and again,
# reporting resident memory and live QObjects at the start and every K rounds, then a summary.
#
# Usage: bash scripts/soak.sh [ROUNDS] [soak options]
#   ROUNDS             default 1000
#   soak options       --report-every K (default 100), --warmup W, --size WxH, --classes N, --trace
#   BUILD_DIR          build folder (default build-soak-release); JOBS: build jobs (default: all cores)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
dir=${BUILD_DIR:-$root/build-soak-release}
rounds=1000
if [[ $# -gt 0 && "$1" =~ ^[0-9]+$ ]]; then
  rounds=$1
  shift
fi

bash "$root/scripts/setup.sh" > /dev/null
launcher=()
if command -v ccache > /dev/null 2>&1; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQSP_BUILD_TESTS=OFF "${launcher[@]}" > /dev/null
cmake --build "$dir" --target soak --parallel "${JOBS:-$(nproc)}" > /dev/null
exec "$dir/bin/soak" --rounds "$rounds" "$@"
