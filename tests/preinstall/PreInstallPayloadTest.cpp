#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>

#include <boost/filesystem/operations.hpp>

#include "preinstall/NamedDataResource.h"
#include "preinstall/PreInstallPayload.h"
#include "shared/ExceptionFamily.h"
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

TEST_F(PreInstallPayloadTest, SavesAndUnpacksTheArchive) {
    ASSERT_TRUE(orvik::testing::WriteArchive(
        scratch_ / L"source", orvik::testing::Format::Tar, orvik::testing::Filter::Gzip,
        {{"Install.exe", "MZ installer", 0755}, {"./packages/a.pkg", "pkg", 0644}}));
    const std::string bytes = ReadBytes(scratch_ / L"source");
    PreInstallPayload payload = Payload(bytes, static_cast<std::uint32_t>(bytes.size()));
    const auto archive = payload.WriteArchive();
    EXPECT_EQ(archive_, archive.Path());
    EXPECT_EQ(bytes, ReadBytes(archive_));
    const DirectoryPath unpacked = payload.Extract(archive);
    EXPECT_EQ(scratch_ / L"payload", unpacked.Path());
    EXPECT_EQ("MZ installer", ReadBytes(unpacked.Path() / L"Install.exe"));
    EXPECT_EQ("pkg", ReadBytes(unpacked.Path() / L"packages\\a.pkg"));
}

TEST_F(PreInstallPayloadTest, FailuresLeaveNoFileBehindAndOverwriteNothing) {
    const std::string bytes = "this is not a gzip-compressed tar archive";
    const std::wstring source = L"source\\preinstall\\PreInstallPayload";
    for (auto empty :
         {PreInstallPayload(nullptr, 10, DirectoryPath(scratch_.Path())), Payload(bytes, 0)}) {
        orvik::testing::ExpectThrows([&] { empty.WriteArchive(); }, {-126316, {}, source, 68});
    }
    EXPECT_TRUE(boost::filesystem::is_empty(scratch_.Path()));

    PreInstallPayload payload = Payload(bytes, static_cast<std::uint32_t>(bytes.size()));
    const auto archive = payload.WriteArchive();  // saved even though it is no archive
    EXPECT_THROW(payload.Extract(archive), orvik::pkgshared::InvalidArchiveException);
    EXPECT_EQ(bytes, ReadBytes(archive_));
    orvik::testing::ExpectThrows([&] { Payload("newer", 5).WriteArchive(); },
                                 {-126317, {L"80", archive_.wstring()}, source, 97});  // exists
    EXPECT_EQ(bytes, ReadBytes(archive_));
}

// The test program carries "ORVIKPKG_TEST_DATA" ("0123456789") and an empty
// "ORVIKPKG_TEST_EMPTY" as RT_RCDATA resources.
TEST(NamedDataResourceTest, MissingIsAbsentPresentIsUsedInPlaceEmptyIsAnError) {
    const NamedDataResource missing(L"ORVIKPKG_PAYLOAD");
    EXPECT_FALSE(missing.Exists());
    EXPECT_EQ(nullptr, missing.GetData());
    EXPECT_EQ(0u, missing.GetSize());

    const NamedDataResource first(L"ORVIKPKG_TEST_DATA");
    ASSERT_TRUE(first.Exists());
    ASSERT_EQ(10u, first.GetSize());
    EXPECT_EQ(0, std::memcmp("0123456789", first.GetData(), 10));
    EXPECT_EQ(first.GetData(), NamedDataResource(L"orvikpkg_test_data").GetData());  // any case

    // Finding an empty resource leaves the thread's last error as it was.
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
