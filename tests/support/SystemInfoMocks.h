#pragma once
// GoogleMock substitutes for the machine summary.
#include <gmock/gmock.h>
#include "shared/SystemInfo/ISystemInformation.h"

namespace orvik::testing {
class MockSecurityProviders : public OrvikPkg::SystemInfo::ISecurityProvidersInformation {
public:
    using List = OrvikPkg::SystemInfo::SecurityProductList;
    MOCK_METHOD(const List&, GetAntivirusProducts, (), (override));
    MOCK_METHOD(const List&, GetAntispywareProducts, (), (override));
    MOCK_METHOD(const List&, GetFirewallProducts, (), (override));
};
class MockSystemInformation : public OrvikPkg::SystemInfo::ISystemInformation {
public:
    MOCK_METHOD(OrvikPkg::SystemInfo::OperatingSystem, GetOperatingSystem, (), (override));
    MOCK_METHOD(OrvikPkg::SystemInfo::Memory, GetMemory, (), (override));
    MOCK_METHOD(OrvikPkg::SystemInfo::DiskSpace, GetDiskSpace, (const std::wstring&), (override));
    MOCK_METHOD(OrvikPkg::SystemInfo::ISecurityProvidersInformation&,
                GetSecurityProvidersInformation, (), (override));
    MOCK_METHOD(std::wstring, GetLocaleName, (bool), (override));
    MOCK_METHOD(OrvikPkg::SystemInfo::SystemTime, GetCurrentTime, (), (override));
    MOCK_METHOD(std::vector<std::wstring>, GetRecentWindowsUpdates, (), (override));
};
}  // namespace orvik::testing
