#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/WindowsManagementInstrumentationProxy.h"
#include "shared/WindowsApi/ComInitializer.h"
#include "shared/WindowsApi/WindowsComApi.h"
#include "shared/WindowsApi/WindowsErrorHandlingApi.h"
#include "support/Thrown.h"
#include "support/WindowsApiMocks.h"

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
        // No process has this identifier: the query finds no instance.
        const auto e = orvik::testing::Thrown<std::runtime_error>(
            [&] { proxy->GetObject(L"Win32_Process WHERE ProcessId = 4294967290", {L"Name"}); });
        EXPECT_STREQ("Failed to get operating system", e ? e->what() : "");
    }).join();
}

// A failure while connecting releases what was made and undoes only the COM
// initialisation that the proxy itself made.
TEST(WindowsManagementInstrumentationTest, FailedConnectionUndoesOwnComOnly) {
    for (const HRESULT initialised : {S_OK, RPC_E_CHANGED_MODE}) {
        ::testing::StrictMock<orvik::testing::MockComApi> api;
        EXPECT_CALL(api, CoInitializeEx(nullptr, 2u)).WillOnce(::testing::Return(initialised));
        EXPECT_CALL(api, CoCreateInstance(::testing::_, nullptr, CLSCTX_INPROC_SERVER, ::testing::_,
                                          ::testing::_))
            .WillOnce(::testing::Return(REGDB_E_CLASSNOTREG));
        EXPECT_CALL(api, CoUninitialize()).Times(initialised == S_OK ? 1 : 0);
        orvik::testing::ExpectThrows(
            [&] { WindowsManagementInstrumentation(api).Connect(); },
            {orvik::pkgshared::kWindowsFunctionErrorCode,
             {std::to_wstring(REGDB_E_CLASSNOTREG), L"CoCreateInstance(WbemLocator)"},
             L"source\\shared\\SystemInfo\\WindowsManagementInstrumentationProxy",
             37});
    }
}

}  // namespace
}  // namespace OrvikPkg::SystemInfo

namespace OrvikPkg::WindowsApi {
namespace {

using ::testing::Return;
using ::testing::StrictMock;

using MockComApi = orvik::testing::MockComApi;

// Uninitialises only what it initialised; other failures raise with the result.
TEST(ComInitializerTest, UninitialisesOnlyWhatItInitialisedAndRaisesOtherFailures) {
    for (const HRESULT result : {S_OK, S_FALSE, RPC_E_CHANGED_MODE, E_OUTOFMEMORY}) {
        SCOPED_TRACE(result);
        StrictMock<MockComApi> api;
        EXPECT_CALL(api, CoInitializeEx(nullptr, 2u)).WillOnce(Return(result));
        if (result == E_OUTOFMEMORY) {
            orvik::testing::ExpectThrows([&] { ComInitializer guard(api); },
                                         {orvik::pkgshared::kWindowsFunctionErrorCode,
                                          {std::to_wstring(result), L"CoInitializeEx"},
                                          L"source\\shared\\WindowsApi/ComInitializer",
                                          43});
            continue;
        }
        EXPECT_CALL(api, CoUninitialize()).Times(SUCCEEDED(result) ? 1 : 0);
        EXPECT_EQ(SUCCEEDED(result), ComInitializer(api).Initialized());
    }
}

TEST(WindowsComApiTest, AlwaysAsksForASingleThreadedApartment) {
    // On a thread already in the multithreaded apartment the request for a
    // single-threaded one is refused, whatever model is passed.
    std::thread([] {
        ASSERT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        WindowsErrorHandlingApi errors;
        WindowsComApi api(errors);
        EXPECT_EQ(RPC_E_CHANGED_MODE, api.CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        {
            const ComInitializer guard(api);
            EXPECT_FALSE(guard.Initialized());
        }
        ::CoUninitialize();
    }).join();
}

}  // namespace
}  // namespace OrvikPkg::WindowsApi
