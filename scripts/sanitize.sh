#!/usr/bin/env bash
# Builds the project with sanitizers and runs the whole test suite under them.
#   bash scripts/sanitize.sh address   # AddressSanitizer with UndefinedBehaviorSanitizer (build-asan)
#   bash scripts/sanitize.sh thread    # ThreadSanitizer (build-tsan)
# Suppressions, each for a finding proven to lie inside Qt or the system libraries: tests/lsan.supp,
# tests/tsan.supp (empty today: see its header).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
kind=${1:-address}
case "$kind" in
  address) dir="$root/build-asan" ;;
  thread) dir="$root/build-tsan" ;;
  *) echo "usage: $0 address|thread" >&2; exit 2 ;;
esac

bash "$root/scripts/setup.sh"
launcher=()
if command -v ccache > /dev/null 2>&1; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQSP_SANITIZE="$kind" "${launcher[@]}"
cmake --build "$dir" --parallel "$(nproc)"

# Full stacks for every allocation: the leak suppressions name frames deep inside Qt.
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1:fast_unwind_on_malloc=0"
export LSAN_OPTIONS="suppressions=$root/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
# Qt and the libraries below it are not instrumented: what they allocate, copy and free themselves is not
# counted (their locks are invisible), while every access of the project's own code is. A longer history, so
# that both sides of a report have their stacks.
export TSAN_OPTIONS="suppressions=$root/tests/tsan.supp:halt_on_error=1:second_deadlock_stack=1:history_size=7:ignore_noninstrumented_modules=1"
cd "$dir"
ctest --output-on-failure --parallel "$(nproc)" --timeout 900
