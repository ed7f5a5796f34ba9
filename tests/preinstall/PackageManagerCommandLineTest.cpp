#include <gtest/gtest.h>

#include "preinstall/PackageManagerCommandLine.h"

namespace orvik::pkgui::preinstall {
namespace {

const std::wstring kInstallHead =
    L"install orvik-package-manager orvik-package-manager-upgrader "
    L"orvik-package-manager-released-feed ";
const std::wstring kInstallTail = L" --update-feeds --force-essential --force-locked";
const std::wstring kConfig = L"C:\\Temp\\orvikpkg_preinstall_1\\orvikpkg.ini";

CommandLineOptions Options(std::initializer_list<bool CommandLineOptions::*> flags,
                           std::wstring passThrough = L"") {
    CommandLineOptions options;
    for (auto flag : flags) {
        options.*flag = true;
    }
    options.passThroughArguments = std::move(passThrough);
    return options;
}

using O = CommandLineOptions;

TEST(InstallParametersTest, ModePieceAndFlags) {
    struct Case {
        CommandLineOptions options;
        InstallMode mode;
        std::wstring config;
        std::wstring middle;
    };
    const Case cases[] = {
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
        {Options({&O::noWinquelMutex}, L"--x"), InstallMode::Suite, kConfig,
         L"--hide-completion --prevent-reboot --config=\"" + kConfig + L"\" --no-winquel-mutex"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(kInstallHead + c.middle + kInstallTail,
                  BuildInstallParameters(c.options, c.mode, c.config));
    }
}

TEST(LaunchParametersTest, SuiteLaunchCarriesEveryFlagInOrder) {
    const CommandLineOptions options =
        Options({&O::passive, &O::acceptEulas, &O::preventReboot, &O::hideCompletion,
                 &O::noWinquelMutex, &O::autoInstall},
                L"--install-orvikpm-with-product --foo");
    LaunchInputs inputs;
    inputs.mode = InstallMode::Suite;
    inputs.configFile = kConfig;
    inputs.customResourceConfig = L"C:\\p\\resources\\config.dat";
    EXPECT_EQ(
        L"install-suite suite.dat --passive --accept-eulas --prevent-reboot "
        L"--hide-completion --no-winquel-mutex "
        L"--custom-resource-config=\"C:\\p\\resources\\config.dat\" --config=\"" +
            kConfig + L"\" --install-orvikpm-with-product --foo",
        BuildLaunchParameters(options, inputs));
}

TEST(LaunchParametersTest, OnlineInstallOmitsTheConfigUnlessWithProduct) {
    LaunchInputs inputs;
    inputs.mode = InstallMode::OnlineInstall;
    inputs.downloadUri = L"https://example.invalid/suite.xml";
    inputs.configFile = kConfig;
    EXPECT_EQ(L"--uri=https://example.invalid/suite.xml --quiet",
              BuildLaunchParameters(Options({&O::quiet}), inputs));

    inputs.withProduct = true;
    EXPECT_EQ(
        L"--uri=https://example.invalid/suite.xml --quiet --install-orvikpm-with-product "
        L"--update-feeds --config=\"" +
            kConfig + L"\"",
        BuildLaunchParameters(Options({&O::quiet}), inputs));
}

TEST(LaunchParametersTest, QuietIsNotAddedWhenPassiveAndAutoInstallIsNotPassed) {
    LaunchInputs inputs;
    inputs.mode = InstallMode::Suite;
    inputs.withProduct = true;
    inputs.configFile = kConfig;
    EXPECT_EQ(
        L"install-suite suite.dat --passive --install-orvikpm-with-product --update-feeds "
        L"--config=\"" +
            kConfig + L"\"",
        BuildLaunchParameters(Options({&O::passive, &O::quiet, &O::autoInstall}), inputs));
}

TEST(LaunchParametersTest, ModeNoneStartsWithTheFlags) {
    LaunchInputs inputs;
    inputs.configFile = kConfig;
    EXPECT_EQ(L"--config=\"" + kConfig + L"\"", BuildLaunchParameters(Options({}), inputs));
    EXPECT_EQ(L"--hide-completion --config=\"" + kConfig + L"\" a b",
              BuildLaunchParameters(Options({&O::hideCompletion}, L"a b"), inputs));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
