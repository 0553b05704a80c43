# "kavfilt filter" and the example "inspect" write the same file for the same image and the same saved filter.
function(run)
    execute_process(COMMAND ${ARGV} WORKING_DIRECTORY "${work}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE "${work}")
file(MAKE_DIRECTORY "${work}")
file(WRITE "${work}/one.pgm" "P2 1 1 255 1\n") # A convolution with it writes the demonstration's picture as PGM.
run("${tool}" demo pictures)
run("${tool}" convolve pictures/picture.png one.pgm -o fabric.pgm --range clip)
run("${tool}" save --type gabor --angle 113 --frequency 0.024 --sigma 0.008,0.004 --dc 1 --size 448 -o stain.kav)
run("${inspect}" fabric.pgm stain.kav by_program.pgm)
run("${tool}" filter fabric.pgm -o by_tool.pgm --filter stain.kav --range clip)
run("${CMAKE_COMMAND}" -E compare_files by_program.pgm by_tool.pgm)

# Files that are something else are refused, and named.
foreach(arguments IN ITEMS "fabric.pgm;missing.kav" "missing.pgm;stain.kav" "stain.kav;stain.kav" "fabric.pgm;fabric.pgm")
    execute_process(COMMAND "${inspect}" ${arguments} none.pgm WORKING_DIRECTORY "${work}" RESULT_VARIABLE code
        ERROR_VARIABLE message)
    if(NOT code EQUAL 1 OR NOT message MATCHES "^inspect: .")
        message(SEND_ERROR "${arguments}: exit code ${code}, ${message}")
    endif()
endforeach()
if(EXISTS "${work}/none.pgm")
    message(SEND_ERROR "a refused request left a file")
endif()
