#pragma once
#include <utility>

#include "shared/WindowsApi/IWindowsEventLogApi.h"

namespace OrvikPkg::SystemInfo {

// Sole owner of one event log handle, closed with EvtClose through the API
// it came from. Closing keeps the thread's last-error value. Move-only; the
// API must outlive the owner.
class EventLogHandle {
public:
    EventLogHandle(WindowsApi::IWindowsEventLogApi& api, EVT_HANDLE handle) noexcept
        : api_(&api), handle_(handle) {}
    EventLogHandle(EventLogHandle&& other) noexcept
        : api_(other.api_), handle_(std::exchange(other.handle_, nullptr)) {}
    EventLogHandle& operator=(EventLogHandle&&) = delete;
    EventLogHandle(const EventLogHandle&) = delete;
    EventLogHandle& operator=(const EventLogHandle&) = delete;
    ~EventLogHandle() {
        if (handle_ != nullptr) {
            const DWORD lastError = ::GetLastError();
            api_->EvtClose(handle_);
            ::SetLastError(lastError);
        }
    }
    EVT_HANDLE get() const noexcept { return handle_; }

private:
    WindowsApi::IWindowsEventLogApi* api_;
    EVT_HANDLE handle_;
};

}  // namespace OrvikPkg::SystemInfo
