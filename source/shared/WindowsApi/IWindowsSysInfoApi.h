#pragma once
// The memory and locale calls of the system-information code. Each forwards
// unchanged to the system function of the same name.
#include <windows.h>

#include "shared/WindowsApi/IWindowsErrorHandlingApi.h"

namespace OrvikPkg::WindowsApi {

class IWindowsSysInfoApi {
public:
    virtual ~IWindowsSysInfoApi() = default;
    virtual BOOL GlobalMemoryStatusEx(LPMEMORYSTATUSEX status) = 0;
    virtual int GetLocaleInfoEx(LPCWSTR localeName, LCTYPE type, LPWSTR data, int capacity) = 0;
    virtual IWindowsErrorHandlingApi& GetErrorHandlingApi() = 0;
};

}  // namespace OrvikPkg::WindowsApi
