#include "front/adapters.h"

#include "front/stdafx.h"
#include "platform/clock.h"

#define QUILVEX_SOURCE "stdafx"

namespace {

constexpr uint32_t kLongestMs = 10000;

} // namespace

bool ListAdapters(IAdapterSource& Source, std::vector<std::string>& List, bool bOnlyOK)
{
    bool bret = Source.Connect();
    ASSERT_OR_RETURN(bret, false);
    bret = Source.Query();
    ASSERT_OR_RETURN(bret, false);
    const uint32_t dwBegin = platform::TickCount();
    for (DisplayAdapter Adapter; Source.Next(Adapter);) {
        if (!bOnlyOK || Adapter.Status == "OK") List.push_back(Adapter.Name);
        const uint32_t dwNow = platform::TickCount();
        if (dwNow - dwBegin > kLongestMs) { // wraps with the tick
            LogWarning("qvlx - MyGetDisplayVideoControllerList() dwNow=%d dwBegin=%d", static_cast<int32_t>(dwNow),
                       static_cast<int32_t>(dwBegin));
            break;
        }
    }
    return true;
}

bool MyGetDisplayVideoControllerList(std::vector<std::string>& List, bool bOnlyOK)
{
    return ListAdapters(*MakeAdapterSource(), List, bOnlyOK);
}
