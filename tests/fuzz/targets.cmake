# Fuzz targets. With the fuzz preset they are libFuzzer programs; in every other build the same entry is run over the
# corpus by a plain main, as a test. The corpus is made on the spot; what is kept beside the targets are inputs that found
# something.
set(fuzz_streams ${CMAKE_CURRENT_BINARY_DIR}/fuzz_streams)
set(fuzz_corpus ${CMAKE_CURRENT_BINARY_DIR}/fuzz_corpus)
file(MAKE_DIRECTORY ${fuzz_streams} ${fuzz_corpus})
add_executable(written_streams fuzz/written_streams.cpp)
quilvex_test_code(written_streams)
target_link_libraries(written_streams PRIVATE quilvex_test_support quilvex_core)
add_test(NAME "fuzz: written streams" COMMAND written_streams ${fuzz_streams})
add_test(NAME "fuzz: make corpus" COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/fuzz/make_corpus.py
                                          ${fuzz_streams} ${fuzz_corpus})
set_tests_properties("fuzz: written streams" PROPERTIES FIXTURES_SETUP written_streams)
set_tests_properties("fuzz: make corpus" PROPERTIES FIXTURES_REQUIRED written_streams FIXTURES_SETUP fuzz_corpus)

function(quilvex_fuzz_target name)
    if(QUILVEX_FUZZ)
        add_executable(${name} fuzz/${name}.cpp)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    else()
        add_executable(${name} fuzz/${name}.cpp fuzz/replay_main.cpp)
        add_test(NAME "fuzz: ${name} corpus" COMMAND ${name} ${fuzz_corpus}/${name}
                                                     ${CMAKE_CURRENT_SOURCE_DIR}/fuzz/corpus/${name})
        set_tests_properties("fuzz: ${name} corpus" PROPERTIES FIXTURES_REQUIRED fuzz_corpus)
    endif()
    target_link_libraries(${name} PRIVATE quilvex_core)
endfunction()

foreach(target decoder encoder splitter parameter_sets slice_header)
    quilvex_fuzz_target(${target}_fuzz)
endforeach()
