#include "tests/support/drivers/driver_control.h"

#include "tests/support/drivers/driver_faults.h"
#include "tests/support/drivers/driver_visit.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

void* (*DriverVisit::s_pEnter)() = nullptr;
void (*DriverVisit::s_pLeave)(void*) = nullptr;

namespace {

struct Rule {
    std::string Operation;
    int32_t Call; // 0: every one
    int32_t Action;
    int64_t Status;
};

struct Handle {
    std::string Kind;
    std::unique_ptr<uint8_t[]> pBytes;
    size_t Size;
    bool bLive;
};

// A script for programs that no test holds: entries "operation call action status", a semicolon behind each.
std::vector<Rule> RulesOfEnvironment()
{
    const char* const pText = std::getenv("QUILVEX_DRIVER_SCRIPT");
    std::istringstream Entries(pText ? pText : "");
    std::vector<Rule> Rules;
    for (std::string Entry; std::getline(Entries, Entry, ';');) {
        Rule r{};
        if (std::istringstream(Entry) >> r.Operation >> r.Call >> r.Action >> r.Status) Rules.push_back(r);
    }
    return Rules;
}

struct Control {
    std::recursive_mutex Lock; // guards all below; to be taken in a visit
    std::vector<Rule> Rules = RulesOfEnvironment();
    std::map<std::string, std::deque<int64_t>> Settings;
    std::map<std::string, int32_t> Calls;
    std::map<std::thread::id, size_t> LastLine;
    std::vector<std::string> Trace;
    std::string Misuses;
    std::map<const void*, Handle> Handles;
    std::map<std::pair<std::thread::id, std::string>, void*> Current;
    bool bKeepTrace = true;
};

// Never destroyed: drivers may be called to the very end of the process.
Control& The()
{
    static auto* const s_pControl = new Control;
    return *s_pControl;
}

void BeginLine(Control& c, const char* pOperation)
{
    if (!c.bKeepTrace) return;
    c.LastLine[std::this_thread::get_id()] = c.Trace.size();
    c.Trace.emplace_back(pOperation);
}

void AddToLine(const std::string& Text)
{
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    const auto Found = c.LastLine.find(std::this_thread::get_id());
    if (c.bKeepTrace && Found != c.LastLine.end()) c.Trace[Found->second] += Text;
}

const Rule* Find(const Control& c, const std::string& Operation, int32_t Call)
{
    const auto Fits = [&](const Rule& r) { return r.Operation == Operation && (r.Call == 0 || r.Call == Call); };
    const auto Found = std::find_if(c.Rules.rbegin(), c.Rules.rend(), Fits);
    return Found == c.Rules.rend() ? nullptr : &*Found;
}

size_t Copy(const std::string& Text, char* pText, size_t Size)
{
    if (pText) std::memcpy(pText, Text.data(), std::min(Size, Text.size()));
    return Text.size();
}

} // namespace

int32_t DriverEnter(const char* pOperation, int64_t* pStatus)
{
    int32_t Action;
    {
        const DriverVisit Visit;
        Control& c = The();
        const std::lock_guard Held(c.Lock);
        BeginLine(c, pOperation);
        const Rule* const pRule = Find(c, pOperation, ++c.Calls[pOperation]);
        if (!pRule) return 1;
        *pStatus = pRule->Status;
        Action = pRule->Action;
    }
    if (Action == kDriverAnswer) return 0;
    RaiseDriverFault(Action); // without the lock: it does not come back
}

void DriverField(const char* pName, int64_t Value)
{
    const DriverVisit Visit;
    AddToLine(std::string(" ") + pName + "=" + std::to_string(Value));
}
void DriverText(const char* pName, const char* pValue)
{
    const DriverVisit Visit;
    AddToLine(std::string(" ") + pName + "=" + pValue);
}

int64_t DriverSetting(const char* pName, int64_t Default)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    const auto Found = c.Settings.find(pName);
    if (Found == c.Settings.end() || Found->second.empty()) return Default;
    const int64_t Value = Found->second.front();
    if (Found->second.size() > 1) Found->second.pop_front();
    return Value;
}

void* DriverOpen(const char* pKind, size_t Bytes)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    Handle New{pKind, std::make_unique<uint8_t[]>(Bytes + 1), Bytes, true};
    void* const pHandle = New.pBytes.get();
    c.Handles[pHandle] = std::move(New);
    return pHandle;
}

int32_t DriverUse(const char* pKind, const void* pHandle)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    const auto Found = c.Handles.find(pHandle);
    const bool bKnown = Found != c.Handles.end() && Found->second.Kind == pKind;
    if (bKnown && Found->second.bLive) return 1;
    DriverMisuse((std::string(bKnown ? "closed " : "no ") + pKind).c_str());
    return 0;
}

int32_t DriverClose(const char* pKind, void* pHandle)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    if (!DriverUse(pKind, pHandle)) return 0;
    Handle& Closed = c.Handles[pHandle];
    std::memset(Closed.pBytes.get(), 0xDD, Closed.Size);
    Closed.bLive = false;
    if (!c.bKeepTrace) c.Handles.erase(pHandle); // many thousand of them: their memory is needed
    return 1;
}

void DriverSetCurrent(const char* pKind, void* pHandle)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    c.Current[{std::this_thread::get_id(), pKind}] = pHandle;
}

void* DriverCurrent(const char* pKind)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    const auto Found = c.Current.find({std::this_thread::get_id(), pKind});
    return Found == c.Current.end() ? nullptr : Found->second;
}

void DriverMisuse(const char* pText)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    c.Misuses += std::string(pText) + "\n";
}

void DriverReset(void)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    c.Rules.clear();
    c.Settings.clear();
    c.Calls.clear();
    c.LastLine.clear();
    c.Trace.clear();
    c.Misuses.clear();
    c.Handles.clear();
    c.Current.clear();
    c.bKeepTrace = true;
}

void DriverScriptCall(const char* pOperation, int32_t Call, int32_t Action, int64_t Status)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    c.Rules.push_back({pOperation, Call, Action, Status});
}

void DriverSet(const char* pName, const int64_t* pValues, int32_t Count)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    c.Settings[pName].assign(pValues, pValues + Count);
}

int32_t DriverCalls(const char* pOperation)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    return c.Calls[pOperation];
}

int32_t DriverLive(const char* pKind)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    return static_cast<int32_t>(std::count_if(c.Handles.begin(), c.Handles.end(), [&](const auto& Entry) {
        return Entry.second.bLive && (!pKind || Entry.second.Kind == pKind);
    }));
}

size_t DriverTrace(char* pText, size_t Size)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    std::string Text;
    for (const std::string& Line : c.Trace) Text += Line + "\n";
    return Copy(Text, pText, Size);
}

size_t DriverMisuses(char* pText, size_t Size)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    return Copy(c.Misuses, pText, Size);
}

void DriverKeepTrace(int32_t bKeep)
{
    const DriverVisit Visit;
    Control& c = The();
    const std::lock_guard Held(c.Lock);
    c.bKeepTrace = bKeep != 0;
}

void DriverVisits(void* (*pEnter)(void), void (*pLeave)(void* pEntered))
{
    DriverVisit::s_pEnter = pEnter;
    DriverVisit::s_pLeave = pLeave;
}
