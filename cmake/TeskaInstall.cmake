# What `cmake --install` lays out, in the components runtime, development, tools and doc: the libraries beside each
# other, all public headers in the folder teska/, and the files by which find_package and pkg-config find them. Nothing
# in it depends on the prefix, and no library holds a path.

get_property(companions GLOBAL PROPERTY TESKA_COMPANIONS)
get_property(companion_headers GLOBAL PROPERTY TESKA_COMPANION_HEADERS)
set(package "${CMAKE_INSTALL_LIBDIR}/cmake/TESKAShared")

set(shared_libraries TESKAShared)
set(static_libraries teska_static)
foreach(key IN LISTS companions)
  string(TOUPPER "${key}" upper)
  list(APPEND shared_libraries ${upper}Shared)
  list(APPEND static_libraries ${key}_static)
endforeach()
set(libraries ${shared_libraries} ${static_libraries})
if(TESKA_ONLY STREQUAL "SHARED")
  set(libraries ${shared_libraries})
  set_target_properties(${static_libraries} PROPERTIES EXCLUDE_FROM_ALL ON)
elseif(TESKA_ONLY STREQUAL "STATIC")
  set(libraries ${static_libraries})
  set_target_properties(${shared_libraries} PROPERTIES EXCLUDE_FROM_ALL ON)
endif()

install(
  TARGETS ${libraries}
  EXPORT TESKAShared
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)
install(FILES ${TESKA_RUNTIME_DLLS} TYPE BIN COMPONENT runtime)
install(FILES ${companion_headers} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/teska" COMPONENT development)
install(
  DIRECTORY "${PROJECT_SOURCE_DIR}/include/"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/teska"
  COMPONENT development
  FILES_MATCHING
  PATTERN "*.h")

# Both spellings of the name find the package.
include(CMakePackageConfigHelpers)
set(version_file "${PROJECT_BINARY_DIR}/TESKASharedConfigVersion.cmake")
write_basic_package_version_file("${version_file}" COMPATIBILITY SameMajorVersion)
install(FILES "${version_file}" DESTINATION "${package}" COMPONENT development)
install(FILES "${version_file}" DESTINATION "${package}" COMPONENT development RENAME teskashared-config-version.cmake)
install(
  EXPORT TESKAShared
  FILE TESKASharedTargets.cmake
  NAMESPACE TESKA::
  DESTINATION "${package}"
  COMPONENT development)
file(WRITE "${PROJECT_BINARY_DIR}/TESKASharedConfig.cmake"
     "include(\"\${CMAKE_CURRENT_LIST_DIR}/TESKASharedTargets.cmake\")\n")
foreach(name IN ITEMS TESKASharedConfig.cmake teskashared-config.cmake)
  install(FILES "${PROJECT_BINARY_DIR}/TESKASharedConfig.cmake" DESTINATION "${package}" COMPONENT development
          RENAME ${name})
endforeach()

# teska_pkg_config(<library> <description> <libraries it needs> <definition of static programs>)
function(teska_pkg_config library description requires definition)
  file(RELATIVE_PATH prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/library.pc.in" "${PROJECT_BINARY_DIR}/${library}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${library}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
          COMPONENT development)
endfunction()
teska_pkg_config(TESKAShared "${PROJECT_DESCRIPTION}" "WEMShared LOPRAShared ZUKShared" TESKA_STATIC)
teska_pkg_config(WEMShared "Report lines, logical names, record pools and clocks" "" WEM_STATIC)
teska_pkg_config(LOPRAShared "File calls that take UTF-8 paths" "" LOPRA_STATIC)
teska_pkg_config(ZUKShared "Record files" "LOPRAShared" ZUK_STATIC)

# A Debian package has the copyright statement under its own name.
set(doc "${CMAKE_INSTALL_DOCDIR}")
if(TESKA_PACKAGES AND NOT MINGW)
  set(doc "share/doc/libteska-doc")
else()
  install(FILES "${PROJECT_SOURCE_DIR}/COPYRIGHT" DESTINATION "${doc}" COMPONENT runtime)
endif()
install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md" DESTINATION "${doc}" COMPONENT doc)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" DESTINATION "${doc}" COMPONENT doc)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/examples/tasks" DESTINATION "${doc}/examples" COMPONENT doc)
# The reference, where ./dev docs made it.
if(EXISTS "${PROJECT_SOURCE_DIR}/out/reference/index.html")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/out/reference/" DESTINATION "${doc}/html" COMPONENT doc)
endif()
