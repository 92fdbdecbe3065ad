# Debian packages by CPack: the library, what hosts need to build, the tool. `scripts/package.sh` builds and checks them.

set(ORBMATH_PACKAGE_CONTACT "Orbmath maintainers <maintainers@orbmath.org>" CACHE STRING "Who answers for the packages")
set(library_package liborbmath${ORBMATH_ABI})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orbmath)
set(CPACK_PACKAGE_CONTACT "${ORBMATH_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "services for satellite photogrammetry")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development)
if(ORBMATH_BUILD_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# CPack puts the blank of Debian's control files before each line, and a dot into empty ones.
set(about "Orbmath maps ground to image and image to ground through rational polynomial
models of satellite images, fits, inverts and corrects such models, and holds
the linear algebra and geometry that this takes.")
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "${about}\n\nThis package holds the shared library.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/package/triggers)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${about}\n\nThis package holds headers and build files.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborbmath-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "${about}\n\nThis package holds the command-line tool.")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME orbmath)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
# Only the library has any; CPack knows no such setting for one component.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)

# What Debian wants beside the files themselves. Its trigger lets the loader see the new library.
file(WRITE ${PROJECT_BINARY_DIR}/package/triggers "activate-noawait ldconfig\n")
file(WRITE ${PROJECT_BINARY_DIR}/package/copyright "Orbmath, ${PROJECT_VERSION}

No licence has been chosen for this project yet: its owner keeps all rights. Once one is chosen, it stands in the file LICENSE of the sources
and here.

Copyright: the owner of the project
")
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${PROJECT_BINARY_DIR}/package/changelog "orbmath (${PROJECT_VERSION}) unstable; urgency=medium

  * CHANGELOG.md in the sources lists the changes.

 -- ${ORBMATH_PACKAGE_CONTACT}  ${now}
")
find_program(ORBMATH_GZIP gzip)
if(ORBMATH_GZIP AND CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  execute_process(COMMAND ${ORBMATH_GZIP} -9nf changelog WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/package)
  foreach(part library:${library_package} development:liborbmath-dev tool:orbmath)
    string(REPLACE ":" ";" part ${part})
    list(GET part 0 component)
    list(GET part 1 package)
    install(FILES ${PROJECT_BINARY_DIR}/package/copyright ${PROJECT_BINARY_DIR}/package/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} COMPONENT ${component})
  endforeach()
  # Debian wants its manual pages compressed; the pages are there when this runs, which stands behind their installation.
  install(CODE "file(GLOB pages \"\$ENV{DESTDIR}${CMAKE_INSTALL_FULL_MANDIR}/man1/orbmath*.1\")
    if(pages)
      execute_process(COMMAND ${ORBMATH_GZIP} -9nf \${pages} COMMAND_ERROR_IS_FATAL ANY)
    endif()" COMPONENT tool)
endif()

include(CPack)
