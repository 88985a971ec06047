# The target privilegerequestor::privilegerequestor.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/privilegerequestorTargets.cmake)
