# What the shared library itself needs. Tests, tools and benchmarks look for their own packages.
find_path(SIMPLEINI_INCLUDE_DIR SimpleIni.h REQUIRED)
target_include_directories(quilvex_objects SYSTEM PRIVATE ${SIMPLEINI_INCLUDE_DIR})

find_path(LIBYUV_INCLUDE_DIR libyuv.h REQUIRED)
find_library(LIBYUV_LIBRARY yuv REQUIRED)
target_include_directories(quilvex_objects SYSTEM PRIVATE ${LIBYUV_INCLUDE_DIR})

set(QUILVEX_LINK_LIBRARIES ${LIBYUV_LIBRARY} ${CMAKE_DL_LIBS})
if(NOT WIN32)
    find_package(Threads REQUIRED)
    list(APPEND QUILVEX_LINK_LIBRARIES Threads::Threads)
endif()
