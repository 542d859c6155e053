#!/usr/bin/env bash
# Installs every Debian package that building, running and testing the settings screen needs.
# Idempotent: packages already present are left alone, and nothing is done when all are there.
set -euo pipefail

PACKAGES=(
  build-essential cmake pkg-config ninja-build
  qtbase5-dev qtbase5-private-dev
  qtdeclarative5-dev qtdeclarative5-private-dev qtdeclarative5-dev-tools
  qtquickcontrols2-5-dev qtquickcontrols2-5-private-dev
  qml-module-qtquick2 qml-module-qtquick-window2 qml-module-qtquick-controls2
  qml-module-qtquick-templates2 qml-module-qtquick-layouts
  qtvirtualkeyboard-plugin qml-module-qtquick-virtualkeyboard qml-module-qt-labs-folderlistmodel
  libqt5svg5-dev qttools5-dev-tools
  libqrcodegencpp-dev zbar-tools
  xvfb xauth fonts-wqy-microhei
  clang-14 libclang-rt-14-dev
  valgrind
  dbus-daemon python3-dbusmock iputils-ping
)

missing=()
for p in "${PACKAGES[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done

if ((${#missing[@]} == 0)); then
  echo "setup: all ${#PACKAGES[@]} packages present"
  exit 0
fi

echo "setup: installing ${missing[*]}"
if [[ $(id -u) -ne 0 ]]; then
  if command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    SUDO=(sudo -n)
  else
    echo "setup: these packages are missing and installing them needs root:" >&2
    echo "  apt-get install ${missing[*]}" >&2
    echo "setup: run this script as root (or with password-less sudo), or install them by hand." >&2
    exit 1
  fi
else
  SUDO=()
fi

export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" apt-get update -q
"${SUDO[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
