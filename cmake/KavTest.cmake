# kav_add_tests(LINK <target>... [INTERNAL_LINK <target>...])
#
# Makes one GoogleTest program of each *_test.cpp below the current folder, labelled with its folder. Tests in a folder
# named internal or kernels reach private parts and so link INTERNAL_LINK (the library's objects) instead of LINK.
include(GoogleTest)
find_package(GTest REQUIRED)

function(kav_add_tests)
    cmake_parse_arguments(ARG "" "" "LINK;INTERNAL_LINK" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" "*_test.cpp")
    file(RELATIVE_PATH here "${PROJECT_SOURCE_DIR}/tests" "${CMAKE_CURRENT_SOURCE_DIR}")
    foreach(source IN LISTS sources)
        string(REGEX REPLACE "\\.cpp$" "" name "${here}/${source}")
        string(REPLACE "/" "." name "${name}")
        get_filename_component(label "${here}/${source}" DIRECTORY)
        set(link ${ARG_LINK})
        if(ARG_INTERNAL_LINK AND source MATCHES "(^|/)(internal|kernels)/")
            set(link ${ARG_INTERNAL_LINK})
        endif()
        add_executable(${name} "${source}")
        set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
        target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
        target_link_libraries(${name} PRIVATE ${link} kav_numerics kav_warnings GTest::gtest_main GTest::gmock)
        gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
            PROPERTIES LABELS "${label}" TIMEOUT 900)
    endforeach()
endfunction()
