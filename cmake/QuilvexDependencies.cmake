# What the shared library itself needs. Tests, tools and benchmarks look for their own packages.

find_path(LIBYUV_INCLUDE_DIR libyuv.h REQUIRED)
find_library(LIBYUV_LIBRARY yuv REQUIRED)
target_include_directories(quilvex_objects SYSTEM PRIVATE ${LIBYUV_INCLUDE_DIR})

# Declarations of the drivers' interfaces; the drivers themselves are loaded by name.
find_path(FFNVCODEC_INCLUDE_DIR ffnvcodec/nvEncodeAPI.h REQUIRED)
find_path(MFX_INCLUDE_DIR mfx/mfxvideo++.h REQUIRED)
target_include_directories(quilvex_objects SYSTEM PRIVATE ${FFNVCODEC_INCLUDE_DIR} ${MFX_INCLUDE_DIR})

set(QUILVEX_LINK_LIBRARIES ${LIBYUV_LIBRARY})
find_library(MFX_LIBRARY mfx) # its dispatcher, which not every system has
if(MFX_LIBRARY)
    list(APPEND QUILVEX_LINK_LIBRARIES ${MFX_LIBRARY})
endif()
if(WIN32)
    list(APPEND QUILVEX_LINK_LIBRARIES ole32 oleaut32) # the list of display adapters
else()
    # Windows has its own private profile functions and thread library.
    find_path(SIMPLEINI_INCLUDE_DIR SimpleIni.h REQUIRED)
    find_library(SIMPLEINI_LIBRARY simpleini REQUIRED)
    target_include_directories(quilvex_objects SYSTEM PRIVATE ${SIMPLEINI_INCLUDE_DIR})
    find_package(Threads REQUIRED)
    find_path(PCIACCESS_INCLUDE_DIR pciaccess.h REQUIRED)
    find_library(PCIACCESS_LIBRARY pciaccess REQUIRED)
    target_include_directories(quilvex_objects SYSTEM PRIVATE ${PCIACCESS_INCLUDE_DIR})
    list(APPEND QUILVEX_LINK_LIBRARIES ${SIMPLEINI_LIBRARY} ${PCIACCESS_LIBRARY} Threads::Threads ${CMAKE_DL_LIBS})
endif()
