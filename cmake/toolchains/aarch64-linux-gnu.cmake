# SPDX-License-Identifier: MIT
# Cross build for 64-bit Arm Linux with Debian's cross compilers
# (g++-aarch64-linux-gnu), whose target libraries live under
# /usr/aarch64-linux-gnu. Test programs run under user-mode emulation
# (qemu-aarch64 from qemu-user), so ctest runs the suite on an x86-64 host.
#
#   cmake -S . -B build/aarch64 -G Ninja \
#     -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu.cmake
#
# Libraries and packages built for the target outside the sysroot (such as a
# cross-built GoogleTest) are found through QELUTF_TARGET_PREFIX, a list of
# install prefixes.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(_qel_triple aarch64-linux-gnu)
set(_qel_sysroot /usr/${_qel_triple})

set(CMAKE_C_COMPILER ${_qel_triple}-gcc)
set(CMAKE_CXX_COMPILER ${_qel_triple}-g++)

# Target headers and libraries come from the sysroot (and the extra target
# prefixes) only; programs run during the build are the host's.
set(QELUTF_TARGET_PREFIX "" CACHE STRING "Install prefixes of target libraries built outside the sysroot")
set(CMAKE_FIND_ROOT_PATH ${_qel_sysroot} ${QELUTF_TARGET_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# -L: the emulator looks up the program's dynamic loader and libraries in the
# sysroot instead of the host's root.
find_program(QELUTF_QEMU_AARCH64 NAMES qemu-aarch64 qemu-aarch64-static REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${QELUTF_QEMU_AARCH64} -L ${_qel_sysroot})
