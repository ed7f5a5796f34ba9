#include "shared/WindowsApi/WindowsEventLogApi.h"

namespace OrvikPkg::WindowsApi {

EVT_HANDLE WindowsEventLogApi::EvtQuery(EVT_HANDLE session, LPCWSTR path, LPCWSTR query,
                                        DWORD flags) {
    return ::EvtQuery(session, path, query, flags);
}

BOOL WindowsEventLogApi::EvtNext(EVT_HANDLE resultSet, DWORD eventsWanted, EVT_HANDLE* events,
                                 DWORD timeout, DWORD flags, PDWORD returned) {
    return ::EvtNext(resultSet, eventsWanted, events, timeout, flags, returned);
}

EVT_HANDLE WindowsEventLogApi::EvtCreateRenderContext(DWORD valuePathCount, LPCWSTR* valuePaths,
                                                      DWORD flags) {
    return ::EvtCreateRenderContext(valuePathCount, valuePaths, flags);
}

BOOL WindowsEventLogApi::EvtRender(EVT_HANDLE context, EVT_HANDLE fragment, DWORD flags,
                                   DWORD bufferSize, PVOID buffer, PDWORD bufferUsed,
                                   PDWORD propertyCount) {
    return ::EvtRender(context, fragment, flags, bufferSize, buffer, bufferUsed, propertyCount);
}

BOOL WindowsEventLogApi::EvtClose(EVT_HANDLE handle) {
    return ::EvtClose(handle);
}

}  // namespace OrvikPkg::WindowsApi
