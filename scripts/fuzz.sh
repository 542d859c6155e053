#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz/) with clang and runs each for a bounded time over its seed corpus in
# fuzz/corpus/<name>/. Fails on the first target that crashes or breaks one of its checks.
#
#   bash scripts/fuzz.sh [seconds]      # default 60 seconds per target
#
# FUZZ_BUILD_DIR (default build-fuzz) is the build directory; FUZZ_TARGETS (default all) names the targets to
# run, e.g. FUZZ_TARGETS="mac address". Inputs found to add coverage go to $FUZZ_BUILD_DIR/fuzz-corpus/<name>/
# (the seed corpus is left alone); a crashing input is written to $FUZZ_BUILD_DIR/fuzz-artifacts/<name>/.
set -euo pipefail

cd "$(dirname "$0")/.."
seconds=${1:-60}
build=${FUZZ_BUILD_DIR:-build-fuzz}
targets=(${FUZZ_TARGETS:-ssid mac address statejson qrcode})
cc=${FUZZ_CC:-clang-14}
cxx=${FUZZ_CXX:-clang++-14}

if ! command -v "$cxx" >/dev/null 2>&1; then
  echo "fuzz: $cxx is missing (Debian packages clang-14 libclang-rt-14-dev)" >&2
  exit 1
fi

bash scripts/setup.sh
if [[ ! -f "$build/CMakeCache.txt" ]]; then
  CC=$cc CXX=$cxx cmake -S . -B "$build" -G Ninja -DQSP_BUILD_FUZZERS=ON -DQSP_BUILD_TESTS=OFF
fi
cmake --build "$build" -j "${JOBS:-1}" --target "${targets[@]/#/fuzz_}"

export QT_QPA_PLATFORM=offscreen
export QSP_PANEL_STATE= QSP_PANEL_LOG=
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export LSAN_OPTIONS=suppressions=$PWD/fuzz/lsan.supp
failed=()
for name in "${targets[@]}"; do
  work="$build/fuzz-corpus/$name"
  artifacts="$build/fuzz-artifacts/$name"
  mkdir -p "$work" "$artifacts"
  echo "fuzz: $name for ${seconds} s"
  # close_fd_mask=2: the product's own warnings on stderr are dropped; libFuzzer's and the sanitizers'
  # reports still appear.
  if ! "$build/bin/fuzz_$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 -close_fd_mask=2 \
      -print_final_stats=1 -artifact_prefix="$artifacts/" "$work" "fuzz/corpus/$name"; then
    echo "fuzz: $name FAILED; the input is in $artifacts/" >&2
    failed+=("$name")
  fi
done

if ((${#failed[@]})); then
  echo "fuzz: crashes in ${failed[*]}" >&2
  exit 1
fi
echo "fuzz: ${#targets[@]} targets ran ${seconds} s each without a crash"
