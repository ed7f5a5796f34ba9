#pragma once
#include "shared/WindowsApi/IWindowsEventLogApi.h"

namespace OrvikPkg::WindowsApi {

// `errors` is not owned and must outlive this object.
class WindowsEventLogApi : public IWindowsEventLogApi {
public:
    explicit WindowsEventLogApi(IWindowsErrorHandlingApi& errors) : errors_(errors) {}
    EVT_HANDLE EvtQuery(EVT_HANDLE session, LPCWSTR path, LPCWSTR query, DWORD flags) override;
    BOOL EvtNext(EVT_HANDLE resultSet, DWORD eventsWanted, EVT_HANDLE* events, DWORD timeout,
                 DWORD flags, PDWORD returned) override;
    EVT_HANDLE EvtCreateRenderContext(DWORD valuePathCount, LPCWSTR* valuePaths,
                                      DWORD flags) override;
    BOOL EvtRender(EVT_HANDLE context, EVT_HANDLE fragment, DWORD flags, DWORD bufferSize,
                   PVOID buffer, PDWORD bufferUsed, PDWORD propertyCount) override;
    BOOL EvtClose(EVT_HANDLE handle) override;
    IWindowsErrorHandlingApi& GetErrorHandlingApi() override { return errors_; }

private:
    IWindowsErrorHandlingApi& errors_;
};

}  // namespace OrvikPkg::WindowsApi
