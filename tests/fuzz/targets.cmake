# Fuzz targets. With the fuzz preset they are libFuzzer programs; in every other build the same entry is run over the
# corpus by a plain main, as a test.
function(quilvex_fuzz_target name)
    if(QUILVEX_FUZZ)
        add_executable(${name} fuzz/${name}.cpp)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    else()
        add_executable(${name} fuzz/${name}.cpp fuzz/replay_main.cpp)
        add_test(NAME "fuzz: ${name} corpus" COMMAND ${name} ${CMAKE_CURRENT_SOURCE_DIR}/fuzz/corpus/${name})
    endif()
    target_link_libraries(${name} PRIVATE quilvex_core)
endfunction()

quilvex_fuzz_target(decoder_fuzz)
