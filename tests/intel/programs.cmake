# The Intel engine's tests where the Media SDK's dispatcher is a library of the system:
#   test_intel             on a substitute of the dispatcher
#   test_intel_dispatcher  the same tests on the library's own dispatcher, with substitutes of the run times
#   test_intel_real        on the real dispatcher
# The substitute stands in front of all else, so that the program is bound to it and to no version of the real one.
target_link_options(test_intel PRIVATE -Wl,--no-as-needed $<TARGET_FILE:driver_mfx_dispatcher> -Wl,--as-needed)
set_target_properties(test_intel PROPERTIES BUILD_RPATH ${drivers_folder} LINK_DEPENDS $<TARGET_FILE:driver_mfx_dispatcher>)
add_dependencies(test_intel driver_mfx_dispatcher)

get_target_property(sources test_intel SOURCES)
file(GLOB own CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/intel/dispatcher/*_test.cpp)
quilvex_test_program(intel_dispatcher ${sources} ${own} ${CMAKE_SOURCE_DIR}/intel/dispatcher/mfx_dispatcher.cpp)

file(GLOB real CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/intel/real/*_test.cpp)
quilvex_test_program(intel_real ${real})
