# Linux on another processor by Debian's cross compiler; programs run under qemu's user emulation. TESKA_CROSS is the
# processor as Debian's packages call it: aarch64, s390x, i686. An x86-64 processor needs no emulator for i686.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TESKA_CROSS)
set(TESKA_CROSS "" CACHE STRING "Processor to build for")

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR "${TESKA_CROSS}")
set(CMAKE_C_COMPILER ${TESKA_CROSS}-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER ${TESKA_CROSS}-linux-gnu-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${TESKA_CROSS}-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

string(REGEX REPLACE "^i.86$" "i386" emulated "${TESKA_CROSS}")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${emulated}-static -L /usr/${TESKA_CROSS}-linux-gnu)
if(emulated STREQUAL "i386")
  if(CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL "x86_64")
    # The loader of the 32-bit library, which no path of the host leads to.
    set(CMAKE_CROSSCOMPILING_EMULATOR /usr/${TESKA_CROSS}-linux-gnu/lib/ld-linux.so.2 --library-path
                                      /usr/${TESKA_CROSS}-linux-gnu/lib)
  endif()
  # Doubles are doubles: the x87 would keep more digits on the way.
  set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
  set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
endif()
