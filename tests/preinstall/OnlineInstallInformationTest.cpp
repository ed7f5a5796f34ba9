#include <gtest/gtest.h>

#include <pugixml.hpp>

#include "preinstall/OnlineInstallInformation.h"

namespace orvik::pkgui::preinstall {
namespace {

OnlineInstallInformation Load(const std::string& xml) {
    const MemoryDataResource resource(xml.data(), static_cast<std::uint32_t>(xml.size()));
    OnlineInstallInformation information;
    information.Load(resource);
    return information;
}

std::string Document(const std::string& schema, const std::string& body) {
    return "<?xml version=\"1.0\"?><orvikpkgOnlineInstall" + schema + ">" + body +
           "</orvikpkgOnlineInstall>";
}

const std::string kBody =
    "<downloadItem id=\"suite-2026\" uri=\"https://example.invalid/suite.xml\"/>"
    "<progressTitle value=\"Installing Suite\"/>";

template <typename Error>
Error Raised(const std::string& xml) {
    try {
        Load(xml);
    } catch (const Error& e) {
        return e;
    }
    ADD_FAILURE() << "nothing was thrown for " << xml;
    return Error({}, {}, nullptr, 0);
}

TEST(OnlineInstallInformationTest, AbsentResourceLeavesEverythingEmpty) {
    OnlineInstallInformation information;
    information.progressTitle = L"stale";
    information.Load(MemoryDataResource());
    EXPECT_FALSE(information.present);
    EXPECT_EQ(L"", information.progressTitle);
}

TEST(OnlineInstallInformationTest, ReadsTheDescription) {
    const auto information = Load(Document(" schemaVersion=\"26.5.0.49297\"", kBody));
    EXPECT_TRUE(information.present);
    EXPECT_EQ(L"suite-2026", information.downloadItemId);
    EXPECT_EQ(L"https://example.invalid/suite.xml", information.downloadItemUri);
    EXPECT_EQ(L"Installing Suite", information.progressTitle);

    const auto bare = Load(Document(" schemaVersion=\"1.0\"",
                                    "<!-- c --><downloadItem/><x/><progressTitle/>"
                                    "<progressTitle value=\"second\"/>"));
    EXPECT_EQ(L"", bare.downloadItemId);
    EXPECT_EQ(L"", bare.downloadItemUri);
    EXPECT_EQ(L"", bare.progressTitle);  // only the first element counts
}

TEST(OnlineInstallInformationTest, EncodingIsDetected) {
    // UTF-16 little endian with a byte-order mark, and a non-ASCII title.
    const std::u16string text =
        u"\uFEFF<orvikpkgOnlineInstall schemaVersion=\"26.5\"><downloadItem/>"
        u"<progressTitle value=\"\u30A4\u30F3\u30B9\u30C8\u30FC\u30EB\"/></orvikpkgOnlineInstall>";
    const std::string bytes(reinterpret_cast<const char*>(text.data()), text.size() * 2);
    EXPECT_EQ(L"\u30A4\u30F3\u30B9\u30C8\u30FC\u30EB", Load(bytes).progressTitle);
    EXPECT_EQ(L"\u00C9t\u00E9",
              Load(Document(" schemaVersion=\"1\"",
                            "<downloadItem/><progressTitle value=\"\xC3\x89t\xC3\xA9\"/>"))
                  .progressTitle);
}

TEST(OnlineInstallInformationTest, MalformedXmlReportsTheParser) {
    const auto e = Raised<PreInstallOnlineInstallInformationLoadError>("<orvikpkgOnlineInstall");
    EXPECT_EQ(-126312, e.GetErrorCode());
    EXPECT_EQ(std::to_wstring(pugi::status_bad_start_element), e.GetMessageArgument0());
    EXPECT_EQ(L"Error parsing start element tag", e.GetMessageArgument1());
    EXPECT_STREQ(L"source\\preinstall\\OnlineInstallInformation", e.GetSourceFile());
    EXPECT_EQ(88, e.GetLineNumber());
}

TEST(OnlineInstallInformationTest, SchemaVersionLimit) {
    EXPECT_NO_THROW(Load(Document(" schemaVersion=\"26.5.0.49296\"", kBody)));
    EXPECT_NO_THROW(Load(Document(" schemaVersion=\"26.5.0.49297\"", kBody)));
    struct Case {
        std::string attribute;
        std::wstring read;
    };
    const Case rejected[] = {{" schemaVersion=\"26.5.1.0\"", L"26.5.1.0"},
                             {" schemaVersion=\"27\"", L"27"},
                             {" schemaVersion=\"1:0\"", L"1:0"},
                             {" schemaVersion=\"\"", L""},
                             {"", L""}};
    for (const Case& c : rejected) {
        const auto e =
            Raised<PreInstallOnlineInstallInformationSchemaError>(Document(c.attribute, kBody));
        EXPECT_EQ(-126313, e.GetErrorCode());
        EXPECT_EQ(c.read, e.GetMessageArgument0());
        EXPECT_EQ(L"26.5.0.49297", e.GetMessageArgument1());
        EXPECT_EQ(96, e.GetLineNumber());
    }
}

TEST(OnlineInstallInformationTest, MissingElementsNameTheSearchedNodeFirst) {
    struct Case {
        std::string xml;
        std::wstring searched;
        std::wstring missing;
    };
    const Case cases[] = {
        {Document(" schemaVersion=\"1\"", "<progressTitle value=\"t\"/>"), L"orvikpkgOnlineInstall",
         L"downloadItem"},
        {Document(" schemaVersion=\"1\"", "<downloadItem/>"), L"orvikpkgOnlineInstall",
         L"progressTitle"},
        {"<other schemaVersion=\"1\">" + kBody + "</other>", L"", L"orvikpkgOnlineInstall"},
        {"<OrvikpkgOnlineInstall schemaVersion=\"1\">" + kBody + "</OrvikpkgOnlineInstall>", L"",
         L"orvikpkgOnlineInstall"},
    };
    for (const Case& c : cases) {
        const auto e = Raised<PreInstallOnlineInstallInformationMissingElement>(c.xml);
        EXPECT_EQ(-126314, e.GetErrorCode());
        EXPECT_EQ(c.searched, e.GetMessageArgument0());
        EXPECT_EQ(c.missing, e.GetMessageArgument1());
        EXPECT_EQ(105, e.GetLineNumber());
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
