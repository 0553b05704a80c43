# Installs the build and moves the tree: what the other tests use is never where it was installed to. The tool works
# there, without help from its surroundings, and leaves a filter for the others.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE "${work}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${build}" --prefix "${work}/elsewhere"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME "${work}/elsewhere" "${prefix}")
execute_process(COMMAND env -i "${prefix}/bin/kavfilt" save --type bandpass --frequency 0.1 --sigma 0.02 --size 64,64
    -o "${filter}" COMMAND_ERROR_IS_FATAL ANY)
