#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "shared/ExceptionFamily.h"
#include "shared/WindowsApi/ComInitializer.h"
#include "shared/WindowsApi/WindowsComApi.h"
#include "shared/WindowsApi/WindowsErrorHandlingApi.h"
#include "support/Thrown.h"
#include "support/WindowsApiMocks.h"

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
