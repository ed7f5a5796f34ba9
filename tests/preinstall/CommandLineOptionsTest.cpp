#include <gtest/gtest.h>

#include "preinstall/CommandLineOptions.h"
#include "preinstall/PackageManagerCommandLine.h"
#include "preinstall/PreInstallOptionObsolete.h"
#include "preinstall/RebootSystem.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

using O = CommandLineOptions;
constexpr std::pair<char, bool O::*> kLetters[] = {
    {'P', &O::passive},        {'Q', &O::quiet},
    {'E', &O::acceptEulas},    {'R', &O::preventReboot},
    {'H', &O::hideCompletion}, {'A', &O::autoInstall},
    {'M', &O::noWinquelMutex}, {'W', &O::installWithProduct}};

std::string Flags(const O& options) {
    std::string letters;
    for (const auto& [letter, flag] : kLetters) {
        letters += options.*flag ? std::string(1, letter) : "";
    }
    return letters;
}

O Options(const std::string& letters, std::wstring passThrough = L"") {
    O options;
    for (const auto& [letter, flag] : kLetters) {
        options.*flag = letters.find(letter) != std::string::npos;
    }
    options.passThroughArguments = std::move(passThrough);
    return options;
}

// The pieces of `text` between '|'; none for "".
std::vector<std::wstring> Split(const std::wstring& text) {
    std::vector<std::wstring> pieces;
    for (size_t start = 0, end = 0; !text.empty() && end != std::wstring::npos; start = end + 1) {
        end = text.find(L'|', start);
        pieces.push_back(text.substr(start, end - start));
    }
    return pieces;
}

TEST(CommandLineOptionsTest, ArgumentsToFlagsPassThroughAndObsoleteList) {
    const struct {
        std::wstring args;
        std::string flags;
        std::wstring passThrough, obsolete;
    } cases[] = {
        {L"", "W", L"", L""},
        {L"--accept-eulas|--prevent-reboot|--hide-completion|--autoinstall-orvikpkg", "ERHAW", L"",
         L""},
        {L"--quiet|--passive|--no-winquel-mutex", "QMW", L"", L""},
        {L"--passive|--quiet", "QW", L"", L""},
        {L"--passive|--passive", "PW", L"--passive", L""},
        {L"/cx|/t|/r|/q-|--bootstrapper2", "W", L"/cx /t /r /q- --bootstrapper2", L""},
        {L"|a b|", "W", L"a b ", L""},
        {L"--Bootstrapper|k|--UNFLATTEN-SUITE|/c|/C:F|/t:|/R:1", "W", L"k",
         L"--Bootstrapper|--UNFLATTEN-SUITE|/c|/C:F|/t:|/R:1"},
        {L"/q|/Q:basic", "PW", L"", L"/q|/Q:basic"},
    };
    for (const auto& c : cases) {
        const ParsedCommandLine parsed = ParseCommandLine(Split(c.args));
        SCOPED_TRACE(c.args);
        EXPECT_EQ(c.flags, Flags(parsed.options));
        EXPECT_EQ(c.passThrough, parsed.options.passThroughArguments);
        EXPECT_EQ(Split(c.obsolete), parsed.obsoleteArguments);
    }
    const PreInstallOptionObsolete e({L"/c", L"/t:x"}, L"source\\preinstall\\Main", 5);
    orvik::testing::ExpectError(e, {-126318, {L"/c /t:x"}, L"source\\preinstall\\Main", 5});
}

const std::wstring kIni = L"C:\\t\\o.ini", kConfig = L"--config=\"C:\\t\\o.ini\"";

