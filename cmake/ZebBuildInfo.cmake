# Writes generated/version/BuildInfo.h: what the version banner says. The build time is SOURCE_DATE_EPOCH or the
# commit's own date, never the clock's, so that the same sources give the same binary (and ccache keeps hitting).

set(ZEB_BUILD_BRANCH "unknown")
set(ZEB_BUILD_COMMIT "unknown")
set(ZEB_BUILD_TIME "unknown")

find_package(Git QUIET)

# zeb_git(<result variable> argument…): the output of git; empty when there is none.
function(zeb_git result)
    set(output "")
    if(GIT_FOUND)
        execute_process(COMMAND "${GIT_EXECUTABLE}" ${ARGN}
            WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
            OUTPUT_VARIABLE output OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
    set(${result} "${output}" PARENT_SCOPE)
endfunction()

zeb_git(zeb_branch rev-parse --abbrev-ref HEAD)
zeb_git(zeb_commit rev-parse --short=12 HEAD)
zeb_git(zeb_commit_time log -1 --format=%ct)
# A new commit configures anew.
zeb_git(zeb_head_log rev-parse --path-format=absolute --git-path logs/HEAD)
if(zeb_head_log AND EXISTS "${zeb_head_log}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${zeb_head_log}")
endif()

if(zeb_branch)
    set(ZEB_BUILD_BRANCH "${zeb_branch}")
endif()
if(zeb_commit)
    set(ZEB_BUILD_COMMIT "${zeb_commit}")
endif()
set(zeb_epoch "$ENV{SOURCE_DATE_EPOCH}")
if(zeb_epoch OR zeb_commit_time)
    # string(TIMESTAMP) tells the time that SOURCE_DATE_EPOCH names.
    if(NOT zeb_epoch)
        set(ENV{SOURCE_DATE_EPOCH} "${zeb_commit_time}")
    endif()
    string(TIMESTAMP ZEB_BUILD_TIME "%Y-%m-%d %H:%M:%S UTC" UTC)
    if(NOT zeb_epoch)
        unset(ENV{SOURCE_DATE_EPOCH})
    endif()
endif()

configure_file("${CMAKE_CURRENT_LIST_DIR}/BuildInfo.h.in"
    "${PROJECT_BINARY_DIR}/generated/version/BuildInfo.h" @ONLY)
