#pragma once
// The COM calls of the system-information code, so that its logic can run
// against substitutes. Each call forwards unchanged to the system.
#include <windows.h>

#include <objbase.h>

#include "shared/WindowsApi/IWindowsErrorHandlingApi.h"

namespace OrvikPkg::WindowsApi {

class IWindowsComApi {
public:
    virtual ~IWindowsComApi() = default;
    // Initialises COM on the calling thread through CoInitialize: the
    // concurrency model is accepted and ignored (the thread always enters a
    // single-threaded apartment, the only model ever asked for).
    virtual HRESULT CoInitializeEx(LPVOID reserved, DWORD concurrencyModel) = 0;
    virtual void CoUninitialize() = 0;
    virtual HRESULT CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context,
                                     REFIID interfaceId, LPVOID* object) = 0;
    virtual HRESULT CoSetProxyBlanket(IUnknown* proxy, DWORD authenticationService,
                                      DWORD authorisationService, OLECHAR* principalName,
                                      DWORD authenticationLevel, DWORD impersonationLevel,
                                      RPC_AUTH_IDENTITY_HANDLE identity, DWORD capabilities) = 0;
    virtual IWindowsErrorHandlingApi& GetErrorHandlingApi() = 0;
};

}  // namespace OrvikPkg::WindowsApi
