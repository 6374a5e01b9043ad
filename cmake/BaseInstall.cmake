# Install rules: headers, the library, a CMake package (find_package(Base) -> Base::Base) and a
# pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS Base EXPORT BaseTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# Public headers only: internal/ and shared/ folders and generated sources stay behind.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/components/Base"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h"
  PATTERN "internal" EXCLUDE
  PATTERN "shared" EXCLUDE)

set(BASE_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Base")
install(EXPORT BaseTargets NAMESPACE Base:: DESTINATION ${BASE_CMAKE_DIR})
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/BaseConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/BaseConfig.cmake" INSTALL_DESTINATION ${BASE_CMAKE_DIR})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/BaseConfigVersion.cmake"
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/BaseConfig.cmake" "${PROJECT_BINARY_DIR}/BaseConfigVersion.cmake"
  DESTINATION ${BASE_CMAKE_DIR})

# The .pc file finds the prefix from its own place, so the package can be installed (or
# moved) anywhere.
file(RELATIVE_PATH BASE_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" BASE_PC_TO_PREFIX "${BASE_PC_TO_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/base.pc.in" "${PROJECT_BINARY_DIR}/base.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/base.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
