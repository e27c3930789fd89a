# Cross-building for 64-bit Arm Linux with Debian's crossbuild-essential-arm64, and running what was
# built under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Loader and libraries must come from one C library, or threads hang: the cross tools' own, named
# twice because the loader would take an installed :arm64 library first.
set(VANTRO_ARM64_ROOT /usr/aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR
  qemu-aarch64 -L ${VANTRO_ARM64_ROOT} -E LD_LIBRARY_PATH=${VANTRO_ARM64_ROOT}/lib)
