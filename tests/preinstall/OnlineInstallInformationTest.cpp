#include <gtest/gtest.h>

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

std::string Document(const std::string& schema, const std::string& body) {
    return "<?xml version=\"1.0\"?><orvikpkgOnlineInstall" + schema + ">" + body +
           "</orvikpkgOnlineInstall>";
}

const std::string kBody =
    "<downloadItem id=\"suite-2026\" uri=\"https://example.invalid/suite.xml\"/>"
    "<progressTitle value=\"Installing Suite\"/>";
const std::u16string kUtf16 =
    u"\uFEFF<orvikpkgOnlineInstall schemaVersion=\"26.5\"><downloadItem/>"
    u"<progressTitle value=\"\u30A4\u30F3\u30B9\u30C8\u30FC\u30EB\"/></orvikpkgOnlineInstall>";

TEST(OnlineInstallInformationTest, XmlToRecordOrError) {
    struct Case {
        std::string xml;
        std::vector<std::wstring> read;  // id, uri, title; or, when empty, the error
        orvik::testing::ExpectedError error = {};
    };
    const std::wstring source = L"source\\preinstall\\OnlineInstallInformation";
    const std::wstring max = L"26.5.0.49297";
    const Case cases[] = {
        {Document(" schemaVersion=\"26.5.0.49297\"", kBody),
         {L"suite-2026", L"https://example.invalid/suite.xml", L"Installing Suite"}},
        {Document(" schemaVersion=\"1.0\"",
                  "<!-- c --><downloadItem/><x/><progressTitle/><progressTitle value=\"2\"/>"),
         {L"", L"", L""}},  // only the first element counts
        {std::string(reinterpret_cast<const char*>(kUtf16.data()), kUtf16.size() * 2),
         {L"", L"", L"\u30A4\u30F3\u30B9\u30C8\u30FC\u30EB"}},
        {Document(" schemaVersion=\"1\"",
                  "<downloadItem/><progressTitle value=\"\xC3\x89t\xC3\xA9\"/>"),
         {L"", L"", L"\u00C9t\u00E9"}},
        {"<orvikpkgOnlineInstall",
         {},
         {-126312,
          {std::to_wstring(pugi::status_bad_start_element), L"Error parsing start element tag"},
          source,
          88}},
        {Document(" schemaVersion=\"26.5.1.0\"", kBody),
         {},
         {-126313, {L"26.5.1.0", max}, source, 96}},
        {Document(" schemaVersion=\"1:0\"", kBody), {}, {-126313, {L"1:0", max}, source, 96}},
        {Document("", kBody), {}, {-126313, {L"", max}, source, 96}},
        {Document(" schemaVersion=\"1\"", "<progressTitle value=\"t\"/>"),
         {},
         {-126314, {L"orvikpkgOnlineInstall", L"downloadItem"}, source, 105}},
        {Document(" schemaVersion=\"1\"", "<downloadItem/>"),
         {},
         {-126314, {L"orvikpkgOnlineInstall", L"progressTitle"}, source, 105}},
        {"<OrvikpkgOnlineInstall schemaVersion=\"1\">" + kBody + "</OrvikpkgOnlineInstall>",
         {},
         {-126314, {L"", L"orvikpkgOnlineInstall"}, source, 105}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.xml);
        if (c.read.empty()) {
            orvik::testing::ExpectThrows([&] { Read(c.xml); }, c.error);
        } else {
            EXPECT_EQ(c.read, Read(c.xml));
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
