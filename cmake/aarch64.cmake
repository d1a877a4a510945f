# AArch64 with Debian's cross compiler and its C++ library, libstdc++. What is built runs under
# qemu-aarch64.
include(${CMAKE_CURRENT_LIST_DIR}/aarch64-sysroot.cmake)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
