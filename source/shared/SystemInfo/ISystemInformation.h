#pragma once
// The machine summary of the shared foundation: plain values, nothing
// formatted.
#ifdef _WIN32
#include <windows.h>
// The system headers define GetCurrentTime as a macro; this interface uses
// the name for its own operation.
#undef GetCurrentTime
#endif

#include <cstdint>
#include <string>
#include <vector>

#include "shared/SystemInfo/ISecurityProvidersInformation.h"
#include "shared/SystemInfo/SystemTime.h"

namespace OrvikPkg::SystemInfo {

struct OperatingSystem {
    std::wstring caption;
    std::wstring version;
    std::wstring architecture;
    std::uint32_t servicePackMajorVersion = 0;
    std::uint32_t servicePackMinorVersion = 0;
    std::uint32_t productType = 0;  // as WMI delivers it
};

struct Memory {
    std::uint64_t availablePhysicalBytes = 0;
    std::uint32_t memoryLoadPercent = 0;
    std::uint64_t availableVirtualBytes = 0;  // of this process
};

struct DiskSpace {
    std::uint64_t freeBytesAvailable = 0;  // to the caller
    std::uint64_t totalBytes = 0;
};

// Every operation throws the shared Exception family (or, for an operating
// system that WMI does not report, std::runtime_error) when the system
// cannot answer.
class ISystemInformation {
public:
    virtual ~ISystemInformation() = default;
    virtual OperatingSystem GetOperatingSystem() = 0;
    virtual Memory GetMemory() = 0;
    virtual DiskSpace GetDiskSpace(const std::wstring& path) = 0;
    virtual ISecurityProvidersInformation& GetSecurityProvidersInformation() = 0;
    // The English display name of the system's default locale, or of the
    // user's when `systemDefault` is false.
    virtual std::wstring GetLocaleName(bool systemDefault) = 0;
    virtual SystemTime GetCurrentTime() = 0;
    // The titles of the Windows updates reported in the last 24 hours whose
    // newest event carries keyword bit 0x2000, newest first.
    virtual std::vector<std::wstring> GetRecentWindowsUpdates() = 0;
};

}  // namespace OrvikPkg::SystemInfo
