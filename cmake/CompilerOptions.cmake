# What every target of the project is compiled and linked with. Included by the root only, so that the
# options reach all folders below it and never a project around it.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Without the check CMake compiles programs as position independent but links them as if they were not.
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_compile_options(
    -Wall
    -Wextra
    -Wpedantic
    -Wconversion
    -Wshadow
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
    $<$<BOOL:${RULESET_WERROR}>:-Werror>)

if(RULESET_SANITIZE)
    set(sanitizer_options -fsanitize=${RULESET_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # Its run-time library is for C++ programs only, and the examples are C.
        list(APPEND sanitizer_options -fno-sanitize=function)
    endif()
    add_compile_options(${sanitizer_options})
    add_link_options(${sanitizer_options})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The checks that are woven in lead g++ to warn about the standard library's own code.
        add_compile_options(-Wno-maybe-uninitialized)
    endif()
endif()

# At -O3 g++ 12 warns about joining strings, in the standard library's own code (its bug 105651); the other presets keep
# the warning.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13
        AND CMAKE_BUILD_TYPE STREQUAL "Release")
    add_compile_options(-Wno-restrict)
endif()

if(RULESET_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()

# True when the objects carry calls into a tool's run-time library. Such a library needs more than libc, and a
# program that was built without the tool cannot load it: what inspects or installs the library is left out.
if(RULESET_SANITIZE OR RULESET_COVERAGE)
    set(RULESET_INSTRUMENTED TRUE)
else()
    set(RULESET_INSTRUMENTED FALSE)
endif()
