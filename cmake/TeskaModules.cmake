# The verbs the map, the companions and the tests are written with.

# teska_parts(<module> <part...>)
#
# A module of several sources: the module file Private/Source/<module>.cpp and, in the folder of its name, its parts.
# Stands before the subsystem that holds the module.
function(teska_parts module)
  set_property(GLOBAL PROPERTY TESKA_PARTS_${module} ${ARGN})
endfunction()

# teska_subsystem(<key> <title> [module...])
#
# Registers the modules of one subsystem. A module is a triad, include/x.h, Private/Source/x.cpp and
# tests/<key>/x_test.cpp, with a line in Private/Source/README.md; one that lacks a piece stops the build.
function(teska_subsystem key title)
  set(index "${PROJECT_SOURCE_DIR}/Private/Source/README.md")
  set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${index}")
  file(READ "${index}" index_text)
  set(headers)
  set(sources)
  foreach(module IN LISTS ARGN)
    get_property(parts GLOBAL PROPERTY TESKA_PARTS_${module})
    list(TRANSFORM parts REPLACE "(.+)" "Private/Source/${module}/\\1.cpp" OUTPUT_VARIABLE module_sources)
    list(PREPEND module_sources "Private/Source/${module}.cpp")
    foreach(piece "include/${module}.h" "tests/${key}/${module}_test.cpp" ${module_sources})
      if(NOT EXISTS "${PROJECT_SOURCE_DIR}/${piece}")
        message(FATAL_ERROR "module ${module} (${title}) lacks ${piece}")
      endif()
    endforeach()
    if(NOT index_text MATCHES "`${module}`")
      message(FATAL_ERROR "module ${module} (${title}) lacks a line in Private/Source/README.md")
    endif()
    list(JOIN module_sources " " line)
    set_property(GLOBAL APPEND PROPERTY TESKA_MAP "${key} ${module} ${line}")
    list(TRANSFORM module_sources PREPEND "${PROJECT_SOURCE_DIR}/")
    list(APPEND sources ${module_sources})
    list(APPEND headers "${PROJECT_SOURCE_DIR}/include/${module}.h")
  endforeach()
  if(sources AND NOT EXISTS "${PROJECT_SOURCE_DIR}/include/teska_${key}.h")
    message(FATAL_ERROR "subsystem ${key} lacks include/teska_${key}.h")
  endif()
  source_group("${title}" FILES ${sources} ${headers})
  set_property(GLOBAL APPEND PROPERTY TESKA_SUBSYSTEMS ${key})
  set_property(GLOBAL PROPERTY TESKA_MODULES_${key} ${ARGN})
  set_property(GLOBAL PROPERTY TESKA_SOURCES_${key} ${sources})
  set_property(GLOBAL APPEND PROPERTY TESKA_SOURCES ${sources})
endfunction()

# teska_write_map()
#
# The map as the checks read it, <build tree>/map.txt: a line for each module with its subsystem, name and sources.
function(teska_write_map)
  get_property(map GLOBAL PROPERTY TESKA_MAP)
  list(JOIN map "\n" text)
  file(WRITE "${PROJECT_BINARY_DIR}/map.txt" "${text}\n")
endfunction()

