#define ORVIK_SOURCE_NAME L"source\\shared\\SystemInfo\\WindowsEventQuery"

#include "shared/SystemInfo/WindowsEventQuery.h"

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "shared/SystemInfo/WindowsEventLog.h"

namespace OrvikPkg::SystemInfo {

using ProcessingError = WindowsEventLog::WindowsEventProcessingError;

WindowsEventQuery::WindowsEventQuery(WindowsApi::IWindowsEventLogApi& api, EVT_HANDLE query)
    : query_({&api, query}), api_(api) {}

IWindowsEvent* WindowsEventQuery::Next() {
    EVT_HANDLE event = nullptr;
    DWORD returned = 0;
    if (!api_.EvtNext(query_.get().handle, 1, &event, INFINITE, 0, &returned)) {
        const DWORD error = api_.GetErrorHandlingApi().GetLastError();
        if (error == ERROR_NO_MORE_ITEMS) {
            currentEvent_.reset();
            return nullptr;
        }
        ORVIK_THROW_AT(19, orvik::pkgshared::WindowsFunctionErrorException,
                       static_cast<std::int32_t>(error), "EvtNext");
    }
    if (returned == 0) {
        ORVIK_THROW_AT(28, ProcessingError, L"EvtNext", L"handlesReturned == 0", L"handlesReturned",
                       std::to_wstring(returned));
    }
    if (event == nullptr) {
        ORVIK_THROW_AT(37, ProcessingError, L"EvtNext", L"windowsEvent == nullptr", L"windowsEvent",
                       L"nullptr");
    }
    currentEvent_ = std::make_unique<WindowsEvent>(api_, event);
    return currentEvent_.get();
}

}  // namespace OrvikPkg::SystemInfo
