#include <gtest/gtest.h>

#include "pack/PackOptions.h"

namespace orvik::tools::pack {
namespace {

TEST(PackOptionsTest, ReadsEveryOption) {
    std::wstring error;
    const auto options =
        ParsePackOptions({L"--output", L"o.exe", L"--force", L"--template", L"t.exe",
                          L"--payload-dir", L"d", L"--online-install", L"x.xml"},
                         error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(L"t.exe", options->templatePath);
    EXPECT_EQ(L"o.exe", options->outputPath);
    EXPECT_EQ(L"d", options->payloadDirectory);
    EXPECT_EQ(L"", options->payloadFile);
    EXPECT_EQ(L"x.xml", options->onlineInstallFile);
    EXPECT_TRUE(options->force);
}

TEST(PackOptionsTest, RefusesWrongCommandLines) {
    const std::pair<std::vector<std::wstring>, std::wstring> cases[] = {
        {{}, L"--template and --output are required"},
        {{L"--template", L"t"}, L"--template and --output are required"},
        {{L"--template", L"t", L"--output"}, L"--output needs a value"},
        {{L"--template", L"t", L"--output", L""}, L"--output needs a value"},
        {{L"--template", L"t", L"--template", L"u"}, L"--template given twice"},
        {{L"--template", L"t", L"--output", L"o"},
         L"nothing to embed: give a payload, an online-install description or both"},
        {{L"--template", L"t", L"--output", L"o", L"--payload", L"p", L"--payload-dir", L"d"},
         L"--payload-dir and --payload exclude each other"},
        {{L"--template", L"t", L"--output", L"o", L"-f"}, L"unknown argument '-f'"},
    };
    for (const auto& [arguments, expected] : cases) {
        std::wstring error;
        EXPECT_FALSE(ParsePackOptions(arguments, error));
        EXPECT_EQ(expected, error);
    }
}

}  // namespace
}  // namespace orvik::tools::pack
