# Settings that every target of the project shares.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

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
endfunction()

# orbmath_public_headers(target folder): how a host of the target finds its public headers, in the build tree and installed.
# <orbmath/rpc/rpc_model.h> is the plain way; in the build tree it is a forwarding header. <orbmath.h> and
# <rpc/rpc_model.h> are found too, but after everything else, so that a folder of ours never hides one of the host's.
function(orbmath_public_headers target folder)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${folder} ${folder}/*.h)
  foreach(header ${headers})
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/include/orbmath/${header} CONTENT "#include \"${folder}/${header}\"\n")
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
