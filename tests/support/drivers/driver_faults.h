// The ways in which a driver does not come back.
#pragma once

#include <cstdint>

/// Does what a DriverAction says, all but kDriverAnswer.
[[noreturn]] void RaiseDriverFault(int32_t Action);
