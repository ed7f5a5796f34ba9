#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/WindowsManagementInstrumentationProxy.h"
#include "shared/WindowsApi/ComInitializer.h"
#include "support/Thrown.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {

using ::testing::_;
using ::testing::Return;

// A failure while connecting releases what was made and undoes only the COM
// initialisation that the proxy itself made.
TEST(WindowsManagementInstrumentationTest, FailedConnectionUndoesOwnComOnly) {
    for (const HRESULT initialised : {S_OK, RPC_E_CHANGED_MODE}) {
        ::testing::StrictMock<orvik::testing::MockComApi> api;
        EXPECT_CALL(api, CoInitializeEx(nullptr, 2u)).WillOnce(Return(initialised));
        EXPECT_CALL(api, CoCreateInstance(_, nullptr, CLSCTX_INPROC_SERVER, _, _))
            .WillOnce(Return(REGDB_E_CLASSNOTREG));
        EXPECT_CALL(api, CoUninitialize()).Times(initialised == S_OK ? 1 : 0);
        orvik::testing::ExpectThrows(
            [&] { WindowsManagementInstrumentation(api).Connect(); },
            {orvik::pkgshared::kWindowsFunctionErrorCode,
             {std::to_wstring(REGDB_E_CLASSNOTREG), L"CoCreateInstance(WbemLocator)"},
             L"source\\shared\\SystemInfo\\WindowsManagementInstrumentationProxy",
             37});
    }
}

// Uninitialises only what it initialised; other failures raise with the result.
TEST(ComInitializerTest, UninitialisesOnlyWhatItInitialisedAndRaisesOtherFailures) {
    for (const HRESULT result : {S_OK, S_FALSE, RPC_E_CHANGED_MODE, E_OUTOFMEMORY}) {
        SCOPED_TRACE(result);
        ::testing::StrictMock<orvik::testing::MockComApi> api;
        EXPECT_CALL(api, CoInitializeEx(nullptr, 2u)).WillOnce(Return(result));
        EXPECT_CALL(api, CoUninitialize()).Times(SUCCEEDED(result) ? 1 : 0);
        if (result == E_OUTOFMEMORY) {
            orvik::testing::ExpectThrows([&] { WindowsApi::ComInitializer guard(api); },
                                         {orvik::pkgshared::kWindowsFunctionErrorCode,
                                          {std::to_wstring(result), L"CoInitializeEx"},
                                          L"source\\shared\\WindowsApi/ComInitializer",
                                          43});
        } else {
            EXPECT_EQ(SUCCEEDED(result), WindowsApi::ComInitializer(api).Initialized());
        }
    }
}

}  // namespace
}  // namespace OrvikPkg::SystemInfo
