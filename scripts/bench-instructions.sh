#!/usr/bin/env bash
# Counts the work of the screen's start, page switches and Wi-Fi rescans in instructions (callgrind), against
# a plain-QML page made of stock Controls 2 items (bench/baseline), so that the figures do not swing with the
# load of a shared machine. Prints one line per figure: the screen's instructions, the baseline page's
# creation, their ratio and the goal; exits non-zero when a goal is missed.
#   bash scripts/bench-instructions.sh [--size WxH]
# BUILD_DIR names the Release build folder (default build-bench-instructions); BENCH_CMAKE_OPTIONS adds
# configure options (a toolchain file) and BENCH_RUNNER goes before valgrind (both split at spaces).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build-bench-instructions}
read -ra cmake_options <<< "${BENCH_CMAKE_OPTIONS:-}"
read -ra runner <<< "${BENCH_RUNNER:-}"
bash "$root/scripts/setup.sh" > /dev/null
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQSP_BUILD_TESTS=OFF "${cmake_options[@]}" > /dev/null
cmake --build "$build" --target bench_instructions qquicksystemset --parallel "$(nproc)" > /dev/null

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
program="$build/bin/bench_instructions"

# Instructions of each section of one run: "name<TAB>count" lines, in the order the sections ran.
measure() {
  local tag=$1
  shift
  mkdir -p "$out/cache-$tag"
  XDG_CACHE_HOME="$out/cache-$tag" "${runner[@]}" valgrind --tool=callgrind --instr-atstart=no \
    --callgrind-out-file="$out/$tag.%p" "$program" "$@" > "$out/$tag.stdout" 2> "$out/$tag.log" || {
    echo "bench-instructions: $tag failed:" >&2
    tail -5 "$out/$tag.log" >&2
    exit 1
  }
  for dump in $(ls "$out/$tag".*.* 2> /dev/null | sort -t. -k3,3n); do
    awk '/^desc: Trigger: Client Request: / { sub(/^desc: Trigger: Client Request: /, ""); name = $0 }
         /^totals: / { total = $2 }
         END { if (name != "") printf "%s\t%s\n", name, total }' "$dump"
  done > "$out/$tag.tsv"
}

measure start --program baseline-start "$@"
measure baseline --program baseline "$@"
measure screen --program screen "$@"
measure full --program rescan --networks 500 --rescans 2 "$@"
measure half --program rescan --networks 250 --rescans 2 "$@"
# The CPU time of a rescan on this machine, natively: the median of five.
rescan_ms=$("$program" --program rescan --networks 500 --rescans 5 "$@" 2> /dev/null |
  awk '/^rescan/ { v[++n] = $(NF - 2) } END { asort(v); print (n ? v[int((n + 1) / 2)] : -1) }')

last() { awk -F'\t' -v n="$2" '$1 == n { v = $2 } END { print v }' "$out/$1.tsv"; }
# The screen's start is compared with the baseline's start (each loads its modules on the way); page
# switches with the baseline page's creation once its modules are loaded.
start=$(last start "baseline start")
page=$(last baseline "page creation")
failed=0
printf '%-34s %14s %14s %8s %8s\n' figure screen baseline ratio goal
row() { # name, instructions, baseline instructions, goal ("" for none)
  local ratio verdict=""
  ratio=$(awk -v a="$2" -v b="$3" 'BEGIN { printf "%.3f", b ? a / b : 0 }')
  if [[ -n "$4" ]]; then
    if awk -v r="$ratio" -v g="$4" 'BEGIN { exit !(r <= g) }'; then verdict="ok"; else verdict="MISSED"; failed=1; fi
  fi
  printf '%-34s %14s %14s %8s %8s %s\n' "$1" "$2" "$3" "$ratio" "${4:+<= $4}" "$verdict"
}
while IFS=$'\t' read -r name count; do
  case "$name" in
    "init+open -> first frame") row "$name" "$count" "$start" 0.9 ;;
    "first switch to Network") row "$name" "$count" "$page" 1.0 ;;
    "later switch to "*) row "$name" "$count" "$page" 0.15 ;;
    *) row "$name" "$count" "$page" "" ;;
  esac
done < "$out/screen.tsv"
printf '%-34s %14s %14s\n' "baseline later switch" "" "$(last baseline 'later switch')"

# A rescan replaces the whole list: its work grows with the number of networks, and no faster than that.
full=$(last full "rescan of 500 networks")
half=$(last half "rescan of 250 networks")
growth=$(awk -v a="$full" -v b="$half" 'BEGIN { printf "%.2f", b ? a / b : 0 }')
verdict=ok
awk -v g="$growth" 'BEGIN { exit !(g <= 2.2) }' || { verdict=MISSED; failed=1; }
printf '%-34s %14s %14s %8s %8s %s\n' "rescan of 500 / of 250 networks" "$full" "$half" "$growth" "<= 2.2" "$verdict"
verdict=ok
awk -v t="$rescan_ms" 'BEGIN { exit !(t >= 0 && t <= 16.7) }' || { verdict=MISSED; failed=1; }
printf '%-34s %14s %14s %8s %8s %s\n' "rescan of 500 networks, CPU ms" "$rescan_ms" "" "" "<= 16.7" "$verdict"
exit "$failed"
