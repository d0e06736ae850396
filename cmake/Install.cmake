# Install rules. Two components: `runtime` is what a host needs to run, `development` what it needs to be built.
# Everything finds its neighbours relative to itself, so that an installed tree may be moved.

include(CMakePackageConfigHelpers)

set(cmake_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ruleset)

install(TARGETS ruleset ruleset_static
    EXPORT ruleset_targets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/include/ruleset.h ${PROJECT_SOURCE_DIR}/include/ruleset_static.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT development)
if(TARGET cli)
    install(TARGETS cli RUNTIME COMPONENT runtime)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/man/
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
        COMPONENT runtime
        OPTIONAL
        FILES_MATCHING PATTERN "*.1")
endif()

# find_package(ruleset CONFIG)
install(EXPORT ruleset_targets
    FILE ruleset-targets.cmake
    NAMESPACE ruleset::
    DESTINATION ${cmake_package_dir}
    COMPONENT development)
configure_package_config_file(packaging/ruleset-config.cmake.in ruleset-config.cmake
    INSTALL_DESTINATION ${cmake_package_dir}
    NO_SET_AND_CHECK_MACRO
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(ruleset-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/ruleset-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/ruleset-config-version.cmake
    DESTINATION ${cmake_package_dir}
    COMPONENT development)

# pkg-config ruleset. The folders may be given as absolute paths, and are then below the prefix or not.
set(pkgconfig_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_prefix ${pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH pc_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH pc_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
string(REGEX REPLACE "/$" "" pc_prefix ${pc_prefix})
configure_file(packaging/ruleset.pc.in ruleset.pc @ONLY)
configure_file(packaging/ruleset_static.pc.in ruleset_static.pc @ONLY)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/ruleset.pc
    ${CMAKE_CURRENT_BINARY_DIR}/ruleset_static.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
