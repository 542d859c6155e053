# Cross build for the panel's own target: 32-bit ARM with hardware floating point (Debian armhf).
#
#   cmake -S . -B build-armhf -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-armhf.cmake \
#         -DQSP_ICONRENDER=<an iconrender built natively>
#
# scripts/armhf.sh makes the sysroot and a native iconrender, builds with this file and runs the tests under
# qemu-arm-static.
#
# QSP_ARMHF_SYSROOT   a Debian bookworm armhf tree with the -dev packages the build needs (default:
#                     .cache/armhf-sysroot in the checkout, as scripts/armhf.sh makes it). Its usr/lib/qt5/bin
#                     must be the build machine's Qt tools (moc, rcc, uic, qmlcachegen, ...), as on a Debian
#                     system set up for cross-building, where that folder comes from the Multi-Arch: foreign
#                     -dev-tools packages of the build machine: the Qt packages' CMake files name the tools
#                     there, qmlcachegen by path rather than through a target. scripts/armhf.sh arranges that.
# QSP_HOST_QT_BIN_DIR the build machine's Qt tools (default /usr/lib/qt5/bin): lrelease, lconvert, qmllint.
#
# Programs of the build are run through qemu-arm-static (CMAKE_CROSSCOMPILING_EMULATOR): CTest runs every test
# program that way. Emulated code computes up to some 20 times slower than natively; the tests mostly wait
# for timers and callbacks and take two to three times as long. Their time limits are scaled by
# QSP_TEST_TIME_SCALE (3 here, 1 natively).

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

if(NOT QSP_ARMHF_SYSROOT)
    if(DEFINED ENV{QSP_ARMHF_SYSROOT})
        set(QSP_ARMHF_SYSROOT "$ENV{QSP_ARMHF_SYSROOT}")
    else()
        get_filename_component(QSP_ARMHF_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../.cache/armhf-sysroot" ABSOLUTE)
    endif()
endif()
set(QSP_ARMHF_SYSROOT "${QSP_ARMHF_SYSROOT}" CACHE PATH "Debian bookworm armhf sysroot")
set(QSP_HOST_QT_BIN_DIR /usr/lib/qt5/bin CACHE PATH "The build machine's Qt tools")
# try_compile() projects read this file again: hand the sysroot on to them.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QSP_ARMHF_SYSROOT QSP_HOST_QT_BIN_DIR)

if(NOT EXISTS "${QSP_ARMHF_SYSROOT}/usr/include/arm-linux-gnueabihf/qt5/QtCore/QtCore")
    message(FATAL_ERROR "No armhf sysroot with Qt at ${QSP_ARMHF_SYSROOT}: run scripts/armhf.sh, which makes "
                        "it, or set QSP_ARMHF_SYSROOT.")
endif()
if(NOT EXISTS "${QSP_ARMHF_SYSROOT}/usr/lib/qt5/bin/moc"
   OR NOT IS_SYMLINK "${QSP_ARMHF_SYSROOT}/usr/lib/qt5/bin")
    message(FATAL_ERROR "${QSP_ARMHF_SYSROOT}/usr/lib/qt5/bin must link to the build machine's Qt tools "
                        "(${QSP_HOST_QT_BIN_DIR}); scripts/armhf.sh sets it up so.")
endif()

# Those tools write code for the sysroot's Qt libraries, so both must be the same Qt release.
foreach(_qsp_pair moc:Qt5Core qmlcachegen:Qt5Qml)
    string(REPLACE ":" ";" _qsp_pair "${_qsp_pair}")
    list(GET _qsp_pair 0 _qsp_tool)
    list(GET _qsp_pair 1 _qsp_module)
    set(_qsp_config "${QSP_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/cmake/${_qsp_module}")
    file(STRINGS "${_qsp_config}/${_qsp_module}ConfigVersion.cmake" _qsp_version
         REGEX "^set\\(PACKAGE_VERSION [0-9.]+\\)$" LIMIT_COUNT 1)
    string(REGEX REPLACE "^set\\(PACKAGE_VERSION ([0-9.]+)\\)$" "\\1" _qsp_version "${_qsp_version}")
    execute_process(COMMAND "${QSP_ARMHF_SYSROOT}/usr/lib/qt5/bin/${_qsp_tool}" --version
                    OUTPUT_VARIABLE _qsp_tool_version ERROR_QUIET)
    string(STRIP "${_qsp_tool_version}" _qsp_tool_version)
    if(NOT _qsp_tool_version STREQUAL "${_qsp_tool} ${_qsp_version}")
        message(FATAL_ERROR "The build machine's ${_qsp_tool} is '${_qsp_tool_version}' but the sysroot has "
                            "${_qsp_module} '${_qsp_version}': both must be the same Qt release.")
    endif()
endforeach()

set(CMAKE_SYSROOT "${QSP_ARMHF_SYSROOT}")
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# GCC notes at every std::vector iterator passed by value that its ARM calling convention changed in GCC 7.1;
# everything here is built with one compiler, so that note says nothing.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

# Headers, libraries and CMake packages from the sysroot only; programs from the build machine, the Qt tools
# first.
set(CMAKE_FIND_ROOT_PATH "${QSP_ARMHF_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_PROGRAM_PATH "${QSP_HOST_QT_BIN_DIR}")

# pkg-config (qrcodegencpp) reads the sysroot's .pc files and prefixes their paths with it.
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${QSP_ARMHF_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${QSP_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${QSP_ARMHF_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

# The linker follows the libraries' own dependencies (Qt's on libpng, ICU, ...) into the sysroot.
set(_qsp_rpath_link "-Wl,-rpath-link,${QSP_ARMHF_SYSROOT}/lib/arm-linux-gnueabihf")
string(APPEND _qsp_rpath_link " -Wl,-rpath-link,${QSP_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${_qsp_rpath_link}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${_qsp_rpath_link}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${_qsp_rpath_link}")

# Running the build's programs: qemu's -L takes the dynamic loader and libraries from the sysroot, but qemu
# 7.2 does not redirect statx(), which Qt uses to look for its plug-ins and QML modules, so their folders are
# named outright.
find_program(QSP_QEMU_ARM qemu-arm-static NO_CMAKE_FIND_ROOT_PATH)
if(NOT QSP_QEMU_ARM)
    message(FATAL_ERROR "qemu-arm-static was not found (Debian package qemu-user-static).")
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR
    "${QSP_QEMU_ARM}" -L "${QSP_ARMHF_SYSROOT}"
    -E "QT_PLUGIN_PATH=${QSP_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/qt5/plugins"
    -E "QML2_IMPORT_PATH=${QSP_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/qt5/qml")

set(QSP_TEST_TIME_SCALE 3 CACHE STRING "Factor for the tests' time limits")
