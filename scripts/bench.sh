#!/usr/bin/env bash
# Builds the screen twice in Release (QML compiled ahead of time, and QML kept as source) and prints the
# benchmark's figures side by side: medians over the runs inside each process, and over PROCESSES processes
# (default 5) for the figures a process has only once (the first init, the first switch to each page).
# Usage: bash scripts/bench.sh [--runs N] [--size WxH]
# For a cross build (scripts/armhf.sh --bench): BENCH_DIR_PREFIX names the build folders (default
# build-bench), BENCH_CMAKE_OPTIONS adds configure options (a toolchain file) and BENCH_RUNNER goes before the
# program (an emulator); both are split at spaces.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
processes=${PROCESSES:-5}
prefix=${BENCH_DIR_PREFIX:-$root/build-bench}
read -ra cmake_options <<< "${BENCH_CMAKE_OPTIONS:-}"
read -ra runner <<< "${BENCH_RUNNER:-}"
bash "$root/scripts/setup.sh" > /dev/null
cache=$(mktemp -d)
trap 'rm -rf "$cache"' EXIT
for variant in aot:ON source:OFF; do
  name=${variant%%:*}
  dir="$prefix-$name"
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQSP_BUILD_TESTS=OFF \
        -DQSP_PRECOMPILE_QML=${variant##*:} "${cmake_options[@]}" > /dev/null
  cmake --build "$dir" --target bench_screen qquicksystemset --parallel "$(nproc)" > /dev/null
  # Each process starts with an empty QML disk cache: what is measured is the build, not an earlier run's cache.
  for ((i = 0; i < processes; ++i)); do
    rm -rf "${cache:?}"/*
    XDG_CACHE_HOME="$cache" "${runner[@]}" "$dir/bin/bench_screen" "$@" 2> /dev/null
  done |
    awk -F'median' '/median/ { split($2, v, " "); label = $1; sub(/ +$/, "", label);
                               n[label]++; x[label, n[label]] = v[1]; if (!(label in seen)) { seen[label] = 1; order[++k] = label } }
                    END { for (i = 1; i <= k; i++) { l = order[i]; m = n[l];
                            for (a = 1; a <= m; a++) for (b = a + 1; b <= m; b++) if (x[l, b] < x[l, a]) { t = x[l, a]; x[l, a] = x[l, b]; x[l, b] = t }
                            med = m % 2 ? x[l, (m + 1) / 2] : (x[l, m / 2] + x[l, m / 2 + 1]) / 2;
                            printf "%-32s %8.2f ms\n", l, med } }' > "$dir/bench.txt"
done
printf '%-32s %11s   %11s\n' "median over $processes processes" "QML compiled" "QML source"
paste "$prefix-aot/bench.txt" "$prefix-source/bench.txt" |
  awk -F'\t' '{ split($2, s, /  +/); printf "%s   %11s\n", $1, s[2] }'
