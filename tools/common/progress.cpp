#include "tools/common/progress.h"

#include "platform/terminal.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <utility>

static int64_t Milliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

Progress::Progress(std::string What, bool bQuiet)
    : m_What(std::move(What)), m_bOn(!bQuiet && platform::ErrorIsTerminal())
{
}

Progress::~Progress()
{
    if (m_bShown) std::fputc('\n', stderr);
}

void Progress::Show(int64_t Count)
{
    constexpr int64_t kInterval = 200;
    if (!m_bOn || Milliseconds() - m_LastTick < kInterval) return;
    m_LastTick = Milliseconds();
    m_bShown = true;
    std::fprintf(stderr, "\r%s %lld", m_What.c_str(), static_cast<long long>(Count));
}

double CpuTimer::Now() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

double PerSecond(int64_t Frames, double Seconds) { return Seconds > 0 ? static_cast<double>(Frames) / Seconds : 0; }
