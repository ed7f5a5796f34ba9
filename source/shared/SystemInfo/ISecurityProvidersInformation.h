#pragma once
#include "shared/SystemInfo/SecurityProductList.h"

namespace OrvikPkg::SystemInfo {

// The installed security products as the Security Center lists them. Each
// list is loaded on its first request and cached for the object's life.
// Failures throw WindowsFunctionErrorException and leave that list unloaded.
class ISecurityProvidersInformation {
public:
    virtual ~ISecurityProvidersInformation() = default;
    virtual const SecurityProductList& GetAntivirusProducts() = 0;
    virtual const SecurityProductList& GetAntispywareProducts() = 0;
    virtual const SecurityProductList& GetFirewallProducts() = 0;
};

}  // namespace OrvikPkg::SystemInfo
