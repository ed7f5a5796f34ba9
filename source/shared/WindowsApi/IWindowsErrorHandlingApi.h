#pragma once
#include <windows.h>

namespace OrvikPkg::WindowsApi {

// The thread's last Windows error, read through an interface so that the
// logic above the other wrappers can run against substitutes. Every wrapper
// exposes the one it uses as its last operation.
class IWindowsErrorHandlingApi {
public:
    virtual ~IWindowsErrorHandlingApi() = default;
    virtual DWORD GetLastError() = 0;
};

}  // namespace OrvikPkg::WindowsApi
