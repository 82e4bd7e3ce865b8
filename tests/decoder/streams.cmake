# Whole streams through h264_decode: made on the spot, and those of the shared media folder where it exists.
if(TARGET h264_decode)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    add_test(NAME "decoder: stream matrix"
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/stream_matrix.py $<TARGET_FILE:h264_decode>)
    add_test(NAME "decoder: shared media"
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/media_manifest.py $<TARGET_FILE:h264_decode>
                     ${CMAKE_SOURCE_DIR}/../shared/media)
    set_tests_properties("decoder: stream matrix" "decoder: shared media" PROPERTIES TIMEOUT 1200 SKIP_RETURN_CODE 77)
endif()

# Floods: the driver replaces the allocator by one that counts bytes.
add_executable(flood_driver ${CMAKE_CURRENT_LIST_DIR}/flood_driver.cpp ${CMAKE_CURRENT_LIST_DIR}/floods.cpp)
target_link_libraries(flood_driver PRIVATE quilvex_test_support quilvex_core)
target_link_options(flood_driver PRIVATE "LINKER:--wrap=malloc,--wrap=calloc,--wrap=realloc,--wrap=aligned_alloc,--wrap=free")
