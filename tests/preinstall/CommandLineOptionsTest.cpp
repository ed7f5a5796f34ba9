#include <gtest/gtest.h>

#include "preinstall/CommandLineOptions.h"
#include "preinstall/PackageManagerCommandLine.h"
#include "preinstall/PreInstallOptionObsolete.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

using Args = std::vector<std::wstring>;
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

TEST(CommandLineOptionsTest, ArgumentsToFlagsPassThroughAndObsoleteList) {
    const struct {
        Args args;
        std::string flags;
        std::wstring passThrough;
        Args obsolete;
    } cases[] = {
        {{}, "W", L"", {}},
        {{L"--accept-eulas", L"--prevent-reboot", L"--hide-completion", L"--autoinstall-orvikpkg",
          L"--no-winquel-mutex", L"--passive"},
         "PERHAMW",
         L"",
         {}},
        {{L"--quiet", L"--passive"}, "QW", L"", {}},  // quiet wins, both consumed
        {{L"--passive", L"--quiet"}, "QW", L"", {}},
        {{L"--PASSIVE"}, "W", L"--PASSIVE", {}},                 // case-sensitive
        {{L"--passive", L"--passive"}, "PW", L"--passive", {}},  // a repeat passes through
        {{L"--quiet", L"--quiet", L"x"}, "QW", L"--quiet x", {}},
        {{L"--install-orvikpm-with-product"}, "W", L"--install-orvikpm-with-product", {}},
        {{L"/cx", L"/q-", L"--passive=1"}, "W", L"/cx /q- --passive=1", {}},
        {{L"--log=C:\\a b", L""}, "W", L"--log=C:\\a b ", {}},  // no quoting is added
        {{L"", L"y"}, "W", L"y", {}},
        {{L"--bootstrapper", L"--quiet", L"k", L"/t:x", L"/C:F"},
         "QW",
         L"k",
         {L"--bootstrapper", L"/t:x", L"/C:F"}},
        {{L"/q"}, "PW", L"", {L"/q"}},  // obsolete, and makes the run passive
        {{L"/Q:basic"}, "PW", L"", {L"/Q:basic"}},
        {{L"/q", L"--passive"}, "PW", L"--passive", {L"/q"}},
    };
    for (const auto& c : cases) {
        const ParsedCommandLine parsed = ParseCommandLine(c.args);
        SCOPED_TRACE(::testing::PrintToString(c.args));
        EXPECT_EQ(c.flags, Flags(parsed.options));
        EXPECT_EQ(c.passThrough, parsed.options.passThroughArguments);
        EXPECT_EQ(c.obsolete, parsed.obsoleteArguments);
    }
}

TEST(CommandLineOptionsTest, ObsoleteOptionsIgnoreCase) {
    for (const wchar_t* obsolete : {L"--bootstrapper", L"--Bootstrapper", L"--UNFLATTEN-SUITE",
                                    L"/c", L"/C", L"/C:foo", L"/t:x", L"/T:", L"/r:1"}) {
        EXPECT_TRUE(IsObsoleteOption(obsolete)) << ::testing::PrintToString(obsolete);
    }
    for (const wchar_t* fine : {L"/cx", L"/t", L"/r", L"--bootstrapper2", L"c:", L"/q", L""}) {
        EXPECT_FALSE(IsObsoleteOption(fine)) << ::testing::PrintToString(fine);
    }
    const PreInstallOptionObsolete e({L"--bootstrapper", L"/t:x"}, L"source\\preinstall\\Main", 5);
    orvik::testing::ExpectError(
        e, {-126318, {L"--bootstrapper /t:x"}, L"source\\preinstall\\Main", 5});
}

const std::wstring kIni = L"C:\\Temp\\orvikpkg_preinstall_1\\orvikpkg.ini";
const std::wstring kConfig = L"--config=\"" + kIni + L"\"";

TEST(PackageManagerCommandLineTest, InstallParameters) {
    const std::wstring head =
        L"install orvik-package-manager orvik-package-manager-upgrader "
        L"orvik-package-manager-released-feed ";
    const std::wstring tail = L" --update-feeds --force-essential --force-locked";
    const std::wstring launch = L"launch orvik-package-manager --prevent-reboot";
    const auto none = InstallMode::None, suite = InstallMode::Suite;
    const struct {
        O options;
        InstallMode mode;
        std::wstring config, middle;
    } cases[] = {
        {Options(""), none, L"", launch},
        {Options(""), suite, L"", L"--hide-completion --prevent-reboot"},
        {Options("P"), suite, L"", L"--hide-completion --passive --prevent-reboot"},
        {Options("Q"), InstallMode::OnlineInstall, L"",
         L"--hide-completion --quiet --prevent-reboot"},
        {Options("AE"), suite, L"", L"--hide-completion --passive --accept-eulas --prevent-reboot"},
        {Options("PA"), suite, L"", L"--hide-completion --passive --prevent-reboot"},
        {Options("ERH"), none, L"", launch + L" --accept-eulas"},
        {Options("M", L"--x"), suite, kIni,
         L"--hide-completion --prevent-reboot " + kConfig + L" --no-winquel-mutex"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(head + c.middle + tail, BuildInstallParameters(c.options, c.mode, c.config));
    }
}

TEST(PackageManagerCommandLineTest, LaunchParameters) {
    const auto suite = InstallMode::Suite, online = InstallMode::OnlineInstall;
    const std::wstring uri = L"https://example.invalid/suite.xml", custom = L"C:\\p\\config.dat";
    const struct {
        O options;
        LaunchInputs inputs;
        std::wstring expected;
    } cases[] = {
        {Options("PERHMA", L"--install-orvikpm-with-product --foo"),
         {suite, false, L"", kIni, custom},
         L"install-suite suite.dat --passive --accept-eulas --prevent-reboot --hide-completion "
         L"--no-winquel-mutex --custom-resource-config=\"" +
             custom + L"\" " + kConfig + L" --install-orvikpm-with-product --foo"},
        {Options("Q"), {online, false, uri, kIni, {}}, L"--uri=" + uri + L" --quiet"},  // no config
        {Options("Q"),
         {online, true, uri, kIni, {}},
         L"--uri=" + uri + L" --quiet --install-orvikpm-with-product --update-feeds " + kConfig},
        {Options("PQA"),
         {suite, true, L"", kIni, {}},
         L"install-suite suite.dat --passive --install-orvikpm-with-product --update-feeds " +
             kConfig},
        {Options(""), {InstallMode::None, false, L"", kIni, {}}, kConfig},
        {Options("H", L"a b"),
         {InstallMode::None, false, L"", kIni, {}},
         L"--hide-completion " + kConfig + L" a b"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.expected, BuildLaunchParameters(c.options, c.inputs));
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
