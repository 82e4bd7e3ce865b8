# quilvex_sources(): adds every source of the calling folder, and of the subfolders named, to the library's objects.
#
# A file whose name ends in _linux or _win32 is built for that system only. A kernel file whose name ends in a tier (_a6,
# _w7, _t7, _v8, _p8) gets that tier's instruction set and no other file does, so that code of a high tier can never be
# reached on a processor that lacks it.
add_library(quilvex_objects OBJECT)
target_include_directories(quilvex_objects PRIVATE ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include)

set(QUILVEX_TIER_FLAGS_a6 -msse)
set(QUILVEX_TIER_FLAGS_w7 -msse2)
set(QUILVEX_TIER_FLAGS_t7 -msse3)
set(QUILVEX_TIER_FLAGS_v8 -mssse3)
set(QUILVEX_TIER_FLAGS_p8 -msse4.1)

function(quilvex_sources)
    set(patterns ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    foreach(folder IN LISTS ARGN)
        list(APPEND patterns ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    endforeach()
    file(GLOB sources CONFIGURE_DEPENDS ${patterns})
    list(FILTER sources EXCLUDE REGEX "/library_entry_[a-z0-9]+\\.cpp$|_${QUILVEX_OTHER_SYSTEM}\\.cpp$")
    foreach(source IN LISTS sources)
        if(source MATCHES "_(a6|w7|t7|v8|p8)\\.cpp$")
            set_source_files_properties(${source} TARGET_DIRECTORY quilvex_objects PROPERTIES
                COMPILE_OPTIONS "${QUILVEX_TIER_FLAGS_${CMAKE_MATCH_1}};-fno-lto")
        endif()
        if(source MATCHES "/segment_decoder_(bypass|deep)\\.cpp$") # rare streams: a third less to compile
            set_source_files_properties(${source} TARGET_DIRECTORY quilvex_objects PROPERTIES
                COMPILE_OPTIONS "$<$<CONFIG:Release>:-O2>")
        endif()
    endforeach()
    target_sources(quilvex_objects PRIVATE ${sources})
endfunction()
