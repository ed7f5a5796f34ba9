#pragma once
#include "shared/SystemInfo/ISystemInformation.h"
#include "shared/SystemInfo/RecentWindowsUpdates.h"
#include "shared/SystemInfo/SecurityProvidersInformation.h"
#include "shared/SystemInfo/WindowsEventLog.h"
#include "shared/SystemInfo/WindowsManagementInstrumentationProxy.h"
#include "shared/WindowsApi/IWindowsComApi.h"
#include "shared/WindowsApi/IWindowsFileApi.h"
#include "shared/WindowsApi/IWindowsSysInfoApi.h"

namespace OrvikPkg::SystemInfo {

// Answers through the wrapper interfaces; use it from one thread at a time.
// None of the references is owned; all must outlive this object.
class SystemInformation : public ISystemInformation {
public:
    SystemInformation(WindowsApi::IWindowsComApi& comApi, WindowsApi::IWindowsFileApi& fileApi,
                      WindowsApi::IWindowsSysInfoApi& sysInfoApi,
                      IWindowsManagementInstrumentation& wmi, IWindowsEventLog& eventLog);
    SystemInformation(const SystemInformation&) = delete;
    SystemInformation& operator=(const SystemInformation&) = delete;

    OperatingSystem GetOperatingSystem() override;
    // Throws WindowsFunctionErrorException naming "GlobalMemoryStatusEx".
    Memory GetMemory() override;
    // Throws WindowsFunctionErrorException naming "GetDiskFreeSpaceEx".
    DiskSpace GetDiskSpace(const std::wstring& path) override;
    ISecurityProvidersInformation& GetSecurityProvidersInformation() override {
        return securityProviders_;
    }
    // Throws WindowsFunctionErrorException naming "GetLocaleInfoEx".
    std::wstring GetLocaleName(bool systemDefault) override;
    SystemTime GetCurrentTime() override;
    std::vector<std::wstring> GetRecentWindowsUpdates() override { return updates_.Read(); }

private:
    WindowsApi::IWindowsComApi& comApi_;
    WindowsApi::IWindowsFileApi& fileApi_;
    WindowsApi::IWindowsSysInfoApi& sysInfoApi_;
    IWindowsManagementInstrumentation& wmi_;
    SecurityProvidersInformation securityProviders_;
    RecentWindowsUpdates updates_;
};

}  // namespace OrvikPkg::SystemInfo
