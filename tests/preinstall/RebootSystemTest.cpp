#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "preinstall/RebootSystem.h"
#include "shared/Exception.h"

namespace orvik::pkgui::preinstall {
namespace {

using ::testing::Return;
using ::testing::StrictMock;
using Token = IRebootApi::TokenResult;

class MockRebootApi : public IRebootApi {
public:
    MOCK_METHOD(TokenResult, OpenThreadToken, (), (override));
    MOCK_METHOD(bool, OpenProcessToken, (), (override));
    MOCK_METHOD(bool, EnableShutdownPrivilege, (), (override));
    MOCK_METHOD(std::optional<std::wstring>, NetworkUserName, (), (override));
    MOCK_METHOD(std::optional<std::wstring>, SessionUserName, (), (override));
    MOCK_METHOD(bool, InitiateRestart, (std::uint32_t), (override));
    MOCK_METHOD(bool, ExitWindowsRestart, (std::uint32_t), (override));
};

std::int32_t CodeOf(IRebootApi& api) {
    try {
        RebootSystem(api);
    } catch (const orvik::pkgshared::Exception& e) {
        EXPECT_STREQ(L"source\\preinstall\\Main", e.GetSourceFile());
        return e.GetErrorCode();
    }
    return 0;
}

std::optional<std::wstring> Name(const wchar_t* name) {
    return std::wstring(name);
}

TEST(RebootSystemTest, InteractiveUserRestartsThroughExitWindows) {
    StrictMock<MockRebootApi> api;
    EXPECT_CALL(api, OpenThreadToken()).WillOnce(Return(Token::Opened));
    EXPECT_CALL(api, EnableShutdownPrivilege()).WillOnce(Return(true));
    EXPECT_CALL(api, NetworkUserName()).WillOnce(Return(Name(L"anna")));
    EXPECT_CALL(api, SessionUserName()).WillOnce(Return(Name(L"anna")));
    EXPECT_CALL(api, ExitWindowsRestart(0x80040002u)).WillOnce(Return(true));
    EXPECT_EQ(0, CodeOf(api));
}

TEST(RebootSystemTest, AnotherAccountRestartsThroughSystemShutdown) {
    StrictMock<MockRebootApi> api;
    EXPECT_CALL(api, OpenThreadToken()).WillOnce(Return(Token::NoThreadToken));
    EXPECT_CALL(api, OpenProcessToken()).WillOnce(Return(true));
    EXPECT_CALL(api, EnableShutdownPrivilege()).WillOnce(Return(true));
    EXPECT_CALL(api, NetworkUserName()).WillOnce(Return(Name(L"admin")));
    EXPECT_CALL(api, SessionUserName()).WillOnce(Return(Name(L"Admin")));  // case counts
    EXPECT_CALL(api, InitiateRestart(0x80040002u)).WillOnce(Return(true));
    EXPECT_EQ(0, CodeOf(api));
}

TEST(RebootSystemTest, UnknownUsersFallBackToExitWindows) {
    for (bool networkKnown : {false, true}) {
        StrictMock<MockRebootApi> api;
        EXPECT_CALL(api, OpenThreadToken()).WillOnce(Return(Token::Opened));
        EXPECT_CALL(api, EnableShutdownPrivilege()).WillOnce(Return(true));
        EXPECT_CALL(api, NetworkUserName())
            .WillOnce(Return(networkKnown ? Name(L"anna") : std::nullopt));
        if (networkKnown) {
            EXPECT_CALL(api, SessionUserName()).WillOnce(Return(std::nullopt));
        }
        EXPECT_CALL(api, ExitWindowsRestart(0x80040002u)).WillOnce(Return(true));
        EXPECT_EQ(0, CodeOf(api));
    }
}

TEST(RebootSystemTest, EveryFailureIsTheRebootError) {
    {
        StrictMock<MockRebootApi> api;
        EXPECT_CALL(api, OpenThreadToken()).WillOnce(Return(Token::Failed));
        EXPECT_EQ(-126305, CodeOf(api));
    }
    {
        StrictMock<MockRebootApi> api;
        EXPECT_CALL(api, OpenThreadToken()).WillOnce(Return(Token::NoThreadToken));
        EXPECT_CALL(api, OpenProcessToken()).WillOnce(Return(false));
        EXPECT_EQ(-126305, CodeOf(api));
    }
    {
        StrictMock<MockRebootApi> api;
        EXPECT_CALL(api, OpenThreadToken()).WillOnce(Return(Token::Opened));
        EXPECT_CALL(api, EnableShutdownPrivilege()).WillOnce(Return(false));
        EXPECT_EQ(-126305, CodeOf(api));
    }
    for (bool otherAccount : {false, true}) {
        StrictMock<MockRebootApi> api;
        EXPECT_CALL(api, OpenThreadToken()).WillOnce(Return(Token::Opened));
        EXPECT_CALL(api, EnableShutdownPrivilege()).WillOnce(Return(true));
        EXPECT_CALL(api, NetworkUserName()).WillOnce(Return(Name(L"a")));
        EXPECT_CALL(api, SessionUserName()).WillOnce(Return(Name(otherAccount ? L"b" : L"a")));
        if (otherAccount) {
            EXPECT_CALL(api, InitiateRestart(::testing::_)).WillOnce(Return(false));
        } else {
            EXPECT_CALL(api, ExitWindowsRestart(::testing::_)).WillOnce(Return(false));
        }
        EXPECT_EQ(-126305, CodeOf(api));
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
