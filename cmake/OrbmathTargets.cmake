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
