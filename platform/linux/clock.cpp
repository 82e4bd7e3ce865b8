#include "platform/clock.h"

#include <chrono>
#include <thread>

namespace platform {

namespace {

uint32_t SystemTicks()
{
    using namespace std::chrono;
    return static_cast<uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

void SystemSleep(uint32_t Milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(Milliseconds)); }

} // namespace

constinit const ClockOperations kSystemClock{SystemTicks, SystemSleep};

} // namespace platform
