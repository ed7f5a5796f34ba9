#pragma once
#include "shared/WindowsApi/IWindowsComApi.h"

namespace OrvikPkg::WindowsApi {

// `errors` is not owned and must outlive this object.
class WindowsComApi : public IWindowsComApi {
public:
    explicit WindowsComApi(IWindowsErrorHandlingApi& errors) : errors_(errors) {}
    HRESULT CoInitializeEx(LPVOID reserved, DWORD concurrencyModel) override;
    void CoUninitialize() override;
    HRESULT CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID interfaceId,
                             LPVOID* object) override;
    HRESULT CoSetProxyBlanket(IUnknown* proxy, DWORD authenticationService,
                              DWORD authorisationService, OLECHAR* principalName,
                              DWORD authenticationLevel, DWORD impersonationLevel,
                              RPC_AUTH_IDENTITY_HANDLE identity, DWORD capabilities) override;
    IWindowsErrorHandlingApi& GetErrorHandlingApi() override { return errors_; }

private:
    IWindowsErrorHandlingApi& errors_;
};

}  // namespace OrvikPkg::WindowsApi
