# find_package(kavfilt) for what is installed: kav::sys, kav::std, kav::filt.
include(CMakePackageConfigHelpers)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/kavfilt")
install(EXPORT kavfilt-targets NAMESPACE kav:: DESTINATION "${package_dir}")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/kavfilt-config.cmake.in"
    "${PROJECT_BINARY_DIR}/kavfilt-config.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/kavfilt-config-version.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/kavfilt-config.cmake" "${PROJECT_BINARY_DIR}/kavfilt-config-version.cmake"
    DESTINATION "${package_dir}")
