# A unit that is compiled for an instruction set defines its table and nothing else that the linker sees. Of
# functions that several units define, an inline one of a header, say, the linker keeps any: were it the one
# with wide vectors, processors that lack them would run it, too.
string(REPLACE "|" ";" objects "${objects}")
list(LENGTH objects count)
if(count EQUAL 0)
    message(FATAL_ERROR "no unit of an instruction set")
endif()
foreach(object IN LISTS objects)
    get_filename_component(set "${object}" NAME)
    string(REGEX REPLACE "\\.cpp.*" "" set "${set}")
    execute_process(COMMAND "${nm}" -C --extern-only --defined-only "${object}" OUTPUT_VARIABLE symbols
        COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+" symbols "${symbols}")
    # What compilers themselves add for exceptions, which has no vectors.
    list(FILTER symbols EXCLUDE REGEX " (DW\\.ref\\.__gxx_personality_v0|__clang_call_terminate)$")
    list(FILTER symbols EXCLUDE REGEX "^ *$")
    set(table "${symbols}")
    list(FILTER table INCLUDE REGEX " vx_InstructionSets::${set}$")
    list(FILTER symbols EXCLUDE REGEX " vx_InstructionSets::${set}$")
    list(LENGTH table tables)
    if(NOT tables EQUAL 1)
        message(SEND_ERROR "no table of ${set} in ${object}")
    endif()
    foreach(symbol IN LISTS symbols)
        message(SEND_ERROR "${set}.cpp defines: ${symbol}")
    endforeach()
endforeach()
