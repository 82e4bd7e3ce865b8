/* How the clients without a header of the library call it: functions by name, operations by their place in an object's
 * table. */
#pragma once

#include "../support/interface_slots.h"

#include <stdint.h>
#include <windows.h>

#define MEMBER __attribute__((thiscall))
/* The operation in a slot, as a function of the object and of arguments of the types given. */
#define SLOT(Object, Number, Result, ...) ((Result(MEMBER*)(void*, ##__VA_ARGS__))(*(void***)(Object))[Number])
/* An exported function, as a pointer to be cast. */
#define FUNCTION(Library, Name) ((void*)GetProcAddress(Library, Name))

typedef void* CreateVCodecCall(uint32_t Id);
typedef void* CreateVideoProcessCall(void);
