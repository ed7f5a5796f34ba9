#pragma once
#include "shared/SystemInfo/SecurityProductList.h"
#include "shared/WindowsApi/IWindowsComApi.h"

namespace OrvikPkg::SystemInfo {

// The lazily loaded list of the installed security products of one provider
// kind (a WSC_SECURITY_PROVIDER_* value).
class SecurityProviderLoader {
public:
    // `api` is not owned and must outlive this object.
    SecurityProviderLoader(WindowsApi::IWindowsComApi& api, ULONG providerKind)
        : providerKind_(providerKind), api_(api) {}
    // Loads the list on the first successful call and answers from the cache
    // afterwards. A system without the Security Center's product list or with
    // its service stopped is a loaded, empty list with that status. Throws
    // WindowsFunctionErrorException for any other failure; the list then stays
    // unloaded and the next call tries again.
    const SecurityProductList& Get();

private:
    SecurityProductList Load() const;

    SecurityProductList list_;
    ULONG providerKind_;
    bool loaded_ = false;
    WindowsApi::IWindowsComApi& api_;
};

}  // namespace OrvikPkg::SystemInfo
