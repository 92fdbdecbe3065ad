# Installation: library, headers, CMake package and pkg-config file.

include(CMakePackageConfigHelpers)

set(ORBMATH_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/orbmath)
set(ORBMATH_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Orbmath)

install(TARGETS Orbmath EXPORT OrbmathTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${ORBMATH_INSTALL_INCLUDEDIR})
if(ORBMATH_BUILD_TOOL)
  install(TARGETS orbmath_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT OrbmathTargets NAMESPACE Orbmath:: DESTINATION ${ORBMATH_INSTALL_CMAKEDIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OrbmathConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/OrbmathConfig.cmake
                              INSTALL_DESTINATION ${ORBMATH_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrbmathConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OrbmathConfig.cmake ${PROJECT_BINARY_DIR}/OrbmathConfigVersion.cmake
        DESTINATION ${ORBMATH_INSTALL_CMAKEDIR})

# The pkg-config file finds its prefix from its own place, so that an installed tree can be moved.
file(RELATIVE_PATH ORBMATH_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/orbmath.pc.in ${PROJECT_BINARY_DIR}/orbmath.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orbmath.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
