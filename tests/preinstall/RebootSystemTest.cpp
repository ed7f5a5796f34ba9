#include <gtest/gtest.h>

#include "preinstall/RebootSystem.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

using Token = IRebootApi::TokenResult;
using Name = std::optional<std::wstring>;

// Answers from its fields and records the calls, in order.
struct FakeRebootApi : IRebootApi {
    FakeRebootApi(Token thread = Token::Opened, bool process = true, bool privilege = true,
                  bool started = true, Name network = {}, Name session = {})
        : thread(thread),
          process(process),
          privilege(privilege),
          started(started),
          network(std::move(network)),
          session(std::move(session)) {}
    template <typename T>
    T Call(const std::wstring& call, T answer) {
        calls += call;
        return answer;
    }
    Token OpenThreadToken() override { return Call(L"thread ", thread); }
    bool OpenProcessToken() override { return Call(L"process ", process); }
    bool EnableShutdownPrivilege() override { return Call(L"privilege ", privilege); }
    Name NetworkUserName() override { return Call(L"network ", network); }
    Name SessionUserName() override { return Call(L"session ", session); }
    bool InitiateRestart(std::uint32_t why) override {
        return Call(L"initiate " + std::to_wstring(why), started);
    }
    bool ExitWindowsRestart(std::uint32_t why) override {
        return Call(L"exit " + std::to_wstring(why), started);
    }
    Token thread;
    bool process, privilege, started;
    Name network, session;
    std::wstring calls;
};

TEST(RebootSystemTest, RestartPathAndEveryFailure) {
    const std::wstring exit = L"thread privilege network session exit 2147745794";
    const struct {
        FakeRebootApi api;
        std::wstring calls;
        bool fails;
    } cases[] = {
        {{Token::Opened, true, true, true, L"anna", L"anna"}, exit, false},
        {{Token::NoThreadToken, true, true, true, L"admin", L"Admin"},  // case counts
         L"thread process privilege network session initiate 2147745794",
         false},
        {{Token::Opened, true, true, true, {}, L"anna"},
         L"thread privilege network exit 2147745794",
         false},
        {{Token::Opened, true, true, true, L"anna", {}}, exit, false},
        {{Token::Failed}, L"thread ", true},
        {{Token::NoThreadToken, false}, L"thread process ", true},
        {{Token::Opened, true, false}, L"thread privilege ", true},
        {{Token::Opened, true, true, false, L"a", L"a"}, exit, true},
        {{Token::Opened, true, true, false, L"a", L"b"},
         L"thread privilege network session initiate 2147745794",
         true},
    };
    for (auto c : cases) {
        SCOPED_TRACE(c.calls);
        if (!c.fails) {
            RebootSystem(c.api);
        } else if (const auto e = orvik::testing::Thrown([&] { RebootSystem(c.api); })) {
            EXPECT_EQ(-126305, e->GetErrorCode());
            EXPECT_STREQ(L"source\\preinstall\\Main", e->GetSourceFile());
        }
        EXPECT_EQ(c.calls, c.api.calls);
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
