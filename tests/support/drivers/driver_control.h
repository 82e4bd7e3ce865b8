/* What every substitute of a driver shares: the script that tells it how to behave, the trace of what it was asked, and
 * the ledger of what it has handed out. Plain C, so that a substitute built by another compiler uses it too.
 *
 * Safe from any thread. A test drives it through tests/support/drivers/driver_script.h; a program that no test holds
 * takes a script from its environment: QUILVEX_DRIVER_SCRIPT="operation call action status; ...", with the numbers of
 * DriverAction. */
#pragma once

#include <stddef.h>
#include <stdint.h>

#if !defined(_WIN32)
#define DRIVER_CONTROL __attribute__((visibility("default")))
#elif defined(DRIVER_CONTROL_BUILD)
#define DRIVER_CONTROL __declspec(dllexport)
#else
#define DRIVER_CONTROL __declspec(dllimport)
#endif

/* What a scripted call does in place of its work. */
enum DriverAction {
    kDriverAnswer,     /* returns the status at once; outputs stay as they were */
    kDriverHang,       /* never returns */
    kDriverAccess,     /* faults: an access violation */
    kDriverArithmetic, /* faults: a division by zero */
    kDriverIllegal,    /* faults: an illegal instruction */
    kDriverAbort,      /* gives up: abort() */
    kDriverThrow       /* throws an exception of its own compiler */
};

#if defined(__cplusplus)
extern "C" {
#endif

/* ---- For substitutes ---- */

/* Heads an operation: begins its line in the trace, counts the call, and does what the script says of it. Returns 1
 * when the operation is to do its work, 0 when it is to return *pStatus at once. */
DRIVER_CONTROL int32_t DriverEnter(const char* pOperation, int64_t* pStatus);
/* Add " name=value" to the line that this thread began last. */
DRIVER_CONTROL void DriverField(const char* pName, int64_t Value);
DRIVER_CONTROL void DriverText(const char* pName, const char* pValue);
/* A value that the script sets: an operation's status once its work is done, a size, a capability. A value set as a
 * list gives its members one after the other, the last one again and again. */
DRIVER_CONTROL int64_t DriverSetting(const char* pName, int64_t Default);

/* The ledger. A handle is the address of Bytes zeroed bytes. Once closed they are filled with 0xDD and stay, and any
 * use of the handle is entered as a misuse. Use and Close return 1 for a live handle of that kind. */
DRIVER_CONTROL void* DriverOpen(const char* pKind, size_t Bytes);
DRIVER_CONTROL int32_t DriverUse(const char* pKind, const void* pHandle);
DRIVER_CONTROL int32_t DriverClose(const char* pKind, void* pHandle);
/* The handle of a kind that is current on this thread, such as a context: told by the substitute that keeps it, asked
 * by another. Null at first. */
DRIVER_CONTROL void DriverSetCurrent(const char* pKind, void* pHandle);
DRIVER_CONTROL void* DriverCurrent(const char* pKind);
/* Enters a misuse of another sort, such as a call in the wrong state. */
DRIVER_CONTROL void DriverMisuse(const char* pText);

/* ---- For tests ---- */

/* Forgets script, trace, counts, misuses and every handle. */
DRIVER_CONTROL void DriverReset(void);
/* Calls count from 1; 0 stands for every call. A later entry goes before an earlier one. */
DRIVER_CONTROL void DriverScriptCall(const char* pOperation, int32_t Call, int32_t Action, int64_t Status);
DRIVER_CONTROL void DriverSet(const char* pName, const int64_t* pValues, int32_t Count);
DRIVER_CONTROL int32_t DriverCalls(const char* pOperation);
/* Live handles of a kind; null: of every kind. */
DRIVER_CONTROL int32_t DriverLive(const char* pKind);
/* The lines so far, each ended by a line feed. Returns the bytes that there are, and copies at most Size of them. */
DRIVER_CONTROL size_t DriverTrace(char* pText, size_t Size);
DRIVER_CONTROL size_t DriverMisuses(char* pText, size_t Size);
/* Without a trace, for runs of many thousand calls. */
DRIVER_CONTROL void DriverKeepTrace(int32_t bKeep);
/* Calls pEnter at the start of whatever a thread does in here, and pLeave with its answer at the end: a test that
 * counts memory leaves out what the substitutes take. Null for neither. */
DRIVER_CONTROL void DriverVisits(void* (*pEnter)(void), void (*pLeave)(void* pEntered));

#if defined(__cplusplus)
}
#endif
