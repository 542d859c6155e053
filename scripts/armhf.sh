#!/usr/bin/env bash
# The panel's own target: builds the settings screen for 32-bit ARM (Debian bookworm armhf) with the cross
# compiler and runs the whole test suite under qemu-arm-static.
#
#   bash scripts/armhf.sh            install what is missing, make the sysroot (once), build the libraries,
#                                    the demo host, the benchmark and the tests into build-armhf/, run CTest
#   bash scripts/armhf.sh --bench [bench_screen options]
#                                    the benchmark for armhf, QML compiled and QML source side by side, under
#                                    emulation (scripts/bench.sh on the cross build, into build-armhf-bench-*)
#   bash scripts/armhf.sh --bench-instructions [bench_instructions options]
#                                    the screen against the plain-QML page as scripts/bench-instructions.sh
#                                    compares them, in CPU time under emulation (valgrind does not run
#                                    there), QML compiled and QML source (into build-armhf-bench-instructions-*)
#
# The sysroot holds Debian's armhf -dev packages, extracted by mmdebstrap (nothing is installed or run in it),
# with usr/lib/qt5/bin linked to the build machine's Qt tools. It is made once in .cache/armhf-sysroot and
# reused while the stamp file in it names the same packages and recipe.
#
#   ARMHF_BUILD_DIR  build folder (default build-armhf)
#   ARMHF_SYSROOT    sysroot folder (default .cache/armhf-sysroot)
#   ARMHF_MIRROR     Debian mirror for the sysroot (default http://deb.debian.org/debian)
#   JOBS             parallel build jobs and tests (default 2)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${ARMHF_BUILD_DIR:-$root/build-armhf}
sysroot=${ARMHF_SYSROOT:-$root/.cache/armhf-sysroot}
mirror=${ARMHF_MIRROR:-http://deb.debian.org/debian}
jobs=${JOBS:-2}
suite=bookworm
host_qt_bins=/usr/lib/qt5/bin

# The build machine's packages beyond scripts/setup.sh's.
HOST_PACKAGES=(qemu-user-static mmdebstrap g++-arm-linux-gnueabihf)

# The armhf counterparts of what building and running the tests needs. fonts-wqy-microhei has the Chinese
# glyphs the screen shows in Chinese; the on-screen keyboard is Qt Virtual Keyboard, whose input panel needs
# the folder list model too.
SYSROOT_PACKAGES=(
  libc6-dev libstdc++-12-dev
  qtbase5-dev qtbase5-private-dev qtdeclarative5-dev qtdeclarative5-private-dev
  qtquickcontrols2-5-dev qtquickcontrols2-5-private-dev libqt5svg5-dev
  qml-module-qtquick2 qml-module-qtquick-window2 qml-module-qtquick-controls2
  qml-module-qtquick-templates2 qml-module-qtquick-layouts
  qtvirtualkeyboard-plugin qml-module-qtquick-virtualkeyboard qml-module-qt-labs-folderlistmodel
  libqrcodegencpp-dev fonts-wqy-microhei
)
# Raise when the way the sysroot is made changes, so that an older one is made again.
SYSROOT_RECIPE=1

say() { echo "armhf: $*"; }

# Installs the missing ones of the given Debian packages, as scripts/setup.sh does its own.
install_missing() {
  local missing=() p status
  for p in "$@"; do
    status=$(dpkg-query -W -f='${Status}' "$p" 2> /dev/null || true)
    [[ "$status" == "install ok installed" ]] || missing+=("$p")
  done
  ((${#missing[@]} == 0)) && return 0
  say "installing ${missing[*]}"
  local sudo=()
  if [[ $(id -u) -ne 0 ]]; then
    if command -v sudo > /dev/null 2>&1 && sudo -n true 2> /dev/null; then
      sudo=(sudo -n)
    else
      echo "armhf: installing these packages needs root: apt-get install ${missing[*]}" >&2
      exit 1
    fi
  fi
  export DEBIAN_FRONTEND=noninteractive
  "${sudo[@]}" apt-get update -q
  "${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
}

make_sysroot() {
  local stamp="$sysroot/.armhf-sysroot"
  local wanted
  wanted=$(printf '%s\n' "recipe $SYSROOT_RECIPE" "$suite $mirror" "${SYSROOT_PACKAGES[@]}")
  if [[ -f "$stamp" && "$(< "$stamp")" == "$wanted" ]]; then
    say "sysroot $sysroot is there ($(du -sh "$sysroot" | cut -f1))"
    return 0
  fi
  # Only ever remove what looks like an earlier sysroot (or nothing at all).
  if [[ -e "$sysroot" && ! -f "$stamp" && ! -d "$sysroot/var/lib/dpkg" && -n "$(ls -A "$sysroot")" ]]; then
    echo "armhf: $sysroot exists and is not a sysroot; move it away or set ARMHF_SYSROOT" >&2
    exit 1
  fi
  say "making the sysroot in $sysroot ($suite, $mirror)"
  local fresh="$sysroot.new"
  rm -rf "$fresh"
  mkdir -p "$(dirname "$sysroot")"
  local include
  include=$(IFS=,; echo "${SYSROOT_PACKAGES[*]}")
  mmdebstrap --variant=extract --arch=armhf --include="$include" \
    --dpkgopt='path-exclude=/usr/share/doc/*' --dpkgopt='path-include=/usr/share/doc/*/copyright' \
    --dpkgopt='path-exclude=/usr/share/man/*' --dpkgopt='path-exclude=/usr/share/locale/*' \
    "$suite" "$fresh" "deb $mirror $suite main"
  # The packages' absolute symbolic links (libz.so -> /lib/arm-linux-gnueabihf/libz.so.1.2.13) would point
  # out of the sysroot: make them relative. /dev is left alone.
  local link target
  while IFS= read -r -d '' link; do
    target=$(readlink "$link")
    ln -sfn "$(realpath -ms --relative-to="$(dirname "$link")" "$fresh$target")" "$link"
  done < <(find "$fresh" -path "$fresh/dev" -prune -o -type l -lname '/*' -print0)
  # As on Debian set up for cross-building, usr/lib/qt5/bin holds the build machine's Qt tools: the Qt
  # packages' CMake files name moc, rcc, uic and qmlcachegen there.
  rm -rf "$fresh/usr/lib/qt5/bin"
  ln -s "$host_qt_bins" "$fresh/usr/lib/qt5/bin"
  printf '%s\n' "$wanted" > "$fresh/.armhf-sysroot"
  rm -rf "$sysroot"
  mv "$fresh" "$sysroot"
  say "sysroot made ($(du -sh "$sysroot" | cut -f1))"
}

launcher=()
if command -v ccache > /dev/null 2>&1; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

# iconrender renders the icons at build time, so it is built for the build machine: a native configuration of
# the project of which only that program is built.
build_iconrender() {
  local tools="$build/host-tools"
  cmake -S "$root" -B "$tools" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQSP_BUILD_TESTS=OFF \
    -DQSP_PRECOMPILE_QML=OFF "${launcher[@]}" > /dev/null
  cmake --build "$tools" --target iconrender --parallel "$jobs" > /dev/null
  iconrender="$tools/bin/iconrender"
}

bench=false
bench_instructions=false
if [[ "${1:-}" == "--bench" ]]; then
  bench=true
  shift
elif [[ "${1:-}" == "--bench-instructions" ]]; then
  bench_instructions=true
  shift
fi

start=$SECONDS
bash "$root/scripts/setup.sh"
install_missing "${HOST_PACKAGES[@]}"
make_sysroot
sysroot_done=$SECONDS
build_iconrender

cross=(-DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-armhf.cmake" -DQSP_ARMHF_SYSROOT="$sysroot"
       -DQSP_ICONRENDER="$iconrender" "${launcher[@]}")

qt=$sysroot/usr/lib/arm-linux-gnueabihf/qt5
emulator="$(command -v qemu-arm-static) -L $sysroot -E QT_PLUGIN_PATH=$qt/plugins -E QML2_IMPORT_PATH=$qt/qml"
if $bench; then
  # scripts/bench.sh builds both variants with these options and runs each process under the emulator.
  export BENCH_DIR_PREFIX="$root/build-armhf-bench"
  export BENCH_CMAKE_OPTIONS="${cross[*]}"
  export BENCH_RUNNER="$emulator"
  exec bash "$root/scripts/bench.sh" "$@"
fi
if $bench_instructions; then
  # The idle work between sections is slower under the emulator, and is given the time valgrind is given.
  export BENCH_RUNNER="$emulator" BENCH_SETTLE_MS=${BENCH_SETTLE_MS:-3000}
  for variant in aot:ON source:OFF; do
    say "QML ${variant%%:*}: $([[ ${variant##*:} == ON ]] && echo "compiled ahead of time" || echo "kept as source")"
    BUILD_DIR="$root/build-armhf-bench-instructions-${variant%%:*}" \
      BENCH_CMAKE_OPTIONS="${cross[*]} -DQSP_PRECOMPILE_QML=${variant##*:}" \
      bash "$root/scripts/bench-instructions.sh" --cpu "$@"
  done
  exit 0
fi

# Release: the tests run on optimised code, as the panel does, and the build stays lean.
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release "${cross[@]}"
cmake --build "$build" --parallel "$jobs"
built=$SECONDS

status=0
ctest --test-dir "$build" --output-on-failure --parallel "$jobs" || status=$?
tested=$SECONDS
say "packages and sysroot $((sysroot_done - start)) s, build $((built - sysroot_done)) s," \
    "tests under qemu $((tested - built)) s"
exit $status
