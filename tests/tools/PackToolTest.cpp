#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>

#include <boost/filesystem/operations.hpp>

#include "support/ArchiveBuilder.h"
#include "support/ChildProcess.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::tools::pack {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::Quoted;
using orvik::testing::ReadBytes;

using orvik::testing::WriteBytes;

using orvik::testing::RandomBytes;

// Every regular file below `root` by its relative path, with its bytes.
std::map<std::wstring, std::string> Tree(const fs::path& root) {
    std::map<std::wstring, std::string> files;
    for (fs::recursive_directory_iterator it(root), end; it != end; ++it) {
        if (fs::is_regular_file(it->status())) {
            files[it->path().lexically_relative(root).wstring()] = ReadBytes(it->path());
        }
    }
    return files;
}

class PackToolTest : public ::testing::Test {
protected:
    orvik::testing::ChildResult Pack(const std::wstring& arguments) {
        return orvik::testing::Run(Quoted(bin_ / L"orvikpkg-pack.exe") + L" " + arguments,
                                   scratch_.Path());
    }
    orvik::testing::ChildResult Probe(const fs::path& installer, const fs::path& working) {
        fs::create_directories(working);
        return orvik::testing::Run(Quoted(installer) + L" " + Quoted(working), scratch_.Path());
    }
    std::wstring Template() const { return Quoted(bin_ / ORVIK_PAYLOAD_PROBE_NAME); }
    void MakePayloadFolder(const fs::path& root, int files) {
        fs::create_directories(root / L"packages" / L"deep" / L"er");
        WriteBytes(root / L"Install.exe", RandomBytes(200000, 1));
        WriteBytes(root / L"suite.dat", "suite");
        WriteBytes(root / L"empty.txt", "");
        WriteBytes(root / L"\u65E5\u672C\u8A9E.txt", "\xE6\x97\xA5");
        WriteBytes(root / L"packages" / L"\u00C9mile \u00FC.dat", "accents");
        for (int i = 0; i < files; ++i) {
            const fs::path folder =
                i % 3 == 0 ? root / L"packages" / L"deep" / L"er" : root / L"packages";
            WriteBytes(folder / (L"file" + std::to_wstring(i) + L".bin"),
                       RandomBytes(static_cast<size_t>(i * 37 % 5000), i + 10));
        }
    }

    orvik::testing::ScratchDirectory scratch_;
    const fs::path bin_ = orvik::testing::BinDirectory();
};

TEST_F(PackToolTest, FolderRoundTripsThroughTheInstaller) {
    const fs::path folder = scratch_ / L"payload-source";
    MakePayloadFolder(folder, 300);
    const fs::path installer = scratch_ / L"installer.exe";
    const auto packed = Pack(L"--template " + Template() + L" --output " + Quoted(installer) +
                             L" --payload-dir " + Quoted(folder));
    ASSERT_EQ(0, packed.exitCode) << packed.output;
    EXPECT_EQ(std::string::npos, packed.output.find("warning")) << packed.output;

    const fs::path working = scratch_ / L"run";
    const auto probed = Probe(installer, working);
    ASSERT_EQ(0, probed.exitCode) << probed.output;
    const auto source = Tree(folder);
    EXPECT_EQ(305u, source.size());
    EXPECT_TRUE(source == Tree(working / L"payload"));
    EXPECT_FALSE(fs::exists(working / L"online.txt"));
    EXPECT_FALSE(fs::exists(scratch_ / L"installer.exe.payload.tar.gz"));
}

TEST_F(PackToolTest, SameFolderGivesTheSameInstaller) {
    const fs::path folder = scratch_ / L"payload-source";
    MakePayloadFolder(folder, 20);
    for (const wchar_t* name : {L"first.exe", L"second.exe"}) {
        ASSERT_EQ(0, Pack(L"--template " + Template() + L" --output " + Quoted(scratch_ / name) +
                          L" --payload-dir " + Quoted(folder))
                         .exitCode);
    }
    EXPECT_TRUE(ReadBytes(scratch_ / L"first.exe") == ReadBytes(scratch_ / L"second.exe"));
}

