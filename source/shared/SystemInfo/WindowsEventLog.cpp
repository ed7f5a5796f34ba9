#define ORVIK_SOURCE_NAME L"source\\shared\\SystemInfo/WindowsEventLog"

#include "shared/SystemInfo/WindowsEventLog.h"

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"

namespace OrvikPkg::SystemInfo {

WindowsEventLog::WindowsEventProcessingError::WindowsEventProcessingError(
    std::wstring operation, std::wstring condition, std::wstring valueName, std::wstring value,
    const wchar_t* sourceFile, std::int32_t line)
    : Exception(kCode, std::move(operation), std::move(condition), std::move(valueName),
                std::move(value), sourceFile, line) {}

WindowsEventLog::WindowsEventProcessingError::~WindowsEventProcessingError() = default;

std::unique_ptr<IWindowsEventQuery> WindowsEventLog::Query(const std::wstring& channel,
                                                           const std::wstring& query) {
    const EVT_HANDLE handle = api_.EvtQuery(nullptr, channel.c_str(), query.c_str(),
                                            EvtQueryChannelPath | EvtQueryReverseDirection);
    if (handle == nullptr) {
        const DWORD error = api_.GetErrorHandlingApi().GetLastError();
        ORVIK_THROW_AT(66, orvik::pkgshared::WindowsFunctionErrorException,
                       static_cast<std::int32_t>(error), "EvtQuery");
    }
    return std::make_unique<WindowsEventQuery>(api_, handle);
}

}  // namespace OrvikPkg::SystemInfo
