# The check of the compiled kernels themselves. A sanitizer adds weak symbols of its own.
if(NOT QUILVEX_SANITIZE)
    add_test(NAME "kernels: tier objects define no weak symbol"
        COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} "-DOBJECTS=$<TARGET_OBJECTS:quilvex_objects>"
            -P ${CMAKE_CURRENT_LIST_DIR}/no_weak_symbols.cmake)
endif()
