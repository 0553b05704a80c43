# Rounding is part of the build: whatever computes samples links kav_numerics, which keeps each float operation
# separate and rounded as written. -fno-math-errno lets sqrtf be one instruction; it changes no value.
add_library(kav_numerics INTERFACE)
target_compile_features(kav_numerics INTERFACE cxx_std_20)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(kav_numerics INTERFACE -ffp-contract=off -fno-fast-math -fno-math-errno)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$")
        # Without these, 32-bit x86 computes in the wider x87 registers.
        target_compile_options(kav_numerics INTERFACE -msse2 -mfpmath=sse)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
        # g++'s loop vectoriser fuses a product with alternate additions and subtractions, -ffp-contract=off or not.
        # Without such instructions it cannot, should the whole build be for processors that have them.
        target_compile_options(kav_numerics INTERFACE -mno-fma -mno-fma4 -mno-avx512f)
    endif()
elseif(MSVC)
    target_compile_options(kav_numerics INTERFACE /fp:precise)
endif()
