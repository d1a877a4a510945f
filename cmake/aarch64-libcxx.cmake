# AArch64 as on the image: clang, libc++, and the libraries that Debian builds for libstdc++ only.
include(${CMAKE_CURRENT_LIST_DIR}/aarch64-clang.cmake)

execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/libcxx-libraries
  OUTPUT_VARIABLE CMAKE_FIND_ROOT_PATH OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
# Only the lite library is there; nothing links the whole one.
set(Protobuf_LIBRARY ${CMAKE_FIND_ROOT_PATH}/lib/libprotobuf-lite.so)
set(DEBIAN_LIBBASE_UNUSABLE ON)
# What is built has the interface that abi/ describes.
set(WARDLINE_IMAGE_ABI ON)
