# Libraries that the client and the tests use. A foreign target can use this system's packages for their headers and
# sources only.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(CLI11 REQUIRED)
  find_package(fmt REQUIRED)
  find_package(nlohmann_json REQUIRED)
  if(BUILD_TESTING)
    find_package(GTest REQUIRED)
  endif()
  return()
endif()

# Links to the folders, so that nothing else of the including folder is found.
function(qrt_headers target folder)
  find_path(parent ${folder} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH NO_CACHE REQUIRED)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/headers)
  file(CREATE_LINK ${parent}/${folder} ${PROJECT_BINARY_DIR}/headers/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} INTERFACE ${PROJECT_BINARY_DIR}/headers)
endfunction()

qrt_headers(CLI11::CLI11 CLI)
qrt_headers(fmt::fmt fmt)
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)
qrt_headers(nlohmann_json::nlohmann_json nlohmann)

set(INSTALL_GTEST OFF)
add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(library gtest gmock gmock_main)
  target_compile_options(${library} PRIVATE -w)
endforeach()
