# The three components of the installation as Debian packages, which cpack makes and scripts/package checks:
# libkavfilt1 (its number is that of the SONAME), libkavfilt-dev and kavfilt. The texts are in packaging/debian/.
set(debian "${PROJECT_SOURCE_DIR}/packaging/debian")
set(library_package "lib${PROJECT_NAME}${PROJECT_VERSION_MAJOR}")
set(exact "${library_package} (= ${PROJECT_VERSION})")
file(STRINGS "${debian}/changelog" newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^kavfilt \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "packaging/debian/changelog does not begin with version ${PROJECT_VERSION}")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "kavfilt maintainers <maintainers@kavfilt.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # Each description begins with its own.
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_PRE_BUILD_SCRIPTS "${debian}/documents.cmake")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Dependencies on the system's libraries are found, those among the packages are said.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    "${PROJECT_BINARY_DIR}/kavsys" "${PROJECT_BINARY_DIR}/kavstd" "${PROJECT_BINARY_DIR}/filt")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME "${library_package}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# Programs that were linked with this version need it or a later one of the same SONAME.
set(shlibs "")
foreach(library IN ITEMS kavsys kavstd kavfilt)
    string(APPEND shlibs "lib${library} ${PROJECT_VERSION_MAJOR} ${library_package} (>= ${PROJECT_VERSION})\n")
endforeach()
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/shlibs" CONTENT "${shlibs}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/shlibs;${debian}/triggers")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME "lib${PROJECT_NAME}-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${exact}")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME "${PROJECT_NAME}")
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${exact}")
foreach(component IN ITEMS library development tool)
    string(TOUPPER ${component} COMPONENT)
    file(READ "${debian}/${component}.description" CPACK_COMPONENT_${COMPONENT}_DESCRIPTION)
endforeach()
include(CPack)
