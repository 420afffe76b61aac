# Windows looks for DLLs beside the program: everything that runs lands in one folder, with the compiler's runtime. The
# runtime stays shared, so that an exception thrown in one DLL can be caught in another.

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(TESKA_RUNTIME_DLLS)
foreach(dll IN ITEMS libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll)
  execute_process(COMMAND "${CMAKE_CXX_COMPILER}" "-print-file-name=${dll}" OUTPUT_VARIABLE path
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT EXISTS "${path}")
    message(FATAL_ERROR "the compiler's runtime lacks ${dll}")
  endif()
  file(COPY "${path}" DESTINATION "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
  list(APPEND TESKA_RUNTIME_DLLS "${path}")
endforeach()
