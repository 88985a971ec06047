# The client library as other programs find it: one archive, its public headers in one folder, and packages for CMake and
# pkg-config; and the same for Python.
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

# The public headers include each other only. In the source they are in the folders of their layers.
set(public_headers
    client/PrivilegeRequestor client/AuthorizationPresentation client/OperationFeedback client/RequestErrors
    base/Error base/Number base/PosixCode base/PropertyValue base/Result)
list(TRANSFORM public_headers PREPEND ${PROJECT_SOURCE_DIR}/src/)
list(TRANSFORM public_headers APPEND .h)
list(APPEND public_headers ${PROJECT_BINARY_DIR}/generated/client/OperationCalls.h)
set(flatten_script ${PROJECT_SOURCE_DIR}/cmake/FlattenHeader.cmake)
foreach(header IN LISTS public_headers)
  get_filename_component(header_name ${header} NAME)
  set(flat_header ${CMAKE_CURRENT_BINARY_DIR}/headers/${header_name})
  add_custom_command(OUTPUT ${flat_header}
                     COMMAND ${CMAKE_COMMAND} -DHEADER=${header} -DOUTPUT=${flat_header} -P ${flatten_script}
                     DEPENDS ${header} ${flatten_script} VERBATIM)
  list(APPEND flat_headers ${flat_header})
endforeach()
add_custom_target(public_headers DEPENDS ${flat_headers})
add_dependencies(requestor_archive public_headers)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/privilegerequestor)
install(TARGETS requestor_archive EXPORT privilegerequestor ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT development INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${flat_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/privilegerequestor COMPONENT development)

include(CMakePackageConfigHelpers)
write_basic_package_version_file(privilegerequestorConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(EXPORT privilegerequestor FILE privilegerequestorTargets.cmake NAMESPACE privilegerequestor::
        DESTINATION ${package} COMPONENT development)
install(FILES privilegerequestorConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/privilegerequestorConfigVersion.cmake
        DESTINATION ${package} COMPONENT development)

# The archive is static, so whatever links it needs the other libraries as well.
list(TRANSFORM foreign_libraries PREPEND -l OUTPUT_VARIABLE link_words)
list(JOIN link_words " " link_words)
configure_file(privilegerequestor.pc.in privilegerequestor.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/privilegerequestor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

install(DIRECTORY ${PROJECT_BINARY_DIR}/generated/python/privilegerequestor DESTINATION lib/python3/dist-packages
        COMPONENT python PATTERN __pycache__ EXCLUDE)
