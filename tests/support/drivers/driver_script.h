// A test's hand on the substitutes of the drivers: what they do, what they were asked, what is still open.
#pragma once

#include "tests/support/drivers/driver_control.h"

#include <sstream>
#include <string>
#include <vector>

/// One at a time. All is forgotten at both ends of its life.
class DriverScript
{
public:
    DriverScript() { DriverReset(); }
    ~DriverScript() { DriverReset(); }
    DriverScript(const DriverScript&) = delete;
    DriverScript& operator=(const DriverScript&) = delete;

    /// Call number Call of an operation (from 1; 0: every one) answers a status without doing its work.
    void Answer(const char* pOperation, int64_t Status, int32_t Call = 0)
    {
        DriverScriptCall(pOperation, Call, kDriverAnswer, Status);
    }
    /// It does not come back, in one of the ways of DriverAction.
    void Fault(const char* pOperation, DriverAction Action, int32_t Call = 0)
    {
        DriverScriptCall(pOperation, Call, Action, 0);
    }
    /// A setting of a substitute; several values are given one after the other, the last one again and again.
    template <class... Values>
    void Set(const char* pName, Values... Listed)
    {
        const int64_t List[] = {static_cast<int64_t>(Listed)...};
        DriverSet(pName, List, static_cast<int32_t>(sizeof...(Listed)));
    }

    int32_t Calls(const char* pOperation) const { return DriverCalls(pOperation); }
    int32_t Live(const char* pKind = nullptr) const { return DriverLive(pKind); }

    /// Every call so far, in order: "operation field=value field=value".
    std::vector<std::string> Trace() const { return Lines(DriverTrace); }
    /// The calls whose line begins so: an operation's name and a space, or the beginning of several names.
    std::vector<std::string> Trace(const std::string& Beginning) const
    {
        std::vector<std::string> Found;
        for (const std::string& Line : Trace())
            if ((Line + " ").compare(0, Beginning.size(), Beginning) == 0) Found.push_back(Line);
        return Found;
    }
    /// The operations so far, in order, without their fields.
    std::vector<std::string> Operations() const
    {
        std::vector<std::string> Names = Trace();
        for (std::string& Line : Names) Line = Line.substr(0, Line.find(' '));
        return Names;
    }
    /// Uses of closed or foreign handles and calls in a wrong state.
    std::vector<std::string> Misuses() const { return Lines(DriverMisuses); }

private:
    static std::vector<std::string> Lines(size_t (*pRead)(char*, size_t))
    {
        std::string Text(pRead(nullptr, 0), '\0');
        pRead(Text.data(), Text.size());
        std::vector<std::string> List;
        std::istringstream Stream(Text);
        for (std::string Line; std::getline(Stream, Line);) List.push_back(Line);
        return List;
    }
};
