# A project of CMake's that finds the installed tree: the examples and the program of exceptions, built and run.
#   -D sources= examples= major= prefix= work= generator= compiler= standard=
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE "${work}")
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${sources}/consumer" -B "${work}" -G "${generator}"
    -D CMAKE_BUILD_TYPE=Debug -D "CMAKE_CXX_COMPILER=${compiler}" -D CMAKE_CXX_STANDARD=${standard}
    -D "CMAKE_CXX_FLAGS=-Wall -Wextra -Werror" -D "CMAKE_PREFIX_PATH=${prefix}" -D "EXAMPLES=${examples}"
    -D MAJOR=${major} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${work}" --parallel 2 OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_CTEST_COMMAND}" --test-dir "${work}" --output-on-failure --no-tests=error
    COMMAND_ERROR_IS_FATAL ANY)
