#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "shared/SystemInfo/WindowsManagementInstrumentationProxy.h"
#include "shared/WindowsApi/WindowsComApi.h"
#include "shared/WindowsApi/WindowsErrorHandlingApi.h"

namespace OrvikPkg::SystemInfo {
namespace {

TEST(WqlQueryTest, PropertiesAreJoinedByCommas) {
    EXPECT_EQ(
        L"SELECT Caption,Version,OSArchitecture,ServicePackMajorVersion,"
        L"ServicePackMinorVersion,ProductType FROM Win32_OperatingSystem",
        BuildWqlQuery(L"Win32_OperatingSystem",
                      {L"Caption", L"Version", L"OSArchitecture", L"ServicePackMajorVersion",
                       L"ServicePackMinorVersion", L"ProductType"}));
    EXPECT_EQ(L"SELECT  FROM X", BuildWqlQuery(L"X", {}));
}

// The real WMI of the test prefix, on a thread of its own.
TEST(WindowsManagementInstrumentationTest, ReadsTheOperatingSystem) {
    std::thread([] {
        WindowsApi::WindowsErrorHandlingApi errors;
        WindowsApi::WindowsComApi api(errors);
        WindowsManagementInstrumentation wmi(api);
        const auto proxy = wmi.Connect();
        const auto os =
            proxy->GetObject(L"Win32_OperatingSystem",
                             {L"Caption", L"Version", L"ServicePackMajorVersion", L"ProductType"});
        EXPECT_NE(std::wstring::npos, os->GetString(L"Caption").find(L"Windows"));
        EXPECT_EQ(0u, os->GetString(L"Version").find(L"10.0."));
        EXPECT_EQ(1u, os->GetUInt32(L"ProductType"));  // a workstation
        EXPECT_EQ(0u, os->GetUInt32(L"ServicePackMajorVersion"));
        EXPECT_EQ(L"1", os->GetString(L"ProductType"));  // numbers convert to text
    }).join();
}

TEST(WindowsManagementInstrumentationTest, ClassWithoutInstances) {
    std::thread([] {
        WindowsApi::WindowsErrorHandlingApi errors;
        WindowsApi::WindowsComApi api(errors);
        const auto proxy = WindowsManagementInstrumentation(api).Connect();
        try {
            // No process has this identifier: the query finds no instance.
            proxy->GetObject(L"Win32_Process WHERE ProcessId = 4294967290", {L"Name"});
            FAIL() << "nothing was thrown";
        } catch (const std::runtime_error& e) {
            EXPECT_STREQ("Failed to get operating system", e.what());
        }
    }).join();
}

}  // namespace
}  // namespace OrvikPkg::SystemInfo
