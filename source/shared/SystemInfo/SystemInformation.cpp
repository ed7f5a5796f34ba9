#define ORVIK_SOURCE_NAME L"source\\shared\\SystemInfo/SystemInformation"

#include "shared/SystemInfo/SystemInformation.h"

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"

namespace OrvikPkg::SystemInfo {
namespace {

using orvik::pkgshared::WindowsFunctionErrorException;

constexpr int kLocaleNameCapacity = 85;

}  // namespace

SystemInformation::SystemInformation(WindowsApi::IWindowsComApi& comApi,
                                     WindowsApi::IWindowsFileApi& fileApi,
                                     WindowsApi::IWindowsSysInfoApi& sysInfoApi,
                                     IWindowsManagementInstrumentation& wmi,
                                     IWindowsEventLog& eventLog)
    : comApi_(comApi),
      fileApi_(fileApi),
      sysInfoApi_(sysInfoApi),
      wmi_(wmi),
      securityProviders_(comApi),
      updates_(*this, eventLog) {}

OperatingSystem SystemInformation::GetOperatingSystem() {
    const std::unique_ptr<IWindowsManagementInstrumentationProxy> proxy = wmi_.Connect();
    const std::unique_ptr<IWindowsManagementInstrumentationProperties> properties =
        proxy->GetObject(L"Win32_OperatingSystem",
                         {L"Caption", L"Version", L"OSArchitecture", L"ServicePackMajorVersion",
                          L"ServicePackMinorVersion", L"ProductType"});
    OperatingSystem system;
    system.caption = properties->GetString(L"Caption");
    system.version = properties->GetString(L"Version");
    system.architecture = properties->GetString(L"OSArchitecture");
    system.servicePackMajorVersion = properties->GetUInt32(L"ServicePackMajorVersion");
    system.servicePackMinorVersion = properties->GetUInt32(L"ServicePackMinorVersion");
    system.productType = properties->GetUInt32(L"ProductType");
    return system;
}

Memory SystemInformation::GetMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = 64;
    if (!sysInfoApi_.GlobalMemoryStatusEx(&status)) {
        const DWORD error = sysInfoApi_.GetErrorHandlingApi().GetLastError();
        ORVIK_THROW_AT(76, WindowsFunctionErrorException, static_cast<std::int32_t>(error),
                       "GlobalMemoryStatusEx");
    }
    return {status.ullAvailPhys, status.dwMemoryLoad, status.ullAvailVirtual};
}

DiskSpace SystemInformation::GetDiskSpace(const std::wstring& path) {
    ULARGE_INTEGER available{};
    ULARGE_INTEGER total{};
    ULARGE_INTEGER totalFree{};
    if (!fileApi_.GetDiskFreeSpaceExW(path.c_str(), &available, &total, &totalFree)) {
        const DWORD error = fileApi_.GetErrorHandlingApi().GetLastError();
        ORVIK_THROW_AT(94, WindowsFunctionErrorException, static_cast<std::int32_t>(error),
                       "GetDiskFreeSpaceEx");
    }
    return {available.QuadPart, total.QuadPart};
}

std::wstring SystemInformation::GetLocaleName(bool systemDefault) {
    wchar_t name[kLocaleNameCapacity] = {};
    if (sysInfoApi_.GetLocaleInfoEx(systemDefault ? L"!x-sys-default-locale" : nullptr,
                                    LOCALE_SENGLISHDISPLAYNAME, name, kLocaleNameCapacity) == 0) {
        const DWORD error = sysInfoApi_.GetErrorHandlingApi().GetLastError();
        ORVIK_THROW_AT(112, WindowsFunctionErrorException, static_cast<std::int32_t>(error),
                       "GetLocaleInfoEx");
    }
    name[kLocaleNameCapacity - 1] = L'\0';
    return name;
}

SystemTime SystemInformation::GetCurrentTime() {
    return std::chrono::time_point_cast<SystemTicks>(std::chrono::system_clock::now());
}

}  // namespace OrvikPkg::SystemInfo
