# What `cmake --install` lays down: the shared libraries, the headers a host compiles against, and the two ways of
# finding them, find_package(zebnetutils) and pkg-config. Both give the include folder include/zebnetutils, in
# which headers are found by area ("http/Request.h"), as in the source tree.
include(CMakePackageConfigHelpers)

set(ZEB_INSTALL_HEADERS "${CMAKE_INSTALL_INCLUDEDIR}/zebnetutils")
set(ZEB_INSTALL_PACKAGE "${CMAKE_INSTALL_LIBDIR}/cmake/zebnetutils")
set(ZEB_INSTALL_PKGCONFIG "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# Every shared library of platform/ is one that libzebnetutils needs.
get_property(ZEB_INSTALLED_LIBRARIES DIRECTORY platform PROPERTY BUILDSYSTEM_TARGETS)
foreach(target IN LISTS ZEB_INSTALLED_LIBRARIES)
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL "SHARED_LIBRARY")
        list(REMOVE_ITEM ZEB_INSTALLED_LIBRARIES ${target})
    endif()
endforeach()
list(PREPEND ZEB_INSTALLED_LIBRARIES zebnetutils)

# They find one another in their own folder, wherever the host puts that.
set_target_properties(${ZEB_INSTALLED_LIBRARIES} PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS ${ZEB_INSTALLED_LIBRARIES} EXPORT zebnetutilsTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")

# A pattern of install() is matched against the whole path, hence the anchors.
set(excluded_headers)
foreach(pattern IN LISTS ZEB_INTERNAL_HEADERS)
    list(APPEND excluded_headers REGEX "^${PROJECT_SOURCE_DIR}/src/${pattern}$" EXCLUDE)
endforeach()
install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/" DESTINATION "${ZEB_INSTALL_HEADERS}"
    FILES_MATCHING PATTERN "*.h" ${excluded_headers})
file(GLOB platform_headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/platform/*/include")
foreach(folder IN LISTS platform_headers)
    install(DIRECTORY "${folder}/" DESTINATION "${ZEB_INSTALL_HEADERS}" FILES_MATCHING PATTERN "*.h")
endforeach()

install(EXPORT zebnetutilsTargets NAMESPACE zebnetutils:: DESTINATION "${ZEB_INSTALL_PACKAGE}")
# Until 1.0 each minor version may break its callers.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/zebnetutilsConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES cmake/zebnetutilsConfig.cmake "${PROJECT_BINARY_DIR}/zebnetutilsConfigVersion.cmake"
    DESTINATION "${ZEB_INSTALL_PACKAGE}")

# The installed tree may be moved as a whole: pkg-config counts from the place of the .pc file.
file(RELATIVE_PATH ZEB_PREFIX_FROM_PKGCONFIG "/prefix/${ZEB_INSTALL_PKGCONFIG}" "/prefix")
string(REGEX REPLACE "/$" "" ZEB_PREFIX_FROM_PKGCONFIG "${ZEB_PREFIX_FROM_PKGCONFIG}")
list(TRANSFORM ZEB_INSTALLED_LIBRARIES PREPEND "-l" OUTPUT_VARIABLE ZEB_LINK_LIBRARIES)
list(JOIN ZEB_LINK_LIBRARIES " " ZEB_LINK_LIBRARIES)
configure_file(cmake/zebnetutils.pc.in "${PROJECT_BINARY_DIR}/zebnetutils.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zebnetutils.pc" DESTINATION "${ZEB_INSTALL_PKGCONFIG}")
if(TARGET zebnetutilslibproxy)
    configure_file(cmake/zebnetutilslibproxy.pc.in "${PROJECT_BINARY_DIR}/zebnetutilslibproxy.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/zebnetutilslibproxy.pc" DESTINATION "${ZEB_INSTALL_PKGCONFIG}")
endif()
