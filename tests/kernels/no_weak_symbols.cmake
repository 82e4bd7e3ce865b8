# Fails when an object of a tier defines a weak symbol: the linker keeps one copy of an inline function, and it may keep
# the one that was compiled for a processor which the caller's does not match.
#
# cmake -DNM=nm "-DOBJECTS=a.o;b.o" -P no_weak_symbols.cmake
set(seen 0)
foreach(object IN LISTS OBJECTS)
    if(NOT object MATCHES "_(a6|w7|t7|v8|p8)\\.cpp\\.o(bj)?$")
        continue()
    endif()
    math(EXPR seen "${seen} + 1")
    execute_process(COMMAND ${NM} --demangle --defined-only ${object} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    if(symbols MATCHES "(^|\n)[0-9a-f]* [uVvWw] [^\n]*")
        message(SEND_ERROR "${object}: ${CMAKE_MATCH_0}")
    endif()
endforeach()
if(seen EQUAL 0)
    message(SEND_ERROR "no object of a tier among those given")
endif()
