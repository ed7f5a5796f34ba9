#pragma once
// The event log calls of the system-information code. Each forwards
// unchanged to the system function of the same name.
#include <windows.h>

#include <winevt.h>

#include "shared/WindowsApi/IWindowsErrorHandlingApi.h"

namespace OrvikPkg::WindowsApi {

class IWindowsEventLogApi {
public:
    virtual ~IWindowsEventLogApi() = default;
    virtual EVT_HANDLE EvtQuery(EVT_HANDLE session, LPCWSTR path, LPCWSTR query, DWORD flags) = 0;
    virtual BOOL EvtNext(EVT_HANDLE resultSet, DWORD eventsWanted, EVT_HANDLE* events,
                         DWORD timeout, DWORD flags, PDWORD returned) = 0;
    virtual EVT_HANDLE EvtCreateRenderContext(DWORD valuePathCount, LPCWSTR* valuePaths,
                                              DWORD flags) = 0;
    virtual BOOL EvtRender(EVT_HANDLE context, EVT_HANDLE fragment, DWORD flags, DWORD bufferSize,
                           PVOID buffer, PDWORD bufferUsed, PDWORD propertyCount) = 0;
    virtual BOOL EvtClose(EVT_HANDLE handle) = 0;
    virtual IWindowsErrorHandlingApi& GetErrorHandlingApi() = 0;
};

}  // namespace OrvikPkg::WindowsApi
