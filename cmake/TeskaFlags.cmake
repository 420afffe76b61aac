# Flags in two targets: teska_flags for what correctness needs, teska_warnings for developers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(teska_flags INTERFACE)
target_compile_options(
  teska_flags
  INTERFACE # Results are compared bit by bit between machines: no product and sum may be fused behind our back.
            -ffp-contract=off -fno-fast-math
            # __FILE__ reaches messages: relative to the root, the same text on every machine.
            "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=" "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
if(MINGW)
  # The compiler's own formatted output rounds exact ties to even, as on every other host.
  target_compile_definitions(teska_flags INTERFACE __USE_MINGW_ANSI_STDIO=1 _WIN32_WINNT=0x0A00)
else()
  target_compile_definitions(teska_flags INTERFACE _GNU_SOURCE)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Files of any size. Elsewhere it would only give the host's calls other names, which tests/faults wraps.
    target_compile_definitions(teska_flags INTERFACE _FILE_OFFSET_BITS=64)
  endif()
endif()
if(TESKA_HARDENING AND NOT TESKA_SANITIZE AND NOT MINGW AND NOT EMSCRIPTEN)
  target_compile_options(teska_flags INTERFACE -fstack-protector-strong)
  # A builder's own choice of checked calls stays; without optimisation there are none.
  if(NOT "$ENV{CPPFLAGS} ${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE")
    target_compile_options(teska_flags INTERFACE "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>"
                                                 "$<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>")
  endif()
  # Marks of where indirect jumps may land, for processors that look at them.
  check_cxx_compiler_flag(-fcf-protection=full TESKA_HAS_CF_PROTECTION)
  if(TESKA_HAS_CF_PROTECTION)
    target_compile_options(teska_flags INTERFACE -fcf-protection=full)
  endif()
  target_link_options(teska_flags INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
if(EMSCRIPTEN)
  # Programs load their code as a file: node's own fetch takes its path for an address.
  list(APPEND CMAKE_CROSSCOMPILING_EMULATOR --no-experimental-fetch)
  # Programs run under node and see the files of the host; what fails for want of memory is reported as anywhere.
  target_compile_options(teska_flags INTERFACE -fexceptions)
  target_link_options(
    teska_flags
    INTERFACE
    -fexceptions
    -sENVIRONMENT=node
    -sNODERAWFS=1
    -sEXIT_RUNTIME=1
    -sALLOW_MEMORY_GROWTH=1
    -sTOTAL_STACK=4MB)
endif()
if(TESKA_SANITIZE)
  target_compile_options(teska_flags INTERFACE "-fsanitize=${TESKA_SANITIZE}" -fno-sanitize-recover=all
                                               -fno-omit-frame-pointer)
  target_link_options(teska_flags INTERFACE "-fsanitize=${TESKA_SANITIZE}")
endif()

add_library(teska_warnings INTERFACE)
target_compile_options(
  teska_warnings
  INTERFACE -Wall
            -Wextra
            -Wshadow
            -Wconversion
            -Wpointer-arith
            -Wcast-qual
            -Wformat=2
            -Wundef
            $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
            $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
            $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi>)
if(TESKA_DEVELOPER)
  target_compile_options(teska_warnings INTERFACE -Werror)
endif()
