# The kernels: which there are, which of them this processor can have, and the source that fills the table with them.

# Every file <operation>_<level>.cpp of this folder. Another file there stops the configuration.
set(kernels
    clut_avx2
    clut_scalar
    clut_v128
    fir_avx2
    fir_avx512
    fir_scalar
    fir_v128
    fusm_avx2
    fusm_avx512
    fusm_scalar
    fusm_v128
    hull_avx2
    hull_avx512
    hull_scalar
    hull_v128
    ibilin_avx2
    ibilin_avx512
    ibilin_scalar
    ibilin_v128
    izat_avx2
    izat_avx512
    izat_scalar
    izat_v128
    mat_avx2
    mat_avx512
    mat_scalar
    md_tetrab_avx2
    md_tetrab_avx512
    md_tetrab_scalar
    md_tetrab_v128
    md_tetrad_avx2
    md_tetrad_avx512
    md_tetrad_scalar
    md_tetrad_v128
    md_tetras_avx2
    md_tetras_avx512
    md_tetras_scalar
    md_tetras_v128
    nearest_avx2
    nearest_scalar
    nearest_v128)

# ---- The processor ---------------------------------------------------------------------------------------------------

# Levels in rising order, with the flags of each, and the source that knows what the processor at hand has. A level
# needs no flags where every processor of the kind has it.
string(TOLOWER "${CMAKE_SYSTEM_PROCESSOR}" processor)
set(kernel_sources Kernels/dispatch.cpp)
set(kernel_levels scalar)
if(EMSCRIPTEN)
  list(APPEND kernel_levels v128)
  set(flags_of_v128 -msimd128 -msse4.1)
  list(APPEND kernel_sources Kernels/processor_other.cpp)
elseif(processor MATCHES "^(x86_64|amd64|x86|i[3-6]86)$")
  list(APPEND kernel_levels v128 avx2 avx512)
  set(flags_of_v128 -msse4.1)
  set(flags_of_avx2 -mavx2)
  set(flags_of_avx512 -mavx512f -mavx512bw -mavx512dq -mavx512vl -mavx512vbmi -mprefer-vector-width=512)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # The compiler's own header of these intrinsics starts from values that it leaves open.
    list(APPEND flags_of_avx512 -Wno-maybe-uninitialized -Wno-uninitialized)
  endif()
  list(APPEND kernel_sources Kernels/gather_avx2.cpp Kernels/processor_x86.cpp)
  teska_kernel_flags(Kernels/gather_avx2.cpp ${flags_of_avx2})
else()
  list(APPEND kernel_sources Kernels/processor_other.cpp)
  # The 128-bit kernels number bytes from the low end, and take their intrinsics from SIMDe (Debian: libsimde-dev).
  if(CMAKE_CXX_BYTE_ORDER STREQUAL LITTLE_ENDIAN)
    include(CheckIncludeFileCXX)
    check_include_file_cxx(simde/x86/sse4.1.h TESKA_HAS_SIMDE)
    if(TESKA_HAS_SIMDE)
      list(APPEND kernel_levels v128)
    else()
      message(STATUS "No SIMDe: kernels are scalar only")
    endif()
  endif()
endif()

# A scalar definition stays scalar where the compiler's own vectors would only be slower.
set(flags_of_mat_scalar -fno-tree-vectorize -fno-tree-slp-vectorize)
set(flags_of_md_tetras_scalar -fno-tree-vectorize)

# Sums of four channels are vectors longer than the instruction set's own, in functions that are always inlined.
set(flags_of_md_tetrad_v128 -Wno-psabi)

# ---- The table -------------------------------------------------------------------------------------------------------

file(GLOB kernel_files CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_LIST_DIR}" "${CMAKE_CURRENT_LIST_DIR}/*_*.cpp")
list(TRANSFORM kernel_files REPLACE "\\.cpp$" "")
list(FILTER kernel_files EXCLUDE REGEX "^(gather_avx2|processor_(x86|other))$")
if(NOT kernel_files STREQUAL kernels)
  list(JOIN kernel_files " " kernel_files)
  message(FATAL_ERROR "The list in Private/Kernels/kernels.cmake is not that of the kernels there: ${kernel_files}")
endif()

# teska_kernel_table(<source to write> <operation>_<level>...)
#
# A source that fills the table from these kernels, which are named level by level.
function(teska_kernel_table source)
  set(kernel_declarations)
  set(kernel_calls)
  set(highest_kernel_level scalar)
  foreach(kernel IN LISTS ARGN)
    string(REGEX REPLACE "^.*_" "" level "${kernel}")
    string(REGEX REPLACE "_${level}$" "" operation "${kernel}")
    if(NOT level STREQUAL highest_kernel_level)
      set(highest_kernel_level ${level})
      string(APPEND kernel_calls "    if (highest < simd_level::${level})\n        return;\n")
    endif()
    string(APPEND kernel_declarations "void install_${level}(${operation}_kernels &table, bool gathers) noexcept;\n")
    string(APPEND kernel_calls "    install_${level}(table.${operation}, gathers);\n")
  endforeach()
  configure_file("${CMAKE_CURRENT_FUNCTION_LIST_DIR}/kernel_table.cpp.in" "${source}" @ONLY)
endfunction()

set(kernels_of_table)
foreach(level IN LISTS kernel_levels)
  set(kernels_of_level ${kernels})
  list(FILTER kernels_of_level INCLUDE REGEX "_${level}$")
  list(APPEND kernels_of_table ${kernels_of_level})
  foreach(kernel IN LISTS kernels_of_level)
    string(REGEX REPLACE "_${level}$" "" operation "${kernel}")
    list(APPEND kernel_sources Kernels/${kernel}.cpp)
    teska_kernel_flags(Kernels/${kernel}.cpp ${flags_of_${level}} ${flags_of_${kernel}})
    # For the test that compares the entries of the table.
    set_property(GLOBAL APPEND PROPERTY TESKA_KERNELS "${operation} ${level}")
  endforeach()
endforeach()
teska_kernel_table("${CMAKE_CURRENT_BINARY_DIR}/kernel_table.cpp" ${kernels_of_table})
list(APPEND kernel_sources "${CMAKE_CURRENT_BINARY_DIR}/kernel_table.cpp")
