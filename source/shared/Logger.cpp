#include "shared/Logger.h"

#include <windows.h>

#include <share.h>

#include <ctime>
#include <stdexcept>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem/path.hpp>

#include "shared/LogFormat.h"
#include "shared/PathGuide.h"
#include "shared/TextConversion.h"

namespace orvik::pkgshared {

Logger::~Logger() = default;

void Logger::Initialize(ISharedSession& session) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!logFilePath_.empty()) {
        return;
    }
    const boost::filesystem::path directory =
        boost::filesystem::path(session.GetPathGuide().GetLogsDirectory()) / L"OrvikPkgLogs";
    loggingDisabled_ = session.GetLocalConfiguration().GetBool(L"disablelogging").value_or(false);

    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    if (localtime_s(&local, &now) != 0) {
        throw std::runtime_error("could not convert calendar time to local time");
    }
    const std::wstring stamp =
        boost::posix_time::to_iso_extended_wstring(boost::posix_time::ptime_from_tm(local));
    logFilePath_ = (directory / LogFileName(stamp, ::GetCurrentProcessId())).wstring();
}

bool Logger::IsEnabled() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return !loggingDisabled_;
}

void Logger::Log(const std::wstring& source, std::int32_t /*level*/, const std::wstring& message) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (loggingDisabled_ || logFilePath_.empty()) {
        return;
    }
    if (!stream_) {
        stream_.reset(_wfsopen(logFilePath_.c_str(), L"ab", _SH_DENYNO));
        if (!stream_) {
            return;
        }
    }
    const std::wstring timeOfDay = boost::posix_time::to_simple_wstring(
        boost::posix_time::microsec_clock::local_time().time_of_day());
    const std::wstring line = FormatLogLine(timeOfDay, source, message);
    const std::string bytes = WideToUtf8(line);
    std::fwrite(bytes.data(), 1, bytes.size(), stream_.get());
    std::fflush(stream_.get());
    ::OutputDebugStringW(line.c_str());
}

void Logger::Close() {
    std::lock_guard<std::mutex> lock(mutex_);
    stream_.reset();
}

std::wstring Logger::GetLogFilePath() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return logFilePath_;
}

}  // namespace orvik::pkgshared
