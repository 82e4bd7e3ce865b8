// Windows Management Instrumentation as a class object of this process: the system's own is not asked while it lives.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

/// One at a time, on the thread that makes it.
class FakeWmi
{
public:
    struct Property {
        std::wstring Name;
        VARTYPE Type; // VT_BSTR, VT_I4, VT_BOOL or VT_NULL
        std::wstring Text;
        int32_t Number;
    };
    using Object = std::vector<Property>;

    FakeWmi();
    ~FakeWmi();
    FakeWmi(const FakeWmi&) = delete;
    FakeWmi& operator=(const FakeWmi&) = delete;

    /// What its operations answer; a failure gives nothing out.
    HRESULT CreateResult = S_OK, ConnectResult = S_OK, BlanketResult = S_OK, QueryResult = S_OK, NextResult = S_OK;
    std::vector<Object> Objects;   // the answers to a query
    uint32_t NextMilliseconds = 0; // by which an answer turns the clock
    void (*pTurnClock)(uint32_t) = nullptr;

    std::vector<std::string> Calls; // what was asked, in order, with the arguments
    int Live = 0;                   // objects that have not been released

private:
    DWORD m_Registration = 0;
};
