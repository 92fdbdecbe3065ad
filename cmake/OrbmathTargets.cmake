# Settings that every target of the project shares.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# How a program or a library says the folder where it lies itself, for its search path.
set(ORBMATH_OWN_FOLDER "$ORIGIN")
if(APPLE)
  set(ORBMATH_OWN_FOLDER "@loader_path")
endif()

# orbmath_compile_options(target): warnings, and the floating-point rules of the library. Contraction is off so
# that a result does not depend on the processor.
function(orbmath_compile_options target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /fp:precise)
    return()
  endif()
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
    -ffp-contract=off -fno-math-errno
    $<$<BOOL:${ORBMATH_WERROR}>:-Werror>)
  # Checked library calls want optimisation, and sanitizers bring checks of their own.
  if(ORBMATH_HARDENING AND NOT CMAKE_CXX_FLAGS MATCHES "fsanitize" AND NOT WIN32)
    target_compile_options(${target} PRIVATE
      -fstack-protector-strong $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=2>)
    if(NOT APPLE)
      target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now)
    endif()
  endif()
endfunction()

# Binaries of one ABI share this number: in the name that a host is linked against, in the versions of the symbols and in
# what the CMake package calls compatible. Before 1.0 every minor version is an ABI of its own.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(ORBMATH_ABI ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
else()
  set(ORBMATH_ABI ${PROJECT_VERSION_MAJOR})
endif()

# orbmath_library(target): a library of the project, Orbmath::target for its hosts; shared, but for a host or a user who sets
# BUILD_SHARED_LIBS to OFF. Its own folder may hold a list of exported names, exported.map.in.
function(orbmath_library target)
  if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
    add_library(${target} STATIC)
    target_compile_definitions(${target} PUBLIC ORBMATH_STATIC)
  else()
    add_library(${target} SHARED)
  endif()
  add_library(Orbmath::${target} ALIAS ${target})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${ORBMATH_ABI}
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  orbmath_compile_options(${target})
  # Unique symbols are never unloaded, and the library with them.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  if(NOT (WIN32 OR APPLE) AND EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/exported.map.in)
    configure_file(exported.map.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.map @ONLY)
    target_link_options(${target} PRIVATE -Wl,--version-script=${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  endif()
endfunction()

# orbmath_public_headers(target folder): how a host of the target finds its public headers, in the build tree and installed.
# <orbmath/rpc/rpc_model.h> is the plain way; in the build tree it is a forwarding header. <orbmath.h> and
# <rpc/rpc_model.h> are found too, but after everything else, so that a folder of ours never hides one of the host's.
function(orbmath_public_headers target folder)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${folder} ${folder}/*.h)
  foreach(header ${headers})
    set(forwarding ${PROJECT_BINARY_DIR}/include/orbmath/${header})
    cmake_path(GET forwarding PARENT_PATH beside)
    file(RELATIVE_PATH real ${beside} ${folder}/${header})
    file(CONFIGURE OUTPUT ${forwarding} CONTENT "#include \"${real}\"\n")
  endforeach()
  set(installed ${CMAKE_INSTALL_INCLUDEDIR}/orbmath)
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  if(MSVC)
    target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${folder}> $<INSTALL_INTERFACE:${installed}>)
  else()
    target_compile_options(${target} INTERFACE
      "$<BUILD_INTERFACE:SHELL:-idirafter \"${folder}\">"
      "$<INSTALL_INTERFACE:SHELL:-idirafter \"$<INSTALL_PREFIX>/${installed}\">")
  endif()
endfunction()
