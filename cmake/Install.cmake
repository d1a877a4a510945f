# What "cmake --install" puts into its prefix: the library, its headers, and what finds them there,
# find_package(wardline) and pkg-config. None of it knows of the stand-ins.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

install(TARGETS wardline LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/wardline DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${WARDLINE_RECORDS}.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/proto)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/wardline)
configure_package_config_file(cmake/wardline-config.cmake.in wardline-config.cmake
  INSTALL_DESTINATION ${package} PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(wardline-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/wardline-config.cmake
  ${PROJECT_BINARY_DIR}/wardline-config-version.cmake DESTINATION ${package})

file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/wardline.pc.in wardline.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/wardline.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
