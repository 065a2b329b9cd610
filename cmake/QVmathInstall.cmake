# SPDX-License-Identifier: MIT
# Installation: the shared library, its public headers (private *_impl.h and detail/
# stay behind), a relocatable CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS qvmath EXPORT QVmathTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY qvmath DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h"
  PATTERN "*_impl.h" EXCLUDE
  PATTERN "detail" EXCLUDE)
install(EXPORT QVmathTargets NAMESPACE QVmath::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QVmath)

configure_package_config_file(cmake/QVmathConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QVmathConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QVmath)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QVmathConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QVmathConfig.cmake ${PROJECT_BINARY_DIR}/QVmathConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QVmath)

# The pkg-config file locates the prefix from its own folder, so an installed tree can be
# moved. No -std flag travels with it: a consumer keeps its own language level (C++17 or later).
file(RELATIVE_PATH QVMATH_PC_RELATIVE_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" QVMATH_PC_RELATIVE_PREFIX "${QVMATH_PC_RELATIVE_PREFIX}")
configure_file(cmake/qvmath.pc.in ${PROJECT_BINARY_DIR}/qvmath.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qvmath.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
