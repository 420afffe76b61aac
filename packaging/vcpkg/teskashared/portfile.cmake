# A port for an overlay: vcpkg install teskashared --overlay-ports=packaging/vcpkg. The sources are the checkout around
# it. The libraries are built by g++, clang or MinGW.
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

# BUILD_SHARED_LIBS comes from the triplet's VCPKG_LIBRARY_LINKAGE.
vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}")
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME TESKAShared CONFIG_PATH lib/cmake/TESKAShared)
vcpkg_fixup_pkgconfig()

# One copy of the headers and no pages; DLLs and their folder only where the libraries are shared.
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share"
     "${CURRENT_PACKAGES_DIR}/share/doc")
if(VCPKG_LIBRARY_LINKAGE STREQUAL "static")
  file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/bin" "${CURRENT_PACKAGES_DIR}/debug/bin")
endif()

file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/COPYRIGHT")
