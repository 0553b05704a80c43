# Warnings for every target of this project; errors in CI (KAV_WARNINGS_AS_ERRORS).
add_library(kav_warnings INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(kav_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wdouble-promotion -Wold-style-cast
        -Woverloaded-virtual -Wnon-virtual-dtor -Wcast-qual -Wundef -Wformat=2 -Wimplicit-fallthrough)
    if(KAV_WARNINGS_AS_ERRORS)
        target_compile_options(kav_warnings INTERFACE -Werror)
    endif()
elseif(MSVC)
    target_compile_options(kav_warnings INTERFACE /W4)
    if(KAV_WARNINGS_AS_ERRORS)
        target_compile_options(kav_warnings INTERFACE /WX)
    endif()
endif()
