# Installation: library, headers, CMake package and pkg-config file.

include(CMakePackageConfigHelpers)

set(ORBMATH_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/orbmath)
set(ORBMATH_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Orbmath)

# Three parts that a package can hold apart: what programs need to run, what hosts need to build, the tool.
install(TARGETS Orbmath EXPORT OrbmathTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${ORBMATH_INSTALL_INCLUDEDIR} COMPONENT development)
if(ORBMATH_BUILD_TOOL)
  install(TARGETS orbmath_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
endif()

install(EXPORT OrbmathTargets NAMESPACE Orbmath:: DESTINATION ${ORBMATH_INSTALL_CMAKEDIR} COMPONENT development)
get_target_property(ORBMATH_LIBRARY_TYPE Orbmath TYPE)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OrbmathConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/OrbmathConfig.cmake
                              INSTALL_DESTINATION ${ORBMATH_INSTALL_CMAKEDIR})
# What the CMake package calls compatible is what the name of the library says.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(compatible SameMinorVersion)
else()
  set(compatible SameMajorVersion)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrbmathConfigVersion.cmake COMPATIBILITY ${compatible})
install(FILES ${PROJECT_BINARY_DIR}/OrbmathConfig.cmake ${PROJECT_BINARY_DIR}/OrbmathConfigVersion.cmake
        DESTINATION ${ORBMATH_INSTALL_CMAKEDIR} COMPONENT development)

# The pkg-config file finds its prefix from its own place, so that an installed tree can be moved.
file(RELATIVE_PATH ORBMATH_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
# A static library hands on what it stands on.
set(ORBMATH_PC_PRIVATE)
if(ORBMATH_LIBRARY_TYPE STREQUAL "STATIC_LIBRARY")
  set(ORBMATH_PC_PRIVATE "-lpugixml -lstdc++ -lm -ldl ${OpenMP_CXX_FLAGS}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/orbmath.pc.in ${PROJECT_BINARY_DIR}/orbmath.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orbmath.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# "uninstall" takes away what the last "install" of this build wrote.
if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -P ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake
                    WORKING_DIRECTORY ${PROJECT_BINARY_DIR})
endif()
