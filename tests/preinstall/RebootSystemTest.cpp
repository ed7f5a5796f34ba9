#include <gtest/gtest.h>

#include "preinstall/RebootSystem.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

using Token = IRebootApi::TokenResult;
using Name = std::optional<std::wstring>;
struct Answers {
    Token thread;
    bool process, privilege, started;
    Name network, session;
};

// Answers from `a` and records the calls, in order.
struct FakeRebootApi : IRebootApi {
    explicit FakeRebootApi(Answers answers) : a(std::move(answers)) {}
    template <typename T>
    T Call(const std::wstring& call, T answer, std::uint32_t why = 0) {
        calls += call + (why != 0 ? std::to_wstring(why) + L" " : L"");
        return answer;
    }
    Token OpenThreadToken() override { return Call(L"thread ", a.thread); }
    bool OpenProcessToken() override { return Call(L"process ", a.process); }
    bool EnableShutdownPrivilege() override { return Call(L"privilege ", a.privilege); }
    Name NetworkUserName() override { return Call(L"network ", a.network); }
    Name SessionUserName() override { return Call(L"session ", a.session); }
    bool InitiateRestart(std::uint32_t why) override { return Call(L"init ", a.started, why); }
    bool ExitWindowsRestart(std::uint32_t why) override { return Call(L"exit ", a.started, why); }
    Answers a;
    std::wstring calls;
};

TEST(RebootSystemTest, RestartPathAndEveryFailure) {
    const std::wstring all = L"thread privilege network session ", exit = L"exit 2147745794 ";
    const std::wstring init = L"init 2147745794 ";
    const Token opened = Token::Opened;
    const struct {
        Answers answers;
        std::wstring calls;
        bool fails;
    } cases[] = {
        {{opened, true, true, true, L"anna", L"anna"}, all + exit, false},
        {{Token::NoThreadToken, true, true, true, L"admin", L"Admin"},
         L"thread process privilege network session " + init,
         false},
        {{opened, true, true, true, {}, L"anna"}, L"thread privilege network " + exit, false},
        {{opened, true, true, true, L"anna", {}}, all + exit, false},
        {{Token::Failed, true, true, true, {}, {}}, L"thread ", true},
        {{Token::NoThreadToken, false, true, true, {}, {}}, L"thread process ", true},
        {{opened, true, false, true, {}, {}}, L"thread privilege ", true},
        {{opened, true, true, false, L"a", L"b"}, all + init, true},
    };
    for (const auto& c : cases) {
        FakeRebootApi api(c.answers);
        SCOPED_TRACE(c.calls);
        if (!c.fails) {
            RebootSystem(api);
        } else if (const auto e = orvik::testing::Thrown([&] { RebootSystem(api); })) {
            EXPECT_EQ(-126305, e->GetErrorCode());
        }
        EXPECT_EQ(c.calls, api.calls);
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
