#pragma once
#include "shared/WindowsApi/IWindowsComApi.h"

namespace OrvikPkg::WindowsApi {

class WindowsComApi : public IWindowsComApi {
public:
    HRESULT CoInitializeEx(LPVOID reserved, DWORD concurrencyModel) override;
    void CoUninitialize() override;
    HRESULT CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID interfaceId,
                             LPVOID* object) override;
    HRESULT CoSetProxyBlanket(IUnknown* proxy, DWORD authenticationService,
                              DWORD authorisationService, OLECHAR* principalName,
                              DWORD authenticationLevel, DWORD impersonationLevel,
                              RPC_AUTH_IDENTITY_HANDLE identity, DWORD capabilities) override;
};

}  // namespace OrvikPkg::WindowsApi
