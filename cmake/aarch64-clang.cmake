# AArch64 with the image's compiler and its C++ library: clang and libc++, without exceptions and
# run-time types, linked by lld (19 is the first that packs relocations as glibc wants them).
include(${CMAKE_CURRENT_LIST_DIR}/aarch64-sysroot.cmake)

set(CMAKE_C_COMPILER clang-16)
set(CMAKE_C_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER clang++-16)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_CXX_FLAGS_INIT
  "-stdlib++-isystem ${CMAKE_SYSROOT}/usr/lib/llvm-16/include/c++/v1 -fno-exceptions -fno-rtti")
foreach(kind EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -stdlib=libc++ --ld-path=ld.lld-19")
endforeach()
