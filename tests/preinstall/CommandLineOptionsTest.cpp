#include <gtest/gtest.h>

#include "preinstall/CommandLineOptions.h"
#include "preinstall/PreInstallOptionObsolete.h"
#include "shared/ErrorMessage.h"

namespace orvik::pkgui::preinstall {
namespace {

using Args = std::vector<std::wstring>;

TEST(CommandLineOptionsTest, EachOptionSetsItsFlag) {
    const ParsedCommandLine parsed =
        ParseCommandLine({L"--accept-eulas", L"--prevent-reboot", L"--hide-completion",
                          L"--autoinstall-orvikpkg", L"--no-winquel-mutex", L"--passive"});
    const CommandLineOptions& o = parsed.options;
    EXPECT_TRUE(o.acceptEulas && o.preventReboot && o.hideCompletion && o.autoInstall &&
                o.noWinquelMutex && o.passive);
    EXPECT_FALSE(o.quiet);
    EXPECT_TRUE(o.installWithProduct);
    EXPECT_EQ(L"", o.passThroughArguments);
    EXPECT_TRUE(parsed.obsoleteArguments.empty());

    const CommandLineOptions none = ParseCommandLine({}).options;
    EXPECT_FALSE(none.passive || none.quiet || none.acceptEulas || none.preventReboot ||
                 none.hideCompletion || none.autoInstall || none.noWinquelMutex);
    EXPECT_TRUE(none.installWithProduct);
}

TEST(CommandLineOptionsTest, QuietWinsOverPassiveInEitherOrder) {
    for (const Args& args : {Args{L"--quiet", L"--passive"}, Args{L"--passive", L"--quiet"}}) {
        const ParsedCommandLine parsed = ParseCommandLine(args);
        EXPECT_TRUE(parsed.options.quiet);
        EXPECT_FALSE(parsed.options.passive);
        EXPECT_EQ(L"", parsed.options.passThroughArguments);  // both consumed
    }
}

TEST(CommandLineOptionsTest, UnrecognisedArgumentsPassThroughUnchanged) {
    struct Case {
        Args args;
        std::wstring passThrough;
    };
    const Case cases[] = {
        {{L"--PASSIVE"}, L"--PASSIVE"},                // options are case-sensitive
        {{L"--passive", L"--passive"}, L"--passive"},  // a repeat is not recognised
        {{L"--quiet", L"--quiet", L"x"}, L"--quiet x"},
        {{L"--install-orvikpm-with-product"}, L"--install-orvikpm-with-product"},
        {{L"/cx", L"/q-", L"--passive=1"}, L"/cx /q- --passive=1"},
        {{L"--log=C:\\a b", L""}, L"--log=C:\\a b "},  // no quoting is added
        {{L"", L"y"}, L"y"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.passThrough, ParseCommandLine(c.args).options.passThroughArguments)
            << testing::PrintToString(c.args);
    }
    EXPECT_TRUE(ParseCommandLine({L"--passive", L"--passive"}).options.passive);
}

TEST(CommandLineOptionsTest, ObsoleteOptionsIgnoreCase) {
    for (const wchar_t* obsolete : {L"--bootstrapper", L"--Bootstrapper", L"--UNFLATTEN-SUITE",
                                    L"/c", L"/C", L"/C:foo", L"/t:x", L"/T:", L"/r:1"}) {
        EXPECT_TRUE(IsObsoleteOption(obsolete)) << testing::PrintToString(obsolete);
    }
    for (const wchar_t* fine : {L"/cx", L"/t", L"/r", L"--bootstrapper2", L"c:", L"/q", L""}) {
        EXPECT_FALSE(IsObsoleteOption(fine)) << testing::PrintToString(fine);
    }
}

TEST(CommandLineOptionsTest, ObsoleteArgumentsAreListedInOrder) {
    const ParsedCommandLine parsed =
        ParseCommandLine({L"--bootstrapper", L"--quiet", L"keep", L"/t:x", L"/C:Foo"});
    EXPECT_EQ((Args{L"--bootstrapper", L"/t:x", L"/C:Foo"}), parsed.obsoleteArguments);
    EXPECT_EQ(L"keep", parsed.options.passThroughArguments);
    EXPECT_TRUE(parsed.options.quiet);
}

TEST(CommandLineOptionsTest, SlashQIsObsoleteAndMakesTheRunPassive) {
    for (const wchar_t* q : {L"/q", L"/Q", L"/q:a", L"/Q:basic"}) {
        const ParsedCommandLine parsed = ParseCommandLine({q});
        EXPECT_TRUE(parsed.options.passive) << testing::PrintToString(q);
        EXPECT_EQ(Args{q}, parsed.obsoleteArguments);
        EXPECT_EQ(L"", parsed.options.passThroughArguments);
    }
    // After /q, "--passive" is no longer recognised.
    EXPECT_EQ(L"--passive", ParseCommandLine({L"/q", L"--passive"}).options.passThroughArguments);
}

TEST(PreInstallOptionObsoleteTest, NamesTheObsoleteArgumentsInOrder) {
    const ParsedCommandLine parsed = ParseCommandLine({L"--bootstrapper", L"a", L"/t:x"});
    const PreInstallOptionObsolete e(parsed.obsoleteArguments, L"source\\preinstall\\Main", 5);
    EXPECT_EQ(-126318, e.GetErrorCode());
    EXPECT_EQ(1u, e.GetMessageArgumentCount());
    EXPECT_EQ(
        L"The command-line includes one or more obsolete options. Remove '--bootstrapper "
        L"/t:x' from the command-line and reinstall.",
        orvik::pkgshared::FormatErrorMessage(e.GetErrorCode(), 1033, e.GetMessageArgument0()));
    EXPECT_STREQ(L"source\\preinstall\\Main", e.GetSourceFile());
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
