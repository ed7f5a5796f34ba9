#include <gtest/gtest.h>

#include "preinstall/PackageManagerCommandLine.h"

namespace orvik::pkgui::preinstall {
namespace {

using O = CommandLineOptions;
const std::wstring kHead =
    L"install orvik-package-manager orvik-package-manager-upgrader "
    L"orvik-package-manager-released-feed ";
const std::wstring kTail = L" --update-feeds --force-essential --force-locked";
const std::wstring kIni = L"C:\\Temp\\orvikpkg_preinstall_1\\orvikpkg.ini";
const std::wstring kConfig = L"--config=\"" + kIni + L"\"";
const std::wstring kUri = L"--uri=https://example.invalid/suite.xml";

CommandLineOptions Options(std::initializer_list<bool O::*> flags, std::wstring passThrough = L"") {
    CommandLineOptions options;
    for (auto flag : flags) {
        options.*flag = true;
    }
    options.passThroughArguments = std::move(passThrough);
    return options;
}

TEST(PackageManagerCommandLineTest, InstallParameters) {
    const struct {
        CommandLineOptions options;
        InstallMode mode;
        std::wstring config;
        std::wstring middle;
    } cases[] = {
        {Options({}), InstallMode::None, L"", L"launch orvik-package-manager --prevent-reboot"},
        {Options({}), InstallMode::Suite, L"", L"--hide-completion --prevent-reboot"},
        {Options({&O::passive}), InstallMode::Suite, L"",
         L"--hide-completion --passive --prevent-reboot"},
        {Options({&O::quiet}), InstallMode::OnlineInstall, L"",
         L"--hide-completion --quiet --prevent-reboot"},
        {Options({&O::autoInstall, &O::acceptEulas}), InstallMode::Suite, L"",
         L"--hide-completion --passive --accept-eulas --prevent-reboot"},
        {Options({&O::passive, &O::autoInstall}), InstallMode::Suite, L"",
         L"--hide-completion --passive --prevent-reboot"},
        {Options({&O::acceptEulas, &O::preventReboot, &O::hideCompletion}), InstallMode::None, L"",
         L"launch orvik-package-manager --prevent-reboot --accept-eulas"},
        {Options({&O::noWinquelMutex}, L"--x"), InstallMode::Suite, kIni,
         L"--hide-completion --prevent-reboot " + kConfig + L" --no-winquel-mutex"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(kHead + c.middle + kTail, BuildInstallParameters(c.options, c.mode, c.config));
    }
}

TEST(PackageManagerCommandLineTest, LaunchParameters) {
    const auto suite = InstallMode::Suite, online = InstallMode::OnlineInstall;
    const struct {
        CommandLineOptions options;
        LaunchInputs inputs;
        std::wstring expected;
    } cases[] = {
        {Options({&O::passive, &O::acceptEulas, &O::preventReboot, &O::hideCompletion,
                  &O::noWinquelMutex, &O::autoInstall},
                 L"--install-orvikpm-with-product --foo"),
         {suite, false, L"", kIni, L"C:\\p\\resources\\config.dat"},
         L"install-suite suite.dat --passive --accept-eulas --prevent-reboot --hide-completion "
         L"--no-winquel-mutex --custom-resource-config=\"C:\\p\\resources\\config.dat\" " +
             kConfig + L" --install-orvikpm-with-product --foo"},
        {Options({&O::quiet}),
         {online, false, L"https://example.invalid/suite.xml", kIni, {}},
         kUri + L" --quiet"},  // no config file
        {Options({&O::quiet}),
         {online, true, L"https://example.invalid/suite.xml", kIni, {}},
         kUri + L" --quiet --install-orvikpm-with-product --update-feeds " + kConfig},
        {Options({&O::passive, &O::quiet, &O::autoInstall}),
         {suite, true, L"", kIni, {}},
         L"install-suite suite.dat --passive --install-orvikpm-with-product --update-feeds " +
             kConfig},
        {Options({}), {InstallMode::None, false, L"", kIni, {}}, kConfig},
        {Options({&O::hideCompletion}, L"a b"),
         {InstallMode::None, false, L"", kIni, {}},
         L"--hide-completion " + kConfig + L" a b"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.expected, BuildLaunchParameters(c.options, c.inputs));
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
