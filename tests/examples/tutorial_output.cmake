# What docs/tutorial.md shows as printed is what the tool and the examples print.
file(READ "${page}" tutorial)
file(REMOVE_RECURSE "${work}")
file(MAKE_DIRECTORY "${work}")

# Runs a command and looks for what the expression finds in its output as a block, or a whole line of one.
function(printed expression)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY "${work}" OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    if(NOT output MATCHES "${expression}")
        message(FATAL_ERROR "${ARGN} printed nothing like ${expression}:\n${output}")
    endif()
    string(FIND "${tutorial}" "```text\n${CMAKE_MATCH_0}\n```" position)
    if(position EQUAL -1)
        message(SEND_ERROR "the tutorial does not show what ${ARGN} prints:\n${CMAKE_MATCH_0}")
    endif()
endfunction()

execute_process(COMMAND "${tool}" demo pictures WORKING_DIRECTORY "${work}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
configure_file("${work}/pictures/picture.png" "${work}/fabric.png" COPYONLY)
file(WRITE "${work}/one.pgm" "P2 1 1 255 1\n")
printed("size: .*x [0-9]+" "${tool}" info fabric.png)
printed("  result [^\n]*" "${tool}" filter fabric.png -o wide.png --type bandpass --frequency 0.024 --sigma 0.016 --dc 1)
execute_process(COMMAND "${tool}" convolve fabric.png one.pgm -o fabric.pgm --range clip WORKING_DIRECTORY "${work}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${tool}" save --type gabor --angle 113 --frequency 0.024 --sigma 0.008,0.004 --dc 1 --size 448
    -o stain.kav WORKING_DIRECTORY "${work}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
printed("darkest [^\n]*" "${inspect}" fabric.pgm stain.kav out.pgm)
printed("tuned: [^\n]*\n[^\n]*" "${tune}")
