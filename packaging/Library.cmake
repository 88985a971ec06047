# The client library as other programs find it: one archive, its headers, and a package for CMake.
set(layers base protocol platform operations)
list(TRANSFORM layers PREPEND qrt_)
list(TRANSFORM layers REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE objects)
add_library(requestor_archive STATIC ${objects} $<TARGET_OBJECTS:privilegerequestor>)
set_target_properties(requestor_archive PROPERTIES
                      OUTPUT_NAME privilegerequestor EXPORT_NAME privilegerequestor LINKER_LANGUAGE CXX)
target_compile_features(requestor_archive INTERFACE cxx_std_20)

# The libraries that the port links, by plain names.
get_target_property(linked qrt_platform LINK_LIBRARIES)
list(FILTER linked INCLUDE REGEX "^PkgConfig::")
foreach(module IN LISTS linked)
  string(REPLACE "PkgConfig::" "" module ${module})
  list(APPEND foreign_libraries ${${module}_LIBRARIES})
endforeach()
target_link_libraries(requestor_archive INTERFACE ${foreign_libraries} Threads::Threads)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/privilegerequestor)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/privilegerequestor)
install(TARGETS requestor_archive EXPORT privilegerequestor ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT development INCLUDES DESTINATION ${headers})
foreach(layer base protocol platform operations client)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/${layer} DESTINATION ${headers} COMPONENT development
          FILES_MATCHING PATTERN "*.h"
          PATTERN posix EXCLUDE PATTERN linux EXCLUDE PATTERN macos EXCLUDE PATTERN cli EXCLUDE)
endforeach()

include(CMakePackageConfigHelpers)
write_basic_package_version_file(privilegerequestorConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(EXPORT privilegerequestor FILE privilegerequestorTargets.cmake NAMESPACE privilegerequestor::
        DESTINATION ${package} COMPONENT development)
install(FILES privilegerequestorConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/privilegerequestorConfigVersion.cmake
        DESTINATION ${package} COMPONENT development)