# teska_companion(<target> <folder-key> SOURCES <file...>)
#
# A companion holds process-wide state that must exist once in a process: the libraries share it as a shared library, a
# static program has it in itself as <key>_static. Its objects are also there on their own (<target>_objects), for the
# tests that fail its allocations.
function(teska_companion target key)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "SOURCES")
  string(TOUPPER "${key}" upper)
  add_library(${target}_objects OBJECT ${arg_SOURCES})
  target_include_directories(${target}_objects PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
  target_compile_definitions(${target}_objects PUBLIC ${upper}_BUILD)
  target_link_libraries(${target}_objects PRIVATE teska_flags teska_warnings)
  target_compile_options(${target}_objects PRIVATE ${TESKA_LIBRARY_OPTIONS})
  set_target_properties(${target}_objects PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  add_library(${target} ${TESKA_SHARED})
  target_link_libraries(${target} PRIVATE ${target}_objects teska_flags)
  target_include_directories(${target} PUBLIC "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>"
                                              "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  teska_shared_library(${target} "${CMAKE_CURRENT_SOURCE_DIR}/${key}.map")
  teska_static_library(${key}_static ${target})
  target_sources(${key}_static PRIVATE $<TARGET_OBJECTS:${target}_objects>)
  target_compile_definitions(${key}_static INTERFACE ${upper}_STATIC)
  target_include_directories(${key}_static INTERFACE "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>"
                                                     "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  set_property(GLOBAL APPEND PROPERTY TESKA_COMPANIONS ${key})
  set_property(GLOBAL APPEND PROPERTY TESKA_COMPANION_HEADERS "${CMAKE_CURRENT_SOURCE_DIR}/${key}.h")
endfunction()

# teska_headers_once(<target> <header...>)
#
# Headers of others that most sources of a target include are compiled once for all of them: two fifths of the time of a
# short source. Developers' builds alone; packages are built without, so that a source that lacks an include is found.
function(teska_headers_once target)
  if(TESKA_DEVELOPER)
    list(TRANSFORM ARGN REPLACE "(.+)" "<\\1>" OUTPUT_VARIABLE headers)
    target_precompile_headers(${target} PRIVATE ${headers})
  endif()
endfunction()

# teska_kernel_flags(<source> <flag...>)
#
# The flags of an instruction set, for one kernel file and no other.
function(teska_kernel_flags source)
  set(flags ${ARGN})
  if(MINGW)
    # Windows aligns the stack to 16 bytes; the compiler stores 32-byte registers there as if they were aligned.
    list(APPEND flags -Wa,-muse-unaligned-vector-move)
  endif()
  set_source_files_properties("${source}" PROPERTIES COMPILE_OPTIONS "${flags}")
endfunction()

# What a shared library is where there are none.
if(EMSCRIPTEN)
  set(TESKA_SHARED STATIC)
else()
  set(TESKA_SHARED SHARED)
endif()

# teska_shared_library(<target> <version-script>)
#
# What every shared library of the house has in common: version and hidden names.
function(teska_shared_library target version_script)
  set_target_properties(${target} PROPERTIES VERSION "${PROJECT_VERSION}" SOVERSION "${PROJECT_VERSION_MAJOR}"
                                             LINKER_LANGUAGE CXX)
  if(MINGW)
    set_target_properties(${target} PROPERTIES PREFIX "")
  elseif(NOT EMSCRIPTEN)
    target_link_options(${target} PRIVATE "-Wl,--version-script=${version_script}" -Wl,-Bsymbolic-functions)
    if(NOT TESKA_SANITIZE)
      target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
    set_target_properties(${target} PROPERTIES LINK_DEPENDS "${version_script}")
  endif()
endfunction()

# teska_static_library(<target> <shared library>)
#
# The static library beside a shared one: the same name as an archive, and as a target <...>Static for <...>Shared. It
# links in C programs too: the C++ runtime comes with it.
function(teska_static_library target shared)
  string(REGEX REPLACE "Shared$" "Static" export_name "${shared}")
  # Where there are no shared libraries the name is taken.
  set(name "${shared}")
  if(EMSCRIPTEN)
    set(name "${export_name}")
  endif()
  add_library(${target} STATIC)
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX OUTPUT_NAME "${name}" EXPORT_NAME "${export_name}")
  if(NOT EMSCRIPTEN)
    target_link_libraries(${target} INTERFACE "$<INSTALL_INTERFACE:$<$<LINK_LANGUAGE:C>:stdc++>>"
                                              "$<INSTALL_INTERFACE:$<$<LINK_LANGUAGE:C>:m>>")
  endif()
endfunction()

# teska_test(<name> LABEL <label> SOURCES <file...> [LIBRARIES <target...>])
#
# One test program, one CTest entry.
function(teska_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LABEL" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} teska_test_support GTest::gtest_main teska_flags
                                        teska_warnings teska_test_options)
  target_precompile_headers(${name} REUSE_FROM teska_gtest_headers)
  teska_test_entry(${name} ${arg_LABEL})
endfunction()

# teska_test_entry(<program> <label>)
#
# The results of a GoogleTest program go to a report in the build tree, from which the total is counted; the path is
# relative, because a Windows program does not know the host's.
function(teska_test_entry program label)
  add_test(NAME "${label}.${program}" COMMAND ${program} "--gtest_output=xml:reports/${label}.${program}.xml"
           WORKING_DIRECTORY "${PROJECT_BINARY_DIR}")
  set_tests_properties("${label}.${program}" PROPERTIES LABELS "${label}" TIMEOUT 600)
  if(TESKA_SANITIZE OR "${CMAKE_CROSSCOMPILING_EMULATOR}" MATCHES "qemu")
    set_property(TEST "${label}.${program}" APPEND PROPERTY ENVIRONMENT "TESKA_SLOW=1")
  endif()
  if(CMAKE_CROSSCOMPILING)
    # Programs that start themselves again do it with the emulator.
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    set_property(TEST "${label}.${program}" APPEND PROPERTY ENVIRONMENT "TESKA_EMULATOR=${emulator}")
  endif()
endfunction()

# teska_link_headers()
#
# <build tree>/include/teska leads to the public headers: programs of the checkout include them as installed ones do.
function(teska_link_headers)
  get_property(companion_headers GLOBAL PROPERTY TESKA_COMPANION_HEADERS)
  file(GLOB headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/include/*.h")
  file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/include/teska")
  foreach(header IN LISTS headers companion_headers)
    get_filename_component(name "${header}" NAME)
    file(CREATE_LINK "${header}" "${PROJECT_BINARY_DIR}/include/teska/${name}" COPY_ON_ERROR SYMBOLIC)
  endforeach()
endfunction()
