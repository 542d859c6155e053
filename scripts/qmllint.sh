#!/usr/bin/env bash
# Runs qmllint (Qt 5's QML syntax verifier) over every QML document under qml/ and vkbplugin/ (the keyboard's). Prints each finding with its
# file and fails when there is any. QMLLINT overrides the program (default: the one in Qt's bin folder).
# Usage: bash scripts/qmllint.sh
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

qmllint=${QMLLINT:-}
if [[ -z "$qmllint" ]]; then
  for candidate in "$(qmake -query QT_INSTALL_BINS 2> /dev/null || true)/qmllint" /usr/lib/qt5/bin/qmllint; do
    if [[ -x "$candidate" ]]; then
      qmllint=$candidate
      break
    fi
  done
fi
if [[ -z "$qmllint" || ! -x "$qmllint" ]]; then
  echo "qmllint: not found (Debian package qtdeclarative5-dev-tools; scripts/setup.sh installs it)" >&2
  exit 2
fi

mapfile -t documents < <(cd "$root" && find qml vkbplugin -name '*.qml' | LC_ALL=C sort)
if ((${#documents[@]} == 0)); then
  echo "qmllint: no QML documents under qml/" >&2
  exit 2
fi

failed=0
for document in "${documents[@]}"; do
  # qmllint 5.15 exits non-zero on a syntax error; anything it prints counts as a finding too.
  if ! output=$(cd "$root" && "$qmllint" "$document" 2>&1) || [[ -n "$output" ]]; then
    echo "qmllint: $document"
    printf '%s\n' "$output" | sed 's/^/    /'
    failed=$((failed + 1))
  fi
done

if ((failed > 0)); then
  echo "qmllint: findings in $failed of ${#documents[@]} QML documents"
  exit 1
fi
echo "qmllint: ${#documents[@]} QML documents, no findings"
