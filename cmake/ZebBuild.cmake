# What every target of the project is built with.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

find_program(ZEB_CCACHE ccache)
if(ZEB_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${ZEB_CCACHE}")
endif()

# Interface targets: zeb_options for everything, zeb_warnings for our own sources.
add_library(zeb_options INTERFACE)
target_compile_options(zeb_options INTERFACE
    -Wall -Wextra -Wshadow -Werror
    # Logs and binaries carry paths relative to the source tree, never those of the build machine. (The compiler's
    # cache hands relative paths to the compiler.)
    "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=" "-ffile-prefix-map=../../=")
target_compile_definitions(zeb_options INTERFACE CURL_DISABLE_TYPECHECK)

if(ZEBNETUTILS_SANITIZE STREQUAL "address")
    set(ZEB_SANITIZER -fsanitize=address,undefined -fno-sanitize-recover=undefined)
elseif(ZEBNETUTILS_SANITIZE STREQUAL "thread")
    set(ZEB_SANITIZER -fsanitize=thread)
elseif(ZEBNETUTILS_SANITIZE)
    message(FATAL_ERROR "ZEBNETUTILS_SANITIZE must be address, thread or empty, not '${ZEBNETUTILS_SANITIZE}'")
endif()
if(ZEB_SANITIZER)
    target_compile_options(zeb_options INTERFACE ${ZEB_SANITIZER} -fno-omit-frame-pointer)
    # GCC's checks for uninitialised values mistake the sanitizers' own code, in <regex> for one.
    target_compile_options(zeb_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(zeb_options INTERFACE ${ZEB_SANITIZER})
    target_compile_definitions(zeb_options INTERFACE ZEB_SANITIZED)
endif()
# A shared library that misses a symbol fails when it is linked. Not so under clang's sanitizers, whose runtime
# comes with the executable.
set(ZEB_NO_UNDEFINED -Wl,--no-undefined)
if(ZEBNETUTILS_FUZZ)
    set(ZEB_NO_UNDEFINED "")
    # Coverage for the library as well as for the targets; the fuzzer's main comes with the targets.
    target_compile_options(zeb_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined
                           -fno-sanitize-recover=undefined)
    target_link_options(zeb_options INTERFACE -fsanitize=address,undefined)
    target_compile_definitions(zeb_options INTERFACE ZEB_SANITIZED)
endif()
