# find_package(zebnetutils) gives the target zebnetutils::zebnetutils.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include("${CMAKE_CURRENT_LIST_DIR}/zebnetutilsTargets.cmake")
