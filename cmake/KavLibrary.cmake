# kav_add_library(<name> ALIAS <kav::x> [LINK_PUBLIC <target>...])
#
# Makes a library of every .cpp below the current folder: shared by default (BUILD_SHARED_LIBS), hidden visibility
# with what VX_EXPORT marks exported, SONAME and version, install rules for it and its public headers. A new module is
# its header and its source and nothing else. Folders named internal/ and kernels/ are private and never installed.
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
    target_include_directories(${name}_objects PUBLIC
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
    target_link_libraries(${name}_objects PUBLIC ${ARG_LINK_PUBLIC}
        PRIVATE "$<BUILD_INTERFACE:kav_numerics>" "$<BUILD_INTERFACE:kav_warnings>")
    target_compile_features(${name}_objects PUBLIC cxx_std_20)

    add_library(${name} $<TARGET_OBJECTS:${name}_objects>)
    add_library(${ARG_ALIAS} ALIAS ${name})
    string(REGEX REPLACE "^kav::" "" export_name "${ARG_ALIAS}")
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
        EXPORT_NAME ${export_name} LINKER_LANGUAGE CXX)
    if(NOT APPLE)
        # The installed libraries find each other wherever the prefix is.
        set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN")
    endif()
    target_include_directories(${name} PUBLIC
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
    target_link_libraries(${name} PUBLIC ${ARG_LINK_PUBLIC})
    target_compile_features(${name} PUBLIC cxx_std_20)

    if(KAV_INSTALL)
        install(TARGETS ${name} EXPORT kavfilt-targets)
        foreach(header IN LISTS headers)
            get_filename_component(folder "${header}" DIRECTORY)
            file(RELATIVE_PATH here "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
            install(FILES "${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${here}/${folder}")
        endforeach()
    endif()
endfunction()
