# 32-bit x86 Linux by Debian's cross compiler (g++-i686-linux-gnu). Doubles go through SSE2: the old unit rounds to 64 bits and then once
# more. Programs run on the machine itself, with the libraries of the cross compiler.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/i686-linux-gnu/lib/ld-linux.so.2 --library-path /usr/i686-linux-gnu/lib)
# Packages of the building machine are for another processor; those in CMAKE_PREFIX_PATH are for this one.
set(CMAKE_FIND_ROOT_PATH /usr/i686-linux-gnu ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
