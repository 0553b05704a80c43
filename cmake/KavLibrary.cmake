# kav_add_library(<name> ALIAS <kav::x> [LINK_PUBLIC <target>...])
#
# Makes a library of every .cpp below the current folder: shared or static (BUILD_SHARED_LIBS), hidden visibility with
# what VX_EXPORT marks exported, SONAME and version, and its public headers as its file set HEADERS, which
# KavPackage.cmake installs. A new module is its header and its source and nothing else. Folders named internal/ and
# kernels/ are private and never installed. The sources are C++20; who uses the headers may do with C++17.
#
# <name>_objects holds the same objects for tests of the private parts, which a shared library does not export.
function(kav_add_library name)
    cmake_parse_arguments(ARG "" "ALIAS" "LINK_PUBLIC" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" "*.cpp")
    file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" "*.h")
    list(FILTER headers EXCLUDE REGEX "(^|/)(internal|kernels)/")

    add_library(${name}_objects OBJECT ${sources})
    set_target_properties(${name}_objects PROPERTIES
        POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON CXX_EXTENSIONS OFF)
    target_include_directories(${name}_objects PUBLIC "${PROJECT_SOURCE_DIR}")
    target_link_libraries(${name}_objects PUBLIC ${ARG_LINK_PUBLIC} PRIVATE kav_numerics kav_warnings)
    target_compile_features(${name}_objects PUBLIC cxx_std_17 PRIVATE cxx_std_20)

    add_library(${name} $<TARGET_OBJECTS:${name}_objects>)
    add_library(${ARG_ALIAS} ALIAS ${name})
    string(REGEX REPLACE "^kav::" "" export_name "${ARG_ALIAS}")
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME ${export_name} LINKER_LANGUAGE CXX)
    if(NOT APPLE)
        # The installed libraries find each other wherever the prefix is.
        set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN")
    endif()
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${headers})
    target_link_libraries(${name} PUBLIC ${ARG_LINK_PUBLIC})
    target_compile_features(${name} PUBLIC cxx_std_17)
endfunction()
