# Language level, warnings and the switches that the presets set.
option(QUILVEX_TOOLS "Build the command-line tools" ON)
option(QUILVEX_TESTS "Build the tests" ON)
option(QUILVEX_BENCH "Build the benchmarks" OFF)
option(QUILVEX_TRACE "Let the codecs list the elements of a macroblock (developer builds)" OFF)
option(QUILVEX_FUZZ "Build the fuzz targets with libFuzzer (clang only)" OFF)
set(QUILVEX_SANITIZE "" CACHE STRING "Sanitizers for every target, such as address,undefined")

# The system that the library is built for, as folders and files that stand for one are named.
if(WIN32)
    set(QUILVEX_SYSTEM win32)
    set(QUILVEX_OTHER_SYSTEM linux)
else()
    set(QUILVEX_SYSTEM linux)
    set(QUILVEX_OTHER_SYSTEM win32)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
if(NOT DEFINED CMAKE_POSITION_INDEPENDENT_CODE)
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()

find_program(QUILVEX_CCACHE ccache)
if(QUILVEX_CCACHE)
    # Without the setting nothing that reads the tests' precompiled headers would be found again.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${QUILVEX_CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion)
# Every tier must give the same bits as the reference, floating point included: no fused operations.
add_compile_options(-ffp-contract=off)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # A 32-bit client promises a 4-byte stack only; doubles are SSE2 so that both builds compute the same values.
    add_compile_options(-mstackrealign -msse2 -mfpmath=sse)
    # Its heap promises multiples of 8, whatever the compiler believes: what needs more is made by the aligned operators.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-faligned-new=8>)
endif()
if(WIN32)
    # One file to ship: the compiler's run time goes into the library and into each program.
    add_link_options(-static)
    add_compile_options(-g1) # functions and lines for the symbols beside the library
endif()
if(QUILVEX_SANITIZE)
    add_compile_options(-fsanitize=${QUILVEX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${QUILVEX_SANITIZE})
    set(QUILVEX_FOREIGN_OBJECTS -fno-sanitize=vptr) # for callers of a driver's objects, which tell no sanitizer their types
endif()
if(QUILVEX_TRACE)
    add_compile_definitions(QUILVEX_TRACE)
endif()
if(QUILVEX_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
