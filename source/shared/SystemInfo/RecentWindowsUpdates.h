#pragma once
#include <string>
#include <vector>

#include "shared/SystemInfo/WindowsEventLog.h"

namespace OrvikPkg::SystemInfo {

class ISystemInformation;

// The update client's events of the System channel: every provider event
// except the opcodes 0, 1, 2, 12, 16, 17 and 18. One line of text.
extern const wchar_t kWindowsUpdateQuery[];

// The titles of the Windows updates reported in the last 24 hours. Only the
// newest event of each update GUID decides: it is listed when that event
// carries keyword bit 0x2000 and a title.
class RecentWindowsUpdates {
public:
    // Neither reference is owned; both must outlive this object.
    RecentWindowsUpdates(ISystemInformation& systemInformation, IWindowsEventLog& eventLog)
        : systemInformation_(systemInformation), eventLog_(eventLog) {}
    // Newest first. Reading stops at the first event older than 24 hours.
    // Throws what the event log throws.
    std::vector<std::wstring> Read();

private:
    ISystemInformation& systemInformation_;
    IWindowsEventLog& eventLog_;
};

}  // namespace OrvikPkg::SystemInfo
