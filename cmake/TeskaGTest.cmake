# GoogleTest: the distribution's own build on the host; for another system its sources are compiled with ours.

if(CMAKE_CROSSCOMPILING)
  set(BUILD_GMOCK OFF)
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
else()
  find_package(GTest REQUIRED)
endif()

# Three quarters of a test program's compilation are headers of others, GoogleTest's above all: those of test.h are
# compiled once for all programs, which take them over from this one. What is tested is optimised as asked for; the
# tests themselves hardly are.
add_library(teska_test_options INTERFACE)
target_compile_options(teska_test_options INTERFACE ${TESKA_TEST_OPTIONS})
file(WRITE "${PROJECT_BINARY_DIR}/gtest_headers.cpp" "int main() {}\n")
add_executable(teska_gtest_headers EXCLUDE_FROM_ALL "${PROJECT_BINARY_DIR}/gtest_headers.cpp")
target_link_libraries(teska_gtest_headers PRIVATE GTest::gtest_main teska_flags teska_warnings teska_test_options)
set(test_header "${PROJECT_SOURCE_DIR}/tests/support/test.h")
file(STRINGS "${test_header}" headers REGEX "^#include <")
list(TRANSFORM headers REPLACE "#include " "")
target_precompile_headers(teska_gtest_headers PRIVATE ${headers})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${test_header}")
