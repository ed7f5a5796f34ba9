#pragma once
#include <memory>

#include "shared/SystemInfo/EventLogHandle.h"
#include "shared/SystemInfo/WindowsEvent.h"
#include "shared/WindowsApi/IWindowsEventLogApi.h"

namespace OrvikPkg::SystemInfo {

// The result set of one query, walked one event at a time.
class IWindowsEventQuery {
public:
    virtual ~IWindowsEventQuery() = default;
    // Advances to the next event and returns it; null when the result set is
    // exhausted. The event stays valid until the next call or the query's
    // destruction. Throws WindowsFunctionErrorException or
    // WindowsEventProcessingError.
    virtual IWindowsEvent* Next() = 0;
};

class WindowsEventQuery : public IWindowsEventQuery {
public:
    // Takes ownership of `query`.
    WindowsEventQuery(WindowsApi::IWindowsEventLogApi& api, EVT_HANDLE query);
    IWindowsEvent* Next() override;

private:
    EventLogHandle query_;
    std::unique_ptr<IWindowsEvent> currentEvent_;
    WindowsApi::IWindowsEventLogApi& api_;
};

}  // namespace OrvikPkg::SystemInfo
