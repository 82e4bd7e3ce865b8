# The Intel engine's tests where the Media SDK's dispatcher is a library of the system:
#   test_intel, test_front on a substitute of the dispatcher
#   test_intel_dispatcher  the same tests on the library's own dispatcher, with substitutes of the run times
#   test_intel_real        on the real dispatcher
# The substitute stands in front of all else, so that the program is bound to it and to no version of the real one.
foreach(program test_intel test_front)
    target_link_options(${program} PRIVATE -Wl,--no-as-needed $<TARGET_FILE:driver_mfx_dispatcher> -Wl,--as-needed)
    set_target_properties(${program} PROPERTIES BUILD_RPATH ${drivers_folder}/dispatcher LINK_DEPENDS $<TARGET_FILE:driver_mfx_dispatcher>)
    add_dependencies(${program} driver_mfx_dispatcher)
endforeach()

get_target_property(sources test_intel SOURCES)
file(GLOB own CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/intel/dispatcher/*_test.cpp)
quilvex_test_program(intel_dispatcher ${sources} ${own} ${CMAKE_SOURCE_DIR}/intel/dispatcher/mfx_dispatcher.cpp)

file(GLOB real CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/intel/real/*_test.cpp)
quilvex_test_program(intel_real ${real})
