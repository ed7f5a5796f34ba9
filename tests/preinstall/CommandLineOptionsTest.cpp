#include <gtest/gtest.h>

#include "preinstall/CommandLineOptions.h"
#include "preinstall/PreInstallOptionObsolete.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

using Args = std::vector<std::wstring>;

// One letter per set flag: Passive Quiet Eulas Reboot Hide Auto Mutex With-product.
std::string Flags(const CommandLineOptions& o) {
    std::string flags;
    for (const auto& [set, letter] : {std::pair{o.passive, 'P'},
                                      {o.quiet, 'Q'},
                                      {o.acceptEulas, 'E'},
                                      {o.preventReboot, 'R'},
                                      {o.hideCompletion, 'H'},
                                      {o.autoInstall, 'A'},
                                      {o.noWinquelMutex, 'M'},
                                      {o.installWithProduct, 'W'}}) {
        flags += set ? std::string(1, letter) : "";
    }
    return flags;
}

TEST(CommandLineOptionsTest, ArgumentsToFlagsPassThroughAndObsoleteList) {
    struct Case {
        Args args;
        std::string flags;
        std::wstring passThrough;
        Args obsolete;
    };
    const Case cases[] = {
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
        {{L"--bootstrapper", L"--quiet", L"keep", L"/t:x", L"/C:Foo"},
         "QW",
         L"keep",
         {L"--bootstrapper", L"/t:x", L"/C:Foo"}},
        {{L"/q"}, "PW", L"", {L"/q"}},  // obsolete, and makes the run passive
        {{L"/Q:basic"}, "PW", L"", {L"/Q:basic"}},
        {{L"/q", L"--passive"}, "PW", L"--passive", {L"/q"}},
    };
    for (const Case& c : cases) {
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

}  // namespace
}  // namespace orvik::pkgui::preinstall
