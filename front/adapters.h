// The display adapters of the machine, by name.
#pragma once

#include <memory>
#include <string>
#include <vector>

/// Fills List with the names of the display adapters; those whose status is "OK" alone when bOnlyOK. An adapter may
/// have no name. Stops, with what it has by then, behind the first adapter that finds more than 10 seconds gone.
/// @return false, with a line in the log, when the system does not tell.
/// @note One call at a time.
bool MyGetDisplayVideoControllerList(std::vector<std::string>& List, bool bOnlyOK);

struct DisplayAdapter {
    std::string Name, DriverVersion;
    std::string Status; // "OK" for one that works
};

/// How a system tells of its adapters: a connection, a query on it, and the answers one by one.
struct IAdapterSource {
    virtual ~IAdapterSource() = default;
    virtual bool Connect() = 0;
    virtual bool Query() = 0;
    /// False when there are no more, or when the next one does not come in time.
    virtual bool Next(DisplayAdapter& Adapter) = 0;
};

/// This system's.
std::unique_ptr<IAdapterSource> MakeAdapterSource();
/// What MyGetDisplayVideoControllerList() does with a source.
bool ListAdapters(IAdapterSource& Source, std::vector<std::string>& List, bool bOnlyOK);
