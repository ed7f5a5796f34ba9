#include <gtest/gtest.h>

#include <map>

#include <pugixml.hpp>

#include "preinstall/OnlineInstallInformation.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

std::vector<std::wstring> Read(const std::string& xml) {
    OnlineInstallInformation information;
    information.progressTitle = L"stale";
    information.Load(MemoryDataResource(xml.data(), static_cast<std::uint32_t>(xml.size())));
    EXPECT_TRUE(information.present);
    return {information.downloadItemId, information.downloadItemUri, information.progressTitle};
}

const std::string kBody =
    "<downloadItem id=\"suite-2026\" uri=\"https://x.invalid/s\"/>"
    "<progressTitle value=\"Installing Suite\"/>";

std::string Doc(const char* version, const std::string& body = kBody) {
    const std::string schema = version ? " schemaVersion=\"" + std::string(version) + "\"" : "";
    return "<?xml version=\"1.0\"?><orvikpkgOnlineInstall" + schema + ">" + body +
           "</orvikpkgOnlineInstall>";
}

std::string Titled(const std::string& title) {
    return "<downloadItem/><progressTitle value=\"" + title + "\"/>";
}

TEST(OnlineInstallInformationTest, XmlToRecordOrError) {
    const std::wstring max = L"26.5.0.49297", root = L"orvikpkgOnlineInstall";
    const std::map<std::int32_t, std::int32_t> lines = {
        {-126312, 88}, {-126313, 96}, {-126314, 105}};
    const std::u16string utf16 =
        u"\uFEFF<orvikpkgOnlineInstall schemaVersion=\"26.5\"><downloadItem/>"
        u"<progressTitle value=\"\u30A4\u30F3\u30B9\u30C8\u30FC\u30EB\"/></orvikpkgOnlineInstall>";
    const std::string utf16Bytes(reinterpret_cast<const char*>(utf16.data()), utf16.size() * 2);
    const std::wstring badStart = std::to_wstring(pugi::status_bad_start_element);
    const struct {
        std::string xml;
        std::int32_t code;                 // 0: read
        std::vector<std::wstring> values;  // id, uri and title read, or the error's arguments
    } cases[] = {
        {Doc("26.5.0.49297"), 0, {L"suite-2026", L"https://x.invalid/s", L"Installing Suite"}},
        // Only the first element counts.
        {Doc("1", "<!--c--><x/><progressTitle/>" + Titled("2")), 0, {L"", L"", L""}},
        {utf16Bytes, 0, {L"", L"", L"\u30A4\u30F3\u30B9\u30C8\u30FC\u30EB"}},
        {Doc("1", Titled("\xC3\x89t\xC3\xA9")), 0, {L"", L"", L"\u00C9t\u00E9"}},
        {"<orvikpkgOnlineInstall", -126312, {badStart, L"Error parsing start element tag"}},
        {Doc("26.5.1.0"), -126313, {L"26.5.1.0", max}},
        {Doc("1:0"), -126313, {L"1:0", max}},
        {Doc(nullptr), -126313, {L"", max}},
        {Doc("1", "<progressTitle/>"), -126314, {root, L"downloadItem"}},
        {Doc("1", "<downloadItem/>"), -126314, {root, L"progressTitle"}},
        {"<OrvikpkgOnlineInstall schemaVersion=\"1\"/>", -126314, {L"", root}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.xml);
        if (c.code == 0) {
            EXPECT_EQ(c.values, Read(c.xml));
        } else {
            orvik::testing::ExpectThrows(
                [&] { Read(c.xml); },
                {c.code, c.values, L"source\\preinstall\\OnlineInstallInformation",
                 lines.at(c.code)});
        }
    }
    OnlineInstallInformation absent;
    absent.progressTitle = L"stale";
    absent.Load(MemoryDataResource());
    EXPECT_FALSE(absent.present);
    EXPECT_EQ(L"", absent.progressTitle);
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
