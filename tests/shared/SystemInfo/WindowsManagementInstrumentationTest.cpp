#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/WindowsManagementInstrumentationProxy.h"
#include "support/Thrown.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {
using ::testing::_;
using ::testing::Return;
// A failed connection undoes only the COM initialisation the proxy made.
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
}  // namespace
}  // namespace OrvikPkg::SystemInfo
