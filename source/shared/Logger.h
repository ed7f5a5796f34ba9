#pragma once
// Logger: writes this run's trace to its own UTF-8 file (flushed per line)
// and to the debugger output; the program's trace reaches either only here.
//
// Both the window thread and the worker thread log, so Log, Close and
// GetLogFilePath are serialised by the logger's own mutex. Together with the
// archive extraction lock it is one of the two locks of the program.
//
// The logger never creates the "OrvikPkgLogs" directory: the entry creates it
// right after Initialize, before the first line, when logging is enabled.
// While it is missing, lines are dropped.
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

#include "shared/ILogger.h"
#include "shared/ISharedSession.h"
#include "shared/utils/UniqueFile.h"

namespace orvik::pkgshared {

class Logger : public ILogger {
public:
    Logger() = default;
    ~Logger() override;
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    // Sets the log file path to "<logs directory>\OrvikPkgLogs\OrvikPkgLog_
    // <local time>_<process id>.txt" and reads the "disablelogging" setting.
    // Does nothing when the path is already set. Throws std::runtime_error
    // ("could not convert calendar time to local time") and what the
    // configuration's boolean query throws.
    void Initialize(ISharedSession& session);
    // False when "disablelogging" switched logging off: nothing is written
    // then, to the file or to the debugger output.
    bool IsEnabled() const;

    void Log(const std::wstring& source, std::int32_t level, const std::wstring& message) override;
    void Close() override;
    std::wstring GetLogFilePath() const override;

private:
    bool loggingDisabled_ = false;
    std::wstring logFilePath_;
    UniqueFile stream_;
    mutable std::mutex mutex_;
};

}  // namespace orvik::pkgshared
