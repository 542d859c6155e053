#!/usr/bin/env bash
# Builds the screen twice (QML compiled ahead of time, and kept as source) in Release and prints the
# benchmark's medians side by side. Usage: bash scripts/bench.sh [--runs N] [--size WxH]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
bash "$root/scripts/setup.sh"
for variant in aot:ON source:OFF; do
  name=${variant%%:*}
  dir="$root/build-bench-$name"
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQSP_BUILD_TESTS=OFF \
        -DQSP_PRECOMPILE_QML=${variant##*:} > /dev/null
  cmake --build "$dir" --target bench_screen qquicksystemset --parallel "$(nproc)" > /dev/null
  "$dir/bin/bench_screen" "$@" > "$dir/bench.txt"
done
echo "QML compiled ahead of time                                               | QML as source"
paste -d'|' "$root/build-bench-aot/bench.txt" "$root/build-bench-source/bench.txt" | cut -c1-200
