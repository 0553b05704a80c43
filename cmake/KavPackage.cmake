# Everything that is installed, in the three components that become Debian packages (KavDebian.cmake): the shared
# libraries; what developers need, for CMake (find_package(kavfilt) gives kav::sys, kav::std and kav::filt) and for
# pkg-config; the tool with its manual pages and completions. The tree works wherever it is moved to.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS kavsys kavstd kavfilt EXPORT kavfiltTargets
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    FILE_SET HEADERS COMPONENT development)

set(cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/kavfilt")
install(EXPORT kavfiltTargets NAMESPACE kav:: DESTINATION "${cmake_dir}" COMPONENT development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/kavfiltConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/kavfiltConfig.cmake" INSTALL_DESTINATION "${cmake_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/kavfiltConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/kavfiltConfig.cmake" "${PROJECT_BINARY_DIR}/kavfiltConfigVersion.cmake"
    DESTINATION "${cmake_dir}" COMPONENT development)

file(RELATIVE_PATH prefix_from_pc "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
foreach(folder IN ITEMS includedir libdir) # Absolute where the builder's choice is.
    string(TOUPPER "CMAKE_INSTALL_${folder}" choice)
    cmake_path(APPEND pc_${folder} "\${prefix}" "${${choice}}")
endforeach()
# What a linker that is not the C++ compiler needs beside static libraries.
set(implicit ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(FILTER implicit INCLUDE REGEX "^(stdc\\+\\+|c\\+\\+|m)$")
list(REMOVE_DUPLICATES implicit)
list(TRANSFORM implicit PREPEND "-l")
list(JOIN implicit " " pc_libs_private)
configure_file("${PROJECT_SOURCE_DIR}/cmake/kavfilt.pc.in" "${PROJECT_BINARY_DIR}/kavfilt.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/kavfilt.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

if(KAV_BUILD_TOOLS)
    if(NOT APPLE)
        file(RELATIVE_PATH libraries_from_tool "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
        set_target_properties(kavfilt_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_tool}")
    endif()
    install(TARGETS kavfilt_tool COMPONENT tool)
endif()
