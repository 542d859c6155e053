#!/usr/bin/env bash
# Static checks: qmllint over every QML document under qml/ and vkbplugin/, then clang-tidy (the checks of
# .clang-tidy at the repository root) over the project's own C++ sources: plugin/ shell/ controls/ cards/
# systemset/ host/ vkbloader/ vkbplugin/ tools/ bench/ soak/ and their headers; not the tests, not generated
# files. Exits non-zero on any finding, after listing them all.
#
# Usage: bash scripts/static-checks.sh [BUILD_DIR]
#   BUILD_DIR  a build folder whose compile_commands.json is used (default: build-static, configured here
#              when it has none; configuring is enough, nothing is built).
#   JOBS       clang-tidy processes run side by side (default 2).
#   ONLY       a regular expression: only the sources whose path below the checkout matches it (e.g. '^shell/').
set -uo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
build=${1:-$root/build-static}
jobs=${JOBS:-2}
folders='plugin|shell|controls|cards|systemset|host|vkbloader|vkbplugin|tools|bench|soak'
status=0

echo "== qmllint"
bash "$root/scripts/qmllint.sh" || status=1

echo "== clang-tidy"
tidy=$(command -v clang-tidy-14 || command -v clang-tidy || true)
runner=$(command -v run-clang-tidy-14 || command -v run-clang-tidy || true)
if [[ -z "$tidy" ]]; then
  echo "clang-tidy: not found (Debian package clang-tidy)" >&2
  exit 2
fi
if [[ ! -f "$build/compile_commands.json" ]]; then
  echo "clang-tidy: configuring $build for its compile_commands.json"
  if ! cmake -S "$root" -B "$build" -G Ninja -DQSP_BUILD_TESTS=OFF > "$build.configure.log" 2>&1; then
    cat "$build.configure.log" >&2
    echo "clang-tidy: configuring $build failed" >&2
    exit 2
  fi
  rm -f "$build.configure.log"
fi

# The project's own translation units in the compilation database, each once.
mapfile -t sources < <(python3 - "$build/compile_commands.json" "$root" "$folders" << 'EOF'
import json, re, sys
database, root, folders = sys.argv[1:]
own = re.compile(r'^' + re.escape(root) + r'/(' + folders + r')/')
seen = set()
for entry in json.load(open(database)):
    path = entry['file']
    if not path.startswith('/'):
        path = entry['directory'] + '/' + path
    if own.match(path) and path not in seen:
        seen.add(path)
        print(path)
EOF
)
if [[ -n "${ONLY:-}" ]]; then
  chosen=()
  for source in "${sources[@]}"; do
    [[ "${source#"$root"/}" =~ $ONLY ]] && chosen+=("$source")
  done
  sources=("${chosen[@]}")
fi
if ((${#sources[@]} == 0)); then
  echo "clang-tidy: no project sources in $build/compile_commands.json" >&2
  exit 2
fi

header_filter="^$root/($folders)/[^/]+\\.h\$"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
start=$SECONDS
if [[ -n "$runner" ]]; then
  # run-clang-tidy takes regular expressions for the files: each source, anchored and escaped.
  patterns=()
  for source in "${sources[@]}"; do
    patterns+=("^$(printf '%s' "$source" | sed 's/[][\.*^$+?(){}|]/\\&/g')\$")
  done
  "$runner" -clang-tidy-binary "$tidy" -p "$build" -j "$jobs" -quiet -header-filter "$header_filter" \
    "${patterns[@]}" > "$log" 2>&1
else
  printf '%s\n' "${sources[@]}" |
    xargs -P "$jobs" -n 1 "$tidy" -p "$build" --quiet --header-filter="$header_filter" > "$log" 2>&1
fi
tidy_status=$?
# run-clang-tidy asks for colours whatever the output is.
sed -i -E 's/\x1b\[[0-9;]*m//g' "$log"

# Each finding once (a header's is reported by every file that includes it), with its note lines.
findings=$(awk -v root="$root/" '
  /^\/.*:[0-9]+:[0-9]+: (warning|error): / {
    keep = !($0 in seen); seen[$0] = 1
    if (keep) { line = $0; sub(root, "", line); print line }
    next
  }
  /^\/.*:[0-9]+:[0-9]+: note: / { if (keep) { line = $0; sub(root, "", line); print "    " line }; next }
  { keep = 0 }
' "$log")
count=$(grep -c -E '^[^ ].*: (warning|error): ' <<< "$findings" || true)
elapsed=$((SECONDS - start))

if [[ -n "$findings" ]]; then
  printf '%s\n' "$findings"
  echo
  echo "clang-tidy: $count findings in ${#sources[@]} translation units (${elapsed} s):"
  grep -E '^[^ ].*: (warning|error): ' <<< "$findings" | sed -E 's|^([^/:]+)/.*\[([^],]+)[^]]*\]$|\1 \2|' | sort | uniq -c |
    sed 's/^/  /'
  status=1
elif ((tidy_status != 0)); then
  # No finding, yet clang-tidy failed: a compile error or a crash. Show what it said.
  grep -v -E '^(clang-tidy|/usr/bin/clang-tidy)|warnings? generated\.$|^Suppressed |^Use -header-filter|^Enabled checks' "$log"
  echo "clang-tidy: failed without a finding (see above)"
  status=1
else
  echo "clang-tidy: ${#sources[@]} translation units, no findings (${elapsed} s)"
fi

exit $status
