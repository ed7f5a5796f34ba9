#include "shared/WindowsApi/WindowsComApi.h"

#include <objbase.h>

namespace OrvikPkg::WindowsApi {

HRESULT WindowsComApi::CoInitializeEx(LPVOID reserved, DWORD /*concurrencyModel*/) {
    return ::CoInitialize(reserved);
}

void WindowsComApi::CoUninitialize() {
    ::CoUninitialize();
}

HRESULT WindowsComApi::CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context,
                                        REFIID interfaceId, LPVOID* object) {
    return ::CoCreateInstance(classId, outer, context, interfaceId, object);
}

HRESULT WindowsComApi::CoSetProxyBlanket(IUnknown* proxy, DWORD authenticationService,
                                         DWORD authorisationService, OLECHAR* principalName,
                                         DWORD authenticationLevel, DWORD impersonationLevel,
                                         RPC_AUTH_IDENTITY_HANDLE identity, DWORD capabilities) {
    return ::CoSetProxyBlanket(proxy, authenticationService, authorisationService, principalName,
                               authenticationLevel, impersonationLevel, identity, capabilities);
}

}  // namespace OrvikPkg::WindowsApi
