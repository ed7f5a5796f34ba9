#pragma once
#include <cstdint>
#include <string>

namespace orvik::pkgshared {

// The trace of a run: one line per event.
class ILogger {
public:
    virtual ~ILogger() = default;
    // Writes one line "<time of day> <source>: <message>". `level` is passed
    // along by callers and not interpreted. Never fails: a line that cannot
    // be written is dropped.
    virtual void Log(const std::wstring& source, std::int32_t level,
                     const std::wstring& message) = 0;
    // Closes the log file; a later Log reopens it for appending.
    virtual void Close() = 0;
    // The full path of this run's log file; empty before initialisation.
    virtual std::wstring GetLogFilePath() const = 0;
};

}  // namespace orvik::pkgshared
