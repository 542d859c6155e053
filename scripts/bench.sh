#!/usr/bin/env bash
# Builds the screen twice in Release (QML compiled ahead of time, and QML kept as source) and prints the
# benchmark's figures side by side, wall and CPU time: medians over the runs inside each process, and over
# PROCESSES processes (default 5, the two builds' processes taking turns) for the figures a process has only
# once (the first init, the first switch to each page).
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
  dir="$prefix-${variant%%:*}"
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQSP_BUILD_TESTS=OFF \
        -DQSP_PRECOMPILE_QML=${variant##*:} "${cmake_options[@]}" > /dev/null
  cmake --build "$dir" --target bench_screen qquicksystemset --parallel "$(nproc)" > /dev/null
  : > "$dir/runs.txt"
done
# The processes of the two builds take turns (A B A B ...), so that a change in the machine's load falls on
# both alike. Each process starts with an empty QML disk cache: what is measured is the build, not an earlier
# run's cache.
for ((i = 0; i < processes; ++i)); do
  for name in aot source; do
    rm -rf "${cache:?}"/*
    XDG_CACHE_HOME="$cache" "${runner[@]}" "$prefix-$name/bin/bench_screen" "$@" 2> /dev/null >> "$prefix-$name/runs.txt"
  done
done
for name in aot source; do
  # "label  median W ms   cpu median C ms ..." lines: the median over the processes of each column.
  awk '/ median / { label = $0; sub(/ +median .*/, "", label); split($0, f, / median +/);
                    w = f[2] + 0; c = f[3] + 0;
                    n[label]++; wall[label, n[label]] = w; cpu[label, n[label]] = c;
                    if (!(label in seen)) { seen[label] = 1; order[++k] = label } }
       function med(a, l, m,   i, j, t, v) { for (i = 1; i <= m; i++) v[i] = a[l, i];
                                              for (i = 1; i <= m; i++) for (j = i + 1; j <= m; j++) if (v[j] < v[i]) { t = v[i]; v[i] = v[j]; v[j] = t }
                                              return m % 2 ? v[(m + 1) / 2] : (v[m / 2] + v[m / 2 + 1]) / 2 }
       END { for (i = 1; i <= k; i++) { l = order[i]; printf "%-32s %8.2f %8.2f\n", l, med(wall, l, n[l]), med(cpu, l, n[l]) } }' \
    "$prefix-$name/runs.txt" > "$prefix-$name/bench.txt"
done
printf '%-32s %19s   %19s\n' "median over $processes processes" "QML compiled" "QML source"
printf '%-32s %9s %9s   %9s %9s\n' "" "wall ms" "CPU ms" "wall ms" "CPU ms"
paste "$prefix-aot/bench.txt" "$prefix-source/bench.txt" |
  awk -F'\t' '{ n = split($2, s, / +/); printf "%s   %9s %9s\n", $1, s[n - 1], s[n] }'
