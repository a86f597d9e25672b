# 32-bit Windows, with Debian's g++-mingw-w64-i686-posix; programs of the build run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR wine)

# The arithmetic of every source of the build, GoogleTest included: SSE2 and never the x87 unit, whose precision
# depends on the host. Hosts built by other compilers align the stack to 4 bytes only, hence the realigning.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")

# The C++ runtime and the threads of winpthread become part of each program: what they need beyond themselves is
# on every Windows.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
