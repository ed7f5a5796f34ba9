#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "shared/ExceptionFamily.h"
#include "shared/WindowsApi/ComInitializer.h"
#include "shared/WindowsApi/WindowsComApi.h"
#include "shared/WindowsApi/WindowsErrorHandlingApi.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::WindowsApi {
namespace {

using ::testing::Return;
using ::testing::StrictMock;

using MockComApi = orvik::testing::MockComApi;

TEST(ComInitializerTest, UninitialisesOnlyWhatItInitialised) {
    for (const HRESULT result : {S_OK, S_FALSE}) {
        StrictMock<MockComApi> api;
        EXPECT_CALL(api, CoInitializeEx(nullptr, 2u)).WillOnce(Return(result));
        EXPECT_CALL(api, CoUninitialize());
        const ComInitializer guard(api);
        EXPECT_TRUE(guard.Initialized());
    }
    StrictMock<MockComApi> api;
    EXPECT_CALL(api, CoInitializeEx(nullptr, 2u)).WillOnce(Return(RPC_E_CHANGED_MODE));
    const ComInitializer guard(api);  // no CoUninitialize expected
    EXPECT_FALSE(guard.Initialized());
}

TEST(ComInitializerTest, OtherFailuresRaiseWithTheResult) {
    StrictMock<MockComApi> api;
    EXPECT_CALL(api, CoInitializeEx(nullptr, 2u)).WillOnce(Return(E_OUTOFMEMORY));
    try {
        ComInitializer guard(api);
        FAIL() << "nothing was thrown";
    } catch (const orvik::pkgshared::WindowsFunctionErrorException& e) {
        EXPECT_EQ(std::to_wstring(static_cast<std::int32_t>(E_OUTOFMEMORY)),
                  e.GetMessageArgument0());
        EXPECT_EQ(L"CoInitializeEx", e.GetMessageArgument1());
        EXPECT_STREQ(L"source\\shared\\WindowsApi/ComInitializer", e.GetSourceFile());
        EXPECT_EQ(43, e.GetLineNumber());
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
