# Debian packages, one a component: `cpack` in the build folder of a release.
set(helper_package privileged-helper)
set(development_package libprivilegerequestor-dev)
set(python_package python3-privilegerequestor)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The maintainers <maintainers@vantor.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL helper development python)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_HELPER_PACKAGE_NAME ${helper_package})
set(CPACK_DEBIAN_HELPER_PACKAGE_SECTION admin)
set(CPACK_COMPONENT_HELPER_DESCRIPTION
"daemon for maintenance work that needs root, and its client
It deletes trees that immutable flags protect, creates, renames and protects
objects in places of the system, changes settings, signals processes and runs
trusted utilities, all from one fixed catalogue. Every operation has an
authorization right of its own; where polkit is installed, polkit decides who
has it. The daemon starts on demand; qrtctl is its command-line client.")
set(CPACK_DEBIAN_HELPER_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_HELPER_PACKAGE_RECOMMENDS polkitd)
set(scripts postinst prerm postrm)
foreach(script IN LISTS scripts)
  configure_file(debian/${script}.in ${script} @ONLY FILE_PERMISSIONS
                 OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  list(APPEND CPACK_DEBIAN_HELPER_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/${script})
endforeach()

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"client library of the privileged helper, for C++
A program that links it connects to the privileged helper, asks it to perform
operations, and receives their progress and output. Static library, headers and
configuration for CMake.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${python_package})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "gir1.2-glib-2.0, python3-gi, python3:any")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
"client library of the privileged helper, for Python
A program that imports it connects to the privileged helper, asks it to perform
operations, and receives their progress and output. It is typed and uses the
D-Bus of GLib.")

# A program that links the archive needs the packages of the libraries that the archive uses.
find_program(DPKG_QUERY dpkg-query)
foreach(library IN LISTS foreign_libraries)
  find_library(found_library ${library} REQUIRED NO_CACHE)
  get_filename_component(name ${found_library} NAME)
  if(DPKG_QUERY)
    execute_process(COMMAND ${DPKG_QUERY} --search "*/${name}" OUTPUT_VARIABLE owner ERROR_QUIET)
    string(REGEX REPLACE ":.*" "" owner "${owner}")
    list(APPEND owners ${owner})
  endif()
  unset(found_library)
endforeach()
list(JOIN owners ", " CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS)

# Further files that Debian requires.
find_program(GZIP gzip REQUIRED)
execute_process(COMMAND ${GZIP} -9n INPUT_FILE ${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog
                OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS debian/changelog)
foreach(component helper development python)
  set(package ${${component}_package})
  install(FILES debian/copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/${package}.lintian-overrides)
    install(FILES debian/${package}.lintian-overrides RENAME ${package}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component})
  endif()
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/docs/examples/CMakeLists.txt ${PROJECT_SOURCE_DIR}/docs/examples/search.cpp
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${development_package}/examples COMPONENT development)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/docs/examples/search.py
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${python_package}/examples COMPONENT python)
# The folder of the polkit actions, which `qrtctl install-rights` writes.
install(DIRECTORY DESTINATION ${CMAKE_INSTALL_DATADIR}/polkit-1/actions COMPONENT helper)

include(CPack)
