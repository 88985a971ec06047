# One static library a folder of src/, with its rooms. A layer sees the folders it names, and what those see.
#   qrt_layer(filesystem ROOMS walk objects DEPENDS operations LINK extra-libraries...)
function(qrt_layer name)
  cmake_parse_arguments(LAYER "" "" "ROOMS;DEPENDS;LINK;SOURCES" ${ARGN})
  list(TRANSFORM LAYER_ROOMS REPLACE "(.+)" "${CMAKE_CURRENT_SOURCE_DIR}/${name}/\\1/*.cpp")
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp ${LAYER_ROOMS})
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(qrt_${name} STATIC ${sources} ${LAYER_SOURCES})
  target_include_directories(qrt_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  list(TRANSFORM LAYER_DEPENDS PREPEND qrt_)
  target_link_libraries(qrt_${name} PUBLIC ${LAYER_DEPENDS} PRIVATE ${LAYER_LINK})
endfunction()

# One test program a folder of tests/, every case its own CTest entry.
function(qrt_test_program name)
  cmake_parse_arguments(PROGRAM "" "" "LINK" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} ${name}/*.cpp
       ${name}/${port}/*.cpp ${name}/${port}/*.mm)
  add_executable(test_${name} ${sources})
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(test_${name} PRIVATE ${PROGRAM_LINK} qrt_test_support GTest::gmock_main)
  # Compiling a test costs more than running it, so little is optimized.
  target_compile_options(test_${name} PRIVATE $<$<CONFIG:Release>:-O1>)
  if(NOT CMAKE_CROSSCOMPILING)
    gtest_discover_tests(test_${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
  endif()
endfunction()
