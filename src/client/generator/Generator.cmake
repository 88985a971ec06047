# The typed calls. The generator runs on the machine that builds: when that is another system than the target, its own
# compiler makes it.
set(generated_folder ${PROJECT_BINARY_DIR}/generated)
set(generator_folder ${PROJECT_SOURCE_DIR}/src/client/generator)
set(generator_tables ${PROJECT_SOURCE_DIR}/src/operations/OperationCatalogue.cpp
                     ${PROJECT_SOURCE_DIR}/src/operations/OperationParameters.cpp)
file(GLOB generator_sources CONFIGURE_DEPENDS ${generator_folder}/*.cpp)
file(GLOB generator_headers CONFIGURE_DEPENDS ${generator_folder}/*.h ${PROJECT_SOURCE_DIR}/src/operations/Operation*.h)
set(module_folder ${generated_folder}/python/privilegerequestor)
file(MAKE_DIRECTORY ${generated_folder}/client ${module_folder})

if(CMAKE_CROSSCOMPILING)
  find_program(HOST_CXX NAMES c++ g++ clang++ REQUIRED)
  set(generator ${PROJECT_BINARY_DIR}/generator)
  add_custom_command(OUTPUT ${generator}
                     COMMAND ${HOST_CXX} -std=c++20 -I ${PROJECT_SOURCE_DIR}/src ${generator_sources} ${generator_tables}
                             -o ${generator}
                     DEPENDS ${generator_sources} ${generator_tables} ${generator_headers} VERBATIM)
else()
  set(generator generator)
  add_executable(generator ${generator_sources} ${generator_tables})
  target_include_directories(generator PRIVATE ${PROJECT_SOURCE_DIR}/src)
endif()

set(generated_calls ${generated_folder}/client/OperationCalls.h ${generated_folder}/client/OperationCalls.cpp)
set(generated_module ${module_folder}/_operations.py)
foreach(text "header ${generated_folder}/client/OperationCalls.h" "source ${generated_folder}/client/OperationCalls.cpp"
             "python ${generated_module}")
  separate_arguments(words UNIX_COMMAND ${text})
  list(GET words 0 kind)
  list(GET words 1 generated_file)
  add_custom_command(OUTPUT ${generated_file} COMMAND ${generator} ${kind} > ${generated_file} DEPENDS ${generator} VERBATIM)
endforeach()
# The whole module beside it, so that it can be imported from the build folder.
file(GLOB module_files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/client/python/privilegerequestor/*.py
     ${PROJECT_SOURCE_DIR}/src/client/python/privilegerequestor/py.typed)
foreach(module_file IN LISTS module_files)
  get_filename_component(module_name ${module_file} NAME)
  add_custom_command(OUTPUT ${module_folder}/${module_name}
                     COMMAND ${CMAKE_COMMAND} -E copy ${module_file} ${module_folder}/${module_name}
                     DEPENDS ${module_file} VERBATIM)
  list(APPEND generated_module ${module_folder}/${module_name})
endforeach()
add_custom_target(generated_module ALL DEPENDS ${generated_module})
