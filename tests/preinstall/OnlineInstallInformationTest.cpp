#include <gtest/gtest.h>

#include <pugixml.hpp>

#include "preinstall/OnlineInstallInformation.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

std::vector<std::wstring> Read(const std::string& xml) {
    OnlineInstallInformation information;
    information.Load(MemoryDataResource(xml.data(), static_cast<std::uint32_t>(xml.size())));
    EXPECT_TRUE(information.present);
    return {information.downloadItemId, information.downloadItemUri, information.progressTitle};
}

std::string Doc(const char* version, const std::string& body) {
    const std::string schema = version ? " schemaVersion=\"" + std::string(version) + "\"" : "";
    return "<orvikpkgOnlineInstall" + schema + ">" + body + "</orvikpkgOnlineInstall>";
}

TEST(OnlineInstallInformationTest, XmlToRecordOrError) {
    const std::string body =
        "<downloadItem id=\"s\" uri=\"https://x.invalid/s\"/><progressTitle value=\"\xC3\x89t\"/>";
    const std::wstring max = L"26.5.0.49297", root = L"orvikpkgOnlineInstall";
    const std::wstring badStart = std::to_wstring(pugi::status_bad_start_element);
    const struct {
        std::string xml;
        std::int32_t code, line;           // 0: read
        std::vector<std::wstring> values;  // id, uri and title read, or the error's arguments
    } cases[] = {
        {Doc("26.5.0.49297", body), 0, 0, {L"s", L"https://x.invalid/s", L"\u00C9t"}},
        {"<orvikpkgOnlineInstall", -126312, 88, {badStart, L"Error parsing start element tag"}},
        {Doc("26.5.1.0", body), -126313, 96, {L"26.5.1.0", max}},
        {Doc(nullptr, body), -126313, 96, {L"", max}},
        {Doc("1", "<progressTitle/>"), -126314, 105, {root, L"downloadItem"}},
        {Doc("1", "<downloadItem/>"), -126314, 105, {root, L"progressTitle"}},
        {"<OrvikpkgOnlineInstall schemaVersion=\"1\"/>", -126314, 105, {L"", root}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.xml);
        if (c.code == 0) {
            EXPECT_EQ(c.values, Read(c.xml));
        } else {
            orvik::testing::ExpectThrows(
                [&] { Read(c.xml); },
                {c.code, c.values, L"source\\preinstall\\OnlineInstallInformation", c.line});
        }
    }
    OnlineInstallInformation absent;
    absent.progressTitle = L"stale";
    absent.Load(MemoryDataResource());
    EXPECT_EQ(std::pair(false, std::wstring()), std::pair(absent.present, absent.progressTitle));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
