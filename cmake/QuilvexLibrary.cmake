# The shared library with its eight exports, and the same objects as a static library for tests and tools.
add_library(quilvex_core STATIC $<TARGET_OBJECTS:quilvex_objects>)
target_include_directories(quilvex_core PUBLIC ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include)
target_link_libraries(quilvex_core PUBLIC ${QUILVEX_LINK_LIBRARIES})
