# find_package(zebnetutils) gives the target zebnetutils::zebnetutils; with the component libproxy, where it was built,
# also zebnetutils::zebnetutilslibproxy.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include("${CMAKE_CURRENT_LIST_DIR}/zebnetutilsTargets.cmake")

foreach(component IN LISTS zebnetutils_FIND_COMPONENTS)
    set(zebnetutils_${component}_FOUND FALSE)
    if(TARGET zebnetutils::zebnetutils${component})
        set(zebnetutils_${component}_FOUND TRUE)
    elseif(zebnetutils_FIND_REQUIRED_${component})
        set(zebnetutils_FOUND FALSE)
        set(zebnetutils_NOT_FOUND_MESSAGE "This zebnetutils was built without ${component}.")
    endif()
endforeach()
