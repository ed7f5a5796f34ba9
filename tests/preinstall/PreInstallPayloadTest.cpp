#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

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

}  // namespace
}  // namespace orvik::pkgui::preinstall
