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

# Optimised builds are hardened. The options stay with the targets of this project: a host chooses its own. Tools that
# instrument the code bring their own checks, and an unoptimised build cannot be fortified. A generator of several
# configurations has no build type here and counts as unoptimised, unless CMAKE_CXX_FLAGS itself optimises.
string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
string(REGEX MATCHALL " -O[^ ]*" optimisations " ${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${build_type}}")
list(POP_BACK optimisations optimisation)
if(RULESET_HARDENING AND NOT RULESET_INSTRUMENTED AND optimisation AND NOT optimisation STREQUAL " -O0")
    set(RULESET_HARDENED TRUE)
else()
    set(RULESET_HARDENED FALSE)
endif()

if(RULESET_HARDENED)
    include(CheckCXXCompilerFlag)

    # A landing pad is put at whatever can be called through a pointer. The linker marks a file as fit for Intel's IBT and
    # shadow stacks when all its objects are. On Debian 12 they are not: crti.o has no mark, and its _init, which the
    # loader calls through a pointer, has no landing pad. Deliberate: -z ibt is not forced, as it would be untrue there,
    # and neither is -z shstk, as no process has a shadow stack with a libc that is not marked either. Where the start-up
    # files are marked, so is what is linked here.
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
        set(landing_pads -fcf-protection=full)
    elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
        set(landing_pads -mbranch-protection=standard)
    else()
        set(landing_pads)
    endif()
    foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection ${landing_pads})
        string(MAKE_C_IDENTIFIER "RULESET_HAS${flag}" known)
        check_cxx_compiler_flag(${flag} ${known})
        if(${known})
            add_compile_options(${flag})
        endif()
    endforeach()

    # Before version 12 g++ knows level 2 only, and warns of a higher one. Distributors set a level of their own.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12)
        set(fortify_level 2)
    else()
        set(fortify_level 3)
    endif()
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify_level})

    add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()
