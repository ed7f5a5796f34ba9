#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include "preinstall/PreInstallPayload.h"
#include "shared/ExceptionFamily.h"
#include "support/ArchiveBuilder.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgui::preinstall {
namespace {

namespace fs = boost::filesystem;
using orvik::pkgshared::DirectoryPath;
using orvik::testing::ReadBytes;

class PreInstallPayloadTest : public ::testing::Test {
protected:
    std::string MakePayload(const std::vector<orvik::testing::ArchiveItem>& items) {
        const fs::path file = scratch_ / L"source.tar.gz";
        EXPECT_TRUE(orvik::testing::WriteArchive(file, orvik::testing::Format::Tar,
                                                 orvik::testing::Filter::Gzip, items));
        std::string bytes = ReadBytes(file);
        fs::remove(file);
        return bytes;
    }
    PreInstallPayload Payload(const std::string& bytes) {
        return PreInstallPayload(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                 static_cast<std::uint32_t>(bytes.size()),
                                 DirectoryPath(scratch_.Path()));
    }
    orvik::testing::ScratchDirectory scratch_;
};

TEST_F(PreInstallPayloadTest, SavesAndUnpacksTheArchive) {
    const std::string bytes =
        MakePayload({{"Install.exe", "MZ installer", 0755}, {"./packages/a.pkg", "pkg", 0644}});
    PreInstallPayload payload = Payload(bytes);
    const auto archive = payload.WriteArchive();
    EXPECT_EQ(scratch_ / L"payload.tar.gz", archive.Path());
    EXPECT_EQ(bytes, ReadBytes(archive.Path()));
    const DirectoryPath unpacked = payload.Extract(archive);
    EXPECT_EQ(scratch_ / L"payload", unpacked.Path());
    EXPECT_EQ("MZ installer", ReadBytes(unpacked.Path() / L"Install.exe"));
    EXPECT_EQ("pkg", ReadBytes(unpacked.Path() / L"packages\\a.pkg"));
}

TEST_F(PreInstallPayloadTest, EmptyPayloadFailsBeforeAnyFile) {
    const std::string bytes = "x";
    for (auto payload : {PreInstallPayload(nullptr, 10, DirectoryPath(scratch_.Path())),
                         PreInstallPayload(reinterpret_cast<const std::uint8_t*>(bytes.data()), 0,
                                           DirectoryPath(scratch_.Path()))}) {
        try {
            payload.WriteArchive();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const PreInstallPayloadExtractEmpty& e) {
            EXPECT_EQ(-126316, e.GetErrorCode());
            EXPECT_EQ(0u, e.GetMessageArgumentCount());
            EXPECT_STREQ(L"source\\preinstall\\PreInstallPayload", e.GetSourceFile());
            EXPECT_EQ(68, e.GetLineNumber());
        }
    }
    EXPECT_TRUE(fs::is_empty(scratch_.Path()));
}

TEST_F(PreInstallPayloadTest, ExistingArchiveIsNeverOverwritten) {
    orvik::testing::WriteBytes(scratch_ / L"payload.tar.gz", "older");
    PreInstallPayload payload = Payload(MakePayload({{"a", "a", 0644}}));
    try {
        payload.WriteArchive();
        FAIL() << "nothing was thrown";
    } catch (const PreInstallPayloadWriteFileError& e) {
        EXPECT_EQ(-126317, e.GetErrorCode());
        EXPECT_EQ(L"80", e.GetMessageArgument0());  // the file exists
        EXPECT_EQ((scratch_ / L"payload.tar.gz").wstring(), e.GetMessageArgument1());
        EXPECT_EQ(97, e.GetLineNumber());
    }
    EXPECT_EQ("older", ReadBytes(scratch_ / L"payload.tar.gz"));
}

TEST_F(PreInstallPayloadTest, PayloadThatIsNoArchiveFailsAfterSaving) {
    const std::string bytes = "this is not a gzip-compressed tar archive";
    PreInstallPayload payload = Payload(bytes);
    const auto archive = payload.WriteArchive();
    EXPECT_THROW(payload.Extract(archive), orvik::pkgshared::InvalidArchiveException);
    EXPECT_EQ(bytes, ReadBytes(archive.Path()));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
