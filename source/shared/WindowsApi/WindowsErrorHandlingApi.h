#pragma once
#include "shared/WindowsApi/IWindowsErrorHandlingApi.h"

namespace OrvikPkg::WindowsApi {

class WindowsErrorHandlingApi : public IWindowsErrorHandlingApi {
public:
    DWORD GetLastError() override { return ::GetLastError(); }
};

}  // namespace OrvikPkg::WindowsApi
