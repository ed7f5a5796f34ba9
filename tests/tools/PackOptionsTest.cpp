#include <gtest/gtest.h>

#include "pack/PackOptions.h"

namespace orvik::tools::pack {
namespace {

TEST(PackOptionsTest, ReadsEveryOptionAndRefusesWrongCommandLines) {
    std::wstring error;
    const auto options =
        ParsePackOptions({L"--output", L"o.exe", L"--force", L"--template", L"t.exe",
                          L"--payload-dir", L"d", L"--online-install", L"x.xml"},
                         error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(L"t.exe|o.exe|d||x.xml|1",
              options->templatePath + L"|" + options->outputPath + L"|" +
                  options->payloadDirectory + L"|" + options->payloadFile + L"|" +
                  options->onlineInstallFile + L"|" + (options->force ? L"1" : L"0"));
    const std::wstring t = L"--template", o = L"--output";
    const std::pair<std::vector<std::wstring>, std::wstring> refused[] = {
        {{}, L"--template and --output are required"},
        {{t, L"t"}, L"--template and --output are required"},
        {{t, L"t", o}, L"--output needs a value"},
        {{t, L"t", o, L""}, L"--output needs a value"},
        {{t, L"t", t, L"u"}, L"--template given twice"},
        {{t, L"t", o, L"o"},
         L"nothing to embed: give a payload, an online-install description or both"},
        {{t, L"t", o, L"o", L"--payload", L"p", L"--payload-dir", L"d"},
         L"--payload-dir and --payload exclude each other"},
        {{t, L"t", o, L"o", L"-f"}, L"unknown argument '-f'"},
    };
    for (const auto& [arguments, expected] : refused) {
        EXPECT_FALSE(ParsePackOptions(arguments, error));
        EXPECT_EQ(expected, error);
    }
}

}  // namespace
}  // namespace orvik::tools::pack
