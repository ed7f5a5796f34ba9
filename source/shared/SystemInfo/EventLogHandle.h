#pragma once
#include "shared/WindowsApi/IWindowsEventLogApi.h"
#include "shared/utils/UniqueResource.h"

namespace OrvikPkg::SystemInfo {

// An event log handle and the API it came from, which closes it.
struct EventLogHandleValue {
    WindowsApi::IWindowsEventLogApi* api = nullptr;
    EVT_HANDLE handle = nullptr;
};
struct EventLogHandleValidity {
    static constexpr EventLogHandleValue Invalid() { return {}; }
    static bool IsValid(const EventLogHandleValue& value) { return value.handle != nullptr; }
};
inline void CloseEventLogHandle(EventLogHandleValue value) {
    value.api->EvtClose(value.handle);
}
// Sole owner of one event log handle, closed with EvtClose through its API,
// which must outlive the owner.
using EventLogHandle = orvik::pkgshared::UniqueResource<EventLogHandleValue, &CloseEventLogHandle,
                                                        EventLogHandleValidity>;

}  // namespace OrvikPkg::SystemInfo
