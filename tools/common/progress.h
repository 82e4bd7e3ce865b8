// Progress on a terminal, and processor time.
#pragma once

#include <cstdint>
#include <string>

/// Writes "what N" over itself on standard error, a few times a second; nothing when that is no terminal.
class Progress
{
public:
    Progress(std::string What, bool bQuiet);
    ~Progress(); // ends the line
    void Show(int64_t Count);

private:
    std::string m_What;
    bool m_bOn;
    bool m_bShown = false;
    int64_t m_LastTick = 0; // milliseconds
};

/// Adds up processor time of the process over the scopes that it is held in.
class CpuTimer
{
public:
    class Scope
    {
    public:
        explicit Scope(CpuTimer& Timer) : m_Timer(Timer), m_Start(Now()) {}
        ~Scope() { m_Timer.m_Seconds += Now() - m_Start; }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        CpuTimer& m_Timer;
        double m_Start;
    };
    double Seconds() const { return m_Seconds; }

private:
    static double Now();

    double m_Seconds = 0;
};

/// Frames a second; 0 when no time was measured.
double PerSecond(int64_t Frames, double Seconds);