TEST(PackageManagerCommandLineTest, InstallParameters) {
    const std::wstring head =
        L"install orvik-package-manager orvik-package-manager-upgrader "
        L"orvik-package-manager-released-feed ";
    const std::wstring tail = L" --update-feeds --force-essential --force-locked";
    const std::wstring launch = L"launch orvik-package-manager --prevent-reboot";
    const std::wstring hide = L"--hide-completion ";
    const auto none = InstallMode::None, suite = InstallMode::Suite;
    const struct {
        O options;
        InstallMode mode;
        std::wstring config, middle;
    } cases[] = {
        {Options(""), none, L"", launch},
        {Options(""), suite, L"", hide + L"--prevent-reboot"},
        {Options("PA"), suite, L"", hide + L"--passive --prevent-reboot"},
        {Options("Q"), InstallMode::OnlineInstall, L"", hide + L"--quiet --prevent-reboot"},
        {Options("AE"), suite, L"", hide + L"--passive --accept-eulas --prevent-reboot"},
        {Options("ERH"), none, L"", launch + L" --accept-eulas"},
        {Options("M", L"x"), suite, kIni,
         hide + L"--prevent-reboot " + kConfig + L" --no-winquel-mutex"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(head + c.middle + tail, BuildInstallParameters(c.options, c.mode, c.config));
    }
}

TEST(PackageManagerCommandLineTest, LaunchParameters) {
    const auto suite = InstallMode::Suite, online = InstallMode::OnlineInstall;
    const std::wstring uri = L"--uri=https://x/s --quiet",
                       with = L" --install-orvikpm-with-product";
    const struct {
        O options;
        LaunchInputs inputs;
        std::wstring expected;
    } cases[] = {
        {Options("PERHMA", L"--install-orvikpm-with-product --foo"),
         {suite, false, L"", kIni, L"C:\\c.dat"},
         L"install-suite suite.dat --passive --accept-eulas --prevent-reboot --hide-completion "
         L"--no-winquel-mutex --custom-resource-config=\"C:\\c.dat\" " +
             kConfig + with + L" --foo"},
        {Options("Q"), {online, false, L"https://x/s", kIni, {}}, uri},
        {Options("Q"),
         {online, true, L"https://x/s", kIni, {}},
         uri + with + L" --update-feeds " + kConfig},
        {Options("PQ"),
         {suite, true, L"", kIni, {}},
         L"install-suite suite.dat --passive" + with + L" --update-feeds " + kConfig},
        {Options("H", L"a b"),
         {InstallMode::None, false, L"", kIni, {}},
         L"--hide-completion " + kConfig + L" a b"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.expected, BuildLaunchParameters(c.options, c.inputs));
    }
}

using Token = IRebootApi::TokenResult;
using Name = std::optional<std::wstring>;
struct Case {
    Token thread;
    std::string refused;  // the step that answers no: "process", "privilege" or "restart"
    Name network, session;
    std::wstring calls;
};

// Answers from `c` and records the calls, in order.
struct FakeRebootApi : IRebootApi {
    explicit FakeRebootApi(const Case& c) : c(c) {}
    template <typename T>
    T Call(const std::wstring& call, T answer, std::uint32_t why = 0) {
        calls += call + (why != 0 ? std::to_wstring(why) + L" " : L"");
        return answer;
    }
    Token OpenThreadToken() override { return Call(L"thread ", c.thread); }
    bool OpenProcessToken() override { return Call(L"process ", c.refused != "process"); }
    bool EnableShutdownPrivilege() override {
        return Call(L"privilege ", c.refused != "privilege");
    }
    Name NetworkUserName() override { return Call(L"network ", c.network); }
    Name SessionUserName() override { return Call(L"session ", c.session); }
    bool InitiateRestart(std::uint32_t why) override { return Call(L"init ", Started(), why); }
    bool ExitWindowsRestart(std::uint32_t why) override { return Call(L"exit ", Started(), why); }
    bool Started() const { return c.refused != "restart"; }
    const Case& c;
    std::wstring calls;
};

TEST(RebootSystemTest, RestartPathAndEveryFailure) {
    const std::wstring all = L"thread privilege network session ", exit = L"exit 2147745794 ";
    const std::wstring init = L"init 2147745794 ";
    const Token opened = Token::Opened, none = Token::NoThreadToken;
    const Case cases[] = {
        {opened, "", L"anna", L"anna", all + exit},
        {none, "", L"admin", L"Admin", L"thread process privilege network session " + init},
        {opened, "", {}, L"anna", L"thread privilege network " + exit},
        {Token::Failed, "", {}, {}, L"thread "},
        {none, "process", {}, {}, L"thread process "},
        {opened, "privilege", {}, {}, L"thread privilege "},
        {opened, "restart", L"a", L"b", all + init},
    };
    for (const Case& c : cases) {
        FakeRebootApi api(c);
        SCOPED_TRACE(c.calls);
        if (c.thread != Token::Failed && c.refused.empty()) {
            RebootSystem(api);
        } else if (const auto e = orvik::testing::Thrown([&] { RebootSystem(api); })) {
            EXPECT_EQ(-126305, e->GetErrorCode());
        }
        EXPECT_EQ(c.calls, api.calls);
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
