#pragma once
#include "shared/SystemInfo/ISecurityProvidersInformation.h"
#include "shared/SystemInfo/SecurityCenterDeclarations.h"
#include "shared/SystemInfo/SecurityProviderLoader.h"

namespace OrvikPkg::SystemInfo {

class SecurityProvidersInformation : public ISecurityProvidersInformation {
public:
    // `api` is not owned and must outlive this object.
    explicit SecurityProvidersInformation(WindowsApi::IWindowsComApi& api)
        : antivirus_(api, WSC_SECURITY_PROVIDER_ANTIVIRUS),
          antispyware_(api, WSC_SECURITY_PROVIDER_ANTISPYWARE),
          firewall_(api, WSC_SECURITY_PROVIDER_FIREWALL) {}
    const SecurityProductList& GetAntivirusProducts() override { return antivirus_.Get(); }
    const SecurityProductList& GetAntispywareProducts() override { return antispyware_.Get(); }
    const SecurityProductList& GetFirewallProducts() override { return firewall_.Get(); }

private:
    SecurityProviderLoader antivirus_;
    SecurityProviderLoader antispyware_;
    SecurityProviderLoader firewall_;
};

}  // namespace OrvikPkg::SystemInfo
