# The shared library with its eight exports, and the same objects as a static library for tests and tools.
target_compile_definitions(quilvex_objects PRIVATE QUILVEX_BUILD)

add_library(quilvex SHARED front/library_entry_${QUILVEX_SYSTEM}.cpp $<TARGET_OBJECTS:quilvex_objects>)
target_include_directories(quilvex PRIVATE ${CMAKE_SOURCE_DIR}
    PUBLIC $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(quilvex PRIVATE ${QUILVEX_LINK_LIBRARIES})
set_target_properties(quilvex PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
if(WIN32)
    set(exports ${CMAKE_SOURCE_DIR}/front/quilvex.def)
    target_sources(quilvex PRIVATE ${exports})
    set_target_properties(quilvex PROPERTIES PREFIX "")
    # The symbols leave the library and lie beside it, for whoever has an address of a crash to look up.
    set(symbols $<TARGET_FILE:quilvex>.debug)
    add_custom_command(TARGET quilvex POST_BUILD VERBATIM
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:quilvex> ${symbols}
        COMMAND ${CMAKE_OBJCOPY} --strip-all --add-gnu-debuglink=${symbols} $<TARGET_FILE:quilvex>)
    install(FILES ${symbols} TYPE BIN)
    install(FILES ${exports} TYPE LIB)
else()
    set(exports ${CMAKE_SOURCE_DIR}/front/quilvex.map)
    target_link_options(quilvex PRIVATE -Wl,--version-script=${exports} -Wl,--as-needed)
endif()
set_target_properties(quilvex PROPERTIES LINK_DEPENDS ${exports})

add_library(quilvex_core STATIC $<TARGET_OBJECTS:quilvex_objects>)
target_compile_definitions(quilvex_core PUBLIC QUILVEX_BUILD)
target_include_directories(quilvex_core PUBLIC ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include)
target_include_directories(quilvex_core SYSTEM PUBLIC ${LIBYUV_INCLUDE_DIR} ${FFNVCODEC_INCLUDE_DIR} ${MFX_INCLUDE_DIR})
target_link_libraries(quilvex_core PUBLIC ${QUILVEX_LINK_LIBRARIES})

# What a client needs to find the library: headers, pkg-config file, CMake package.
install(TARGETS quilvex EXPORT quilvexTargets)
install(DIRECTORY include/quilvex DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(cmake/quilvex.pc.in ${CMAKE_BINARY_DIR}/quilvex.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/quilvex.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(EXPORT quilvexTargets NAMESPACE quilvex:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quilvex FILE quilvexConfig.cmake)
include(CMakePackageConfigHelpers)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/quilvexConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/quilvexConfigVersion.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quilvex)
