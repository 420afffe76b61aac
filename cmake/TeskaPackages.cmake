# What CPack makes of the installation: Debian packages and a zip for Windows. `./dev package` calls it.

set(CPACK_PACKAGE_NAME teska)
set(CPACK_PACKAGE_VENDOR "The TESKAShared developers")
set(CPACK_PACKAGE_CONTACT "The TESKAShared developers <teska@teskashared.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "building blocks for colour management, printing and imaging")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL runtime development doc)
set(CPACK_COMPONENTS_GROUPING IGNORE)

set(packages_runtime libteska1)
set(packages_development libteska-dev)
set(packages_tools teska-tools)
set(packages_python python3-teska)
set(packages_doc libteska-doc)
set(sections_runtime libs)
set(sections_development libdevel)
set(sections_tools graphics)
set(sections_python python)
set(sections_doc doc)
# The lines of a description.
set(texts_runtime "Colour tables and their interpolation, gamut geometry, curves, image lines,"
                  "containers and files, with the same bits on every machine.")
set(texts_development "Headers, static libraries and the files by which CMake and pkg-config find" "the libraries.")
set(texts_tools "The program teska converts pictures between colour spaces, bakes tables,"
                "measures gamuts, sharpens and resizes, and keeps archives.")
set(texts_python "The module teska for Python 3: colour tables, gamuts, curves, image filters,"
                 "archives and records on numpy arrays, and pictures that many machines convert.")
set(texts_doc "The reference of all functions, guides, and the pages about the library.")
if(TARGET teska)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
if(TESKA_PACKAGES AND NOT MINGW)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

if(MINGW)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME "teska-${PROJECT_VERSION}-windows-x86_64")
  set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/debian/triggers")
  # The companions and the library are taken from the build tree when dependencies are looked up.
  get_property(companions GLOBAL PROPERTY TESKA_COMPANIONS)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/Private")
  foreach(key IN LISTS companions)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/companions/${key}")
  endforeach()
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libteska1 (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libteska1 (>= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
      "libteska1 (>= ${PROJECT_VERSION}), python3 (>= 3.9), python3-cffi, python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS
      "python3-dask, python3-distributed, python3-matplotlib, python3-pil, python3-zarr, teska-tools")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/debian/python/postinst"
                                                "${PROJECT_SOURCE_DIR}/packaging/debian/python/prerm")
  foreach(component IN ITEMS DOC PYTHON)
    set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS OFF)
    set(CPACK_DEBIAN_${component}_PACKAGE_ARCHITECTURE all)
  endforeach()
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER "${component}" upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME "${packages_${component}}")
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION "${sections_${component}}")
    list(JOIN texts_${component} "\n" CPACK_DEBIAN_${upper}_DESCRIPTION)
  endforeach()
endif()

if(TESKA_PACKAGES AND NOT MINGW)
  # The Python package compiles nothing: it loads libteska1 by its SONAME.
  install(
    DIRECTORY python/teska
    DESTINATION lib/python3/dist-packages
    COMPONENT python
    FILES_MATCHING
    PATTERN "*.py"
    PATTERN "py.typed"
    PATTERN "__pycache__" EXCLUDE
    PATTERN ".libs" EXCLUDE)
  install(PROGRAMS packaging/debian/python/teska-batch DESTINATION bin COMPONENT python)
  configure_file(packaging/debian/python/teska-batch.1 "${PROJECT_BINARY_DIR}/debian/teska-batch.1" COPYONLY)
  execute_process(COMMAND gzip -9nf "${PROJECT_BINARY_DIR}/debian/teska-batch.1" COMMAND_ERROR_IS_FATAL ANY)
  install(FILES "${PROJECT_BINARY_DIR}/debian/teska-batch.1.gz" DESTINATION share/man/man1 COMPONENT python)
  # Every package has its own copyright statement and changelog; lintian is told which findings are meant.
  set(entry "teska (${PROJECT_VERSION}) unstable; urgency=medium\n\n  * See CHANGELOG.md in libteska-doc.\n\n")
  string(APPEND entry " -- ${CPACK_PACKAGE_CONTACT}  Sun, 22 Nov 2026 00:00:00 +0000\n")
  file(WRITE "${PROJECT_BINARY_DIR}/debian/changelog" "${entry}")
  execute_process(COMMAND gzip -9nf "${PROJECT_BINARY_DIR}/debian/changelog" COMMAND_ERROR_IS_FATAL ANY)
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    set(doc "share/doc/${packages_${component}}")
    install(FILES COPYRIGHT DESTINATION "${doc}" COMPONENT ${component} RENAME copyright)
    install(FILES "${PROJECT_BINARY_DIR}/debian/changelog.gz" DESTINATION "${doc}" COMPONENT ${component})
    set(overrides "${PROJECT_SOURCE_DIR}/packaging/debian/${packages_${component}}.lintian-overrides")
    if(EXISTS "${overrides}")
      install(FILES "${overrides}" DESTINATION share/lintian/overrides COMPONENT ${component}
              RENAME "${packages_${component}}")
    endif()
  endforeach()
endif()

include(CPack)
