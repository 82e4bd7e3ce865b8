// The time that a thread spends in what the substitutes share.
#pragma once

/// A visit for the scope of a function; what it holds is destroyed within it. See DriverVisits().
class DriverVisit
{
public:
    DriverVisit() : m_pEntered(s_pEnter ? s_pEnter() : nullptr) {}
    ~DriverVisit()
    {
        if (s_pLeave) s_pLeave(m_pEntered);
    }
    DriverVisit(const DriverVisit&) = delete;
    DriverVisit& operator=(const DriverVisit&) = delete;

    static void* (*s_pEnter)();
    static void (*s_pLeave)(void*);

private:
    void* m_pEntered;
};
