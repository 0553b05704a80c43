function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE "${work}")
run("${CMAKE_COMMAND}" --install "${build}" --prefix "${work}/prefix")
file(GLOB_RECURSE private_headers "${work}/prefix/include/*/internal/*" "${work}/prefix/include/*/kernels/*")
if(private_headers)
    message(FATAL_ERROR "private headers were installed: ${private_headers}")
endif()
run("${CMAKE_COMMAND}" -S "${examples}" -B "${work}/examples" -G "${generator}" -D CMAKE_BUILD_TYPE=Release
    -D "CMAKE_CXX_COMPILER=${compiler}" -D "CMAKE_PREFIX_PATH=${work}/prefix")
run("${CMAKE_COMMAND}" --build "${work}/examples")
run("${CMAKE_CTEST_COMMAND}" --test-dir "${work}/examples" --output-on-failure --no-tests=error)