TEST_F(PackToolTest, DamagedPayloadsAreRefusedUnlessForced) {
    const fs::path good = scratch_ / L"good.tar.gz";
    ASSERT_TRUE(orvik::testing::WriteArchive(good, orvik::testing::Format::Tar,
                                             orvik::testing::Filter::Gzip,
                                             {{"Install.exe", RandomBytes(300000, 2), 0755}}));
    const std::string bytes = ReadBytes(good);
    const fs::path truncated = scratch_ / L"truncated.tar.gz";
    WriteBytes(truncated, bytes.substr(0, bytes.size() / 2));
    const fs::path noise = scratch_ / L"noise.tar.gz";
    WriteBytes(noise, RandomBytes(4000, 3));
    const fs::path output = scratch_ / L"out.exe";

    const std::pair<fs::path, std::string> cases[] = {{truncated, "-125213"}, {noise, "-125026"}};
    for (const auto& [payload, code] : cases) {
        const auto refused = Pack(L"--template " + Template() + L" --output " + Quoted(output) +
                                  L" --payload " + Quoted(payload));
        EXPECT_EQ(1, refused.exitCode) << refused.output;
        EXPECT_NE(std::string::npos, refused.output.find("error: the payload")) << refused.output;
        EXPECT_NE(std::string::npos, refused.output.find(code)) << refused.output;
        EXPECT_FALSE(fs::exists(output));
        EXPECT_FALSE(fs::exists(scratch_ / L"out.exe.partial"));
    }

    // Forced, the installer is built and fails the way the check said.
    const auto forced = Pack(L"--template " + Template() + L" --output " + Quoted(output) +
                             L" --payload " + Quoted(truncated) + L" --force");
    ASSERT_EQ(0, forced.exitCode) << forced.output;
    EXPECT_NE(std::string::npos, forced.output.find("warning: the payload")) << forced.output;
    EXPECT_EQ(-125213, Probe(output, scratch_ / L"run").exitCode);
}

TEST_F(PackToolTest, EntriesOutsideTheExtractionFolderAreRefusedUnlessForced) {
    const fs::path payload = scratch_ / L"escaping.tar.gz";
    ASSERT_TRUE(orvik::testing::WriteArchive(payload, orvik::testing::Format::Tar,
                                             orvik::testing::Filter::Gzip,
                                             {{"Install.exe", "MZ", 0755},
                                              {"../evil.dll", "x", 0644},
                                              {"bin/link", "", 0777, "../../outside"}}));
    const fs::path output = scratch_ / L"out.exe";
    const auto refused = Pack(L"--template " + Template() + L" --output " + Quoted(output) +
                              L" --payload " + Quoted(payload));
    EXPECT_EQ(1, refused.exitCode) << refused.output;
    EXPECT_NE(std::string::npos,
              refused.output.find("error: payload entry outside the extraction folder: "
                                  "../evil.dll"))
        << refused.output;
    EXPECT_NE(std::string::npos, refused.output.find("bin/link: a link that points out"))
        << refused.output;
    EXPECT_FALSE(fs::exists(output));

    const auto forced = Pack(L"--template " + Template() + L" --output " + Quoted(output) +
                             L" --payload " + Quoted(payload) + L" --force");
    EXPECT_EQ(0, forced.exitCode) << forced.output;
    EXPECT_NE(std::string::npos, forced.output.find("warning: payload entry outside"))
        << forced.output;
    EXPECT_TRUE(fs::exists(output));
}

TEST_F(PackToolTest, PayloadWithoutInstallerOnlyWarns) {
    const fs::path folder = scratch_ / L"no-installer";
    fs::create_directories(folder / L"bin");
    WriteBytes(folder / L"bin" / L"Install.exe", "not at the root");
    const auto packed = Pack(L"--template " + Template() + L" --output " +
                             Quoted(scratch_ / L"out.exe") + L" --payload-dir " + Quoted(folder));
    EXPECT_EQ(0, packed.exitCode) << packed.output;
    EXPECT_NE(std::string::npos, packed.output.find("no Install.exe at its root")) << packed.output;
}

