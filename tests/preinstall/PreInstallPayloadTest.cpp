#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>

#include <boost/filesystem/operations.hpp>

#include "preinstall/NamedDataResource.h"
#include "preinstall/PreInstallPayload.h"
#include "support/ArchiveBuilder.h"
#include "support/ScratchDirectory.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::pkgshared::DirectoryPath;
using orvik::testing::ReadBytes;

class PreInstallPayloadTest : public ::testing::Test {
protected:
    PreInstallPayload Payload(const std::string& bytes, std::uint32_t size) {
        return PreInstallPayload(reinterpret_cast<const std::uint8_t*>(bytes.data()), size,
                                 DirectoryPath(scratch_.Path()));
    }
    const orvik::testing::ScratchDirectory scratch_;
    const boost::filesystem::path archive_ = scratch_ / L"payload.tar.gz";
};

TEST_F(PreInstallPayloadTest, SavesUnpacksAndRefusesEmptyOrExisting) {
    ASSERT_TRUE(orvik::testing::WriteArchive(scratch_ / L"source", orvik::testing::Format::Tar,
                                             orvik::testing::Filter::Gzip,
                                             {{"./packages/a.pkg", "pkg", 0644}}));
    const std::string bytes = ReadBytes(scratch_ / L"source");
    const std::wstring source = L"source\\preinstall\\PreInstallPayload";
    for (auto empty :
         {PreInstallPayload(nullptr, 10, DirectoryPath(scratch_.Path())), Payload(bytes, 0)}) {
        orvik::testing::ExpectThrows([&] { empty.WriteArchive(); }, {-126316, {}, source, 68});
    }
    PreInstallPayload payload = Payload(bytes, static_cast<std::uint32_t>(bytes.size()));
    const auto archive = payload.WriteArchive();
    EXPECT_EQ(archive_, archive.Path());
    EXPECT_EQ(scratch_ / L"payload", payload.Extract(archive).Path());
    EXPECT_EQ("pkg", ReadBytes(scratch_ / L"payload\\packages\\a.pkg"));
    orvik::testing::ExpectThrows([&] { Payload("newer", 5).WriteArchive(); },
                                 {-126317, {L"80", archive_.wstring()}, source, 97});
    EXPECT_EQ(bytes, ReadBytes(archive_));
}

// The test program carries "ORVIKPKG_TEST_DATA" ("0123456789") and an empty
// "ORVIKPKG_TEST_EMPTY" as RT_RCDATA resources.
TEST(NamedDataResourceTest, MissingIsAbsentPresentIsUsedInPlaceEmptyIsAnError) {
    EXPECT_FALSE(NamedDataResource(L"ORVIKPKG_PAYLOAD").Exists());
    const NamedDataResource first(L"ORVIKPKG_TEST_DATA");
    ASSERT_TRUE(first.Exists());
    ASSERT_EQ(10u, first.GetSize());
    EXPECT_EQ(0, std::memcmp("0123456789", first.GetData(), 10));
    const auto empty = [] {
        ::SetLastError(0x80070057);
        NamedDataResource(L"ORVIKPKG_TEST_EMPTY");
    };
    orvik::testing::ExpectThrows(empty, {-126315,
                                         {L"2147942487", L"ORVIKPKG_TEST_EMPTY"},
                                         L"source\\preinstall\\NamedDataResource",
                                         72});
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
