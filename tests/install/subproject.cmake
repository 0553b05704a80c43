# kavfilt inside another project (FetchContent with SOURCE_DIR), which makes static libraries; then the same parent
# chooses to install it: a static package, used through pkg-config.
#   -D source= parent= filter= prefix= libdir= work= generator= compiler=
cmake_minimum_required(VERSION 3.25)
set(configure "${CMAKE_COMMAND}" -S "${parent}" -B "${work}/build" -G "${generator}" -D CMAKE_BUILD_TYPE=Debug
    -D "CMAKE_CXX_COMPILER=${compiler}" -D "CMAKE_CXX_FLAGS_DEBUG=-O0" -D "KAVFILT_SOURCE=${source}"
    -D "FILTER=${filter}")
file(REMOVE_RECURSE "${work}/build/CMakeCache.txt" "${work}/elsewhere" "${work}/prefix")
execute_process(COMMAND ${configure} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${work}/build" --parallel 2 OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_CTEST_COMMAND}" --test-dir "${work}/build" --output-on-failure --no-tests=error
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${work}/build" --prefix "${work}/elsewhere"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE installed "${work}/elsewhere/*")
if(installed)
    message(FATAL_ERROR "the subproject installs: ${installed}")
endif()

execute_process(COMMAND ${configure} -D KAV_INSTALL=ON -D "CMAKE_INSTALL_LIBDIR=${libdir}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${work}/build" --parallel 2 OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${work}/build" --prefix "${work}/elsewhere"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME "${work}/elsewhere" "${work}/prefix")
