# What `cmake --install` lays out: the libraries beside each other, all public headers in one folder, and the files by
# which find_package(TESKAShared) and pkg-config find them. Nothing in it depends on the prefix.

get_property(companions GLOBAL PROPERTY TESKA_COMPANIONS)
get_property(companion_headers GLOBAL PROPERTY TESKA_COMPANION_HEADERS)
set(headers "${CMAKE_INSTALL_INCLUDEDIR}/teska")
set(package "${CMAKE_INSTALL_LIBDIR}/cmake/TESKAShared")

install(TARGETS TESKAShared teska_static ${companions} EXPORT TESKAShared)
install(FILES ${TESKA_RUNTIME_DLLS} TYPE BIN)
install(FILES ${companion_headers} DESTINATION "${headers}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/" DESTINATION "${headers}" FILES_MATCHING PATTERN "*.h")

include(CMakePackageConfigHelpers)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/TESKASharedConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/TESKASharedConfigVersion.cmake" DESTINATION "${package}")
install(EXPORT TESKAShared FILE TESKASharedConfig.cmake NAMESPACE TESKA:: DESTINATION "${package}")

file(RELATIVE_PATH prefix_from_package "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
list(TRANSFORM companions PREPEND "-l" OUTPUT_VARIABLE companion_options)
list(JOIN companion_options " " companion_options)
configure_file("${PROJECT_SOURCE_DIR}/cmake/TESKAShared.pc.in" "${PROJECT_BINARY_DIR}/TESKAShared.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/TESKAShared.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