// Past the ceiling nothing is written, --force or not, and the size is
// checked before the payload is read (the file is sparse: a real read of
// 1.5 GiB would show as a timeout).
TEST_F(PackToolTest, PayloadPastTheCeilingIsRefusedEvenWhenForced) {
    const fs::path payload = scratch_ / L"huge.tar.gz";
    WriteBytes(payload, "");
    fs::resize_file(payload, (std::uint64_t{1536} << 20) + 1);
    const fs::path output = scratch_ / L"out.exe";
    for (const wchar_t* force : {L"", L" --force"}) {
        const auto packed = Pack(L"--template " + Template() + L" --output " + Quoted(output) +
                                 L" --payload " + Quoted(payload) + force);
        EXPECT_EQ(1, packed.exitCode) << packed.output;
        EXPECT_NE(std::string::npos,
                  packed.output.find("error: the payload archive is 1610612737 bytes; an "
                                     "installer can carry at most 1610612736 bytes (1.5 GiB)"))
            << packed.output;
        EXPECT_FALSE(fs::exists(output));
    }
}

TEST_F(PackToolTest, OnlineInstallDescription) {
    const fs::path xml = scratch_ / L"online.xml";
    WriteBytes(xml,
               "<orvikpkgOnlineInstall schemaVersion=\"26.5.0.49297\"><downloadItem id=\"s\" "
               "uri=\"https://example.invalid/s.xml\"/><progressTitle value=\"Suite "
               "\xE2\x80\x93 2026\"/></orvikpkgOnlineInstall>");
    const fs::path installer = scratch_ / L"online.exe";
    ASSERT_EQ(0, Pack(L"--template " + Template() + L" --output " + Quoted(installer) +
                      L" --online-install " + Quoted(xml))
                     .exitCode);
    const fs::path working = scratch_ / L"run";
    ASSERT_EQ(0, Probe(installer, working).exitCode);
    EXPECT_EQ("https://example.invalid/s.xml\nSuite \xE2\x80\x93 2026",
              ReadBytes(working / L"online.txt"));
    EXPECT_FALSE(fs::exists(working / L"payload"));

    const std::pair<std::string, std::string> refused[] = {
        {"<orvikpkgOnlineInstall", "-126312"},
        {"<orvikpkgOnlineInstall schemaVersion=\"26.5.1.0\"/>", "-126313"},
        {"<orvikpkgOnlineInstall schemaVersion=\"1\"><progressTitle/></orvikpkgOnlineInstall>",
         "-126314"},
    };
    for (const auto& [text, code] : refused) {
        WriteBytes(xml, text);
        const auto result =
            Pack(L"--template " + Template() + L" --output " + Quoted(scratch_ / L"bad.exe") +
                 L" --online-install " + Quoted(xml));
        EXPECT_EQ(1, result.exitCode) << result.output;
        EXPECT_NE(std::string::npos, result.output.find(code)) << result.output;
        EXPECT_FALSE(fs::exists(scratch_ / L"bad.exe"));
    }
}

TEST_F(PackToolTest, WrongCommandLinesShowTheUsage) {
    for (const wchar_t* arguments :
         {L"", L"--template a.exe", L"--template a.exe --output b.exe",
          L"--template a.exe --output b.exe --payload x --payload-dir y", L"--what"}) {
        const auto result = Pack(arguments);
        EXPECT_EQ(2, result.exitCode) << arguments;
        EXPECT_NE(std::string::npos, result.output.find("usage: orvikpkg-pack.exe")) << arguments;
    }
    const auto missing = Pack(L"--template " + Quoted(scratch_ / L"none.exe") + L" --output " +
                              Quoted(scratch_ / L"o.exe") + L" --online-install x.xml");
    EXPECT_EQ(1, missing.exitCode);
    EXPECT_NE(std::string::npos, missing.output.find("no template")) << missing.output;
}

}  // namespace
}  // namespace orvik::tools::pack
