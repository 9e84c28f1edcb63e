# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# Builds for 32-bit ARM, the processor of the device, with the Debian package g++-arm-linux-gnueabihf.
# What is built runs here under the emulator of the package qemu-user.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

# Notes on an interface that was another one before GCC 7.
add_compile_options(-Wno-psabi)

set(sysroot /usr/arm-linux-gnueabihf)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${sysroot})

# A library of this machine cannot be linked; what is headers alone may be its.
set(CMAKE_FIND_ROOT_PATH ${sysroot})
# More libraries: a folder with Debian packages that were unpacked in it.
if(ARMHF_LIBRARIES)
  list(APPEND CMAKE_FIND_ROOT_PATH ${ARMHF_LIBRARIES})
  include_directories(SYSTEM ${ARMHF_LIBRARIES}/usr/include/arm-linux-gnueabihf)
  # What they need themselves.
  add_link_options(-Wl,-rpath-link,${ARMHF_LIBRARIES}/lib/arm-linux-gnueabihf)
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
