# Whole streams through h264_decode: made on the spot, and those of the shared media folder where it exists.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(stream_decoder ${QUILVEX_TOOLS_FOLDER}/h264_decode)
add_test(NAME "decoder: stream matrix"
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/stream_matrix.py ${stream_decoder})
add_test(NAME "decoder: shared media"
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/media_manifest.py ${stream_decoder}
                 ${CMAKE_SOURCE_DIR}/../shared/media)
add_test(NAME "decoder: no picture is lost on its way to the client"
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/delivery.py ${QUILVEX_TOOLS_FOLDER})
add_test(NAME "decoder: samples of MP4 files"
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/mp4_form.py ${stream_decoder})
set_tests_properties("decoder: stream matrix" "decoder: shared media" PROPERTIES TIMEOUT 1200 SKIP_RETURN_CODE 77)

# Floods, and what they cost.
add_executable(flood_driver ${CMAKE_CURRENT_LIST_DIR}/flood_driver.cpp ${CMAKE_CURRENT_LIST_DIR}/floods.cpp)
target_link_libraries(flood_driver PRIVATE quilvex_test_support quilvex_core quilvex_failing_allocation)
set(flood_folder $<IF:$<BOOL:${CMAKE_CROSSCOMPILING}>,${QUILVEX_TOOLS_FOLDER},$<TARGET_FILE_DIR:flood_driver>>)
set(flood_test ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/floods.py ${flood_folder}/flood_driver)
add_test(NAME "decoder: memory of floods" COMMAND ${flood_test} memory)
set_tests_properties("decoder: memory of floods" PROPERTIES TIMEOUT 600)
# Instructions are counted by valgrind, which runs no sanitized program, against bounds of optimised code.
if(NOT QUILVEX_SANITIZE AND NOT CMAKE_CROSSCOMPILING AND CMAKE_BUILD_TYPE STREQUAL "Release")
    add_test(NAME "decoder: work of floods" COMMAND ${flood_test} work)
    set_tests_properties("decoder: work of floods" PROPERTIES TIMEOUT 600)
endif()

# Mutations of streams, a few of each; mutations.py tells of the long form.
add_executable(mutation_driver ${CMAKE_CURRENT_LIST_DIR}/mutation_driver.cpp ${CMAKE_CURRENT_LIST_DIR}/mutations.cpp)
quilvex_test_code(mutation_driver)
target_link_libraries(mutation_driver PRIVATE quilvex_test_support quilvex_core quilvex_failing_allocation)
add_test(NAME "decoder: mutations" COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/mutations.py
                                           ${flood_folder}/mutation_driver ${flood_folder}/written_streams)
set_tests_properties("decoder: mutations" PROPERTIES TIMEOUT 600)
