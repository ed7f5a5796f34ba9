#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <tuple>

#include <boost/filesystem/operations.hpp>

#include "support/ArchiveBuilder.h"
#include "support/ChildProcess.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

// The stand-in template of the build's own word size.
#ifndef ORVIK_PAYLOAD_PROBE_NAME
#define ORVIK_PAYLOAD_PROBE_NAME L"payload_probe.exe"
#endif

namespace orvik::tools::pack {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::Quoted;
using orvik::testing::RandomBytes;
using orvik::testing::ReadBytes;
using orvik::testing::WriteBytes;

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
    // Packs `output` from the probe template with `arguments`.
    orvik::testing::ChildResult Pack(const fs::path& output, const std::wstring& arguments) {
        return orvik::testing::Pack(L"--template \"" + orvik::testing::BinDirectory() + L"\\" +
                                        ORVIK_PAYLOAD_PROBE_NAME + L"\" --output " +
                                        Quoted(output) + L" " + arguments,
                                    scratch_.Path());
    }
    // Runs a packed probe: it unpacks into `working`\payload and writes
    // `working`\online.txt for an online-install description.
    std::int32_t Probe(const fs::path& installer, const fs::path& working) {
        fs::remove_all(working);
        fs::create_directories(working);
        return orvik::testing::Run(Quoted(installer) + L" " + Quoted(working), scratch_.Path())
            .exitCode;
    }
    orvik::testing::ScratchDirectory scratch_;
};

// A folder and an online-install description come out of the installer as
// they went in, and the same input gives the same installer.
TEST_F(PackToolTest, FolderAndDescriptionRoundTripThroughTheInstaller) {
    const fs::path root = scratch_ / L"payload-source", xml = scratch_ / L"online.xml";
    fs::create_directories(root / L"packages" / L"deep" / L"er");
    WriteBytes(root / L"Install.exe", RandomBytes(200000, 1));
    WriteBytes(root / L"empty.txt", "");
    WriteBytes(root / L"\u65E5\u672C\u8A9E.txt", "\xE6\x97\xA5");
    WriteBytes(root / L"packages" / L"\u00C9mile \u00FC.dat", "accents");
    for (int i = 0; i < 300; ++i) {
        WriteBytes((i % 3 == 0 ? root / L"packages" / L"deep" / L"er" : root / L"packages") /
                       (L"file" + std::to_wstring(i) + L".bin"),
                   RandomBytes(static_cast<size_t>(i * 37 % 5000), i + 10));
    }
    WriteBytes(xml,
               "<orvikpkgOnlineInstall schemaVersion=\"26.5.0.49297\"><downloadItem id=\"s\" "
               "uri=\"https://example.invalid/s.xml\"/><progressTitle value=\"Suite "
               "\xE2\x80\x93 2026\"/></orvikpkgOnlineInstall>");
    const std::wstring both =
        L"--payload-dir " + Quoted(root) + L" --online-install " + Quoted(xml);
    for (const wchar_t* name : {L"first.exe", L"second.exe"}) {
        const auto packed = Pack(scratch_ / name, both);
        ASSERT_EQ(0, packed.exitCode) << packed.output;
        EXPECT_EQ(std::string::npos, packed.output.find("warning")) << packed.output;
    }
    EXPECT_TRUE(ReadBytes(scratch_ / L"first.exe") == ReadBytes(scratch_ / L"second.exe"));
    ASSERT_EQ(0, Probe(scratch_ / L"first.exe", scratch_ / L"run"));
    const auto source = Tree(root);
    EXPECT_EQ(304u, source.size());
    EXPECT_TRUE(source == Tree(scratch_ / L"run" / L"payload"));
    EXPECT_EQ("https://example.invalid/s.xml\nSuite \xE2\x80\x93 2026",
              ReadBytes(scratch_ / L"run" / L"online.txt"));
    // Each part only when asked for.
    ASSERT_EQ(0, Pack(scratch_ / L"payload.exe", L"--payload-dir " + Quoted(root)).exitCode);
    ASSERT_EQ(0, Pack(scratch_ / L"online.exe", L"--online-install " + Quoted(xml)).exitCode);
    ASSERT_EQ(0, Probe(scratch_ / L"payload.exe", scratch_ / L"run"));
    EXPECT_FALSE(fs::exists(scratch_ / L"run" / L"online.txt"));
    ASSERT_EQ(0, Probe(scratch_ / L"online.exe", scratch_ / L"run"));
    EXPECT_FALSE(fs::exists(scratch_ / L"run" / L"payload"));
}

// Each command line: the tool's exit code, a piece of its output, and for a
// built installer the probe's exit code. Nothing is left behind on a refusal.
TEST_F(PackToolTest, EveryInputIsCheckedBeforeTheInstallerIsWritten) {
    const fs::path good = scratch_ / L"good.tar.gz", bad = scratch_ / L"escaping.tar.gz";
    ASSERT_TRUE(orvik::testing::WriteArchive(good, orvik::testing::Format::Tar,
                                             orvik::testing::Filter::Gzip,
                                             {{"Install.exe", RandomBytes(300000, 2), 0755}}));
    ASSERT_TRUE(orvik::testing::WriteArchive(bad, orvik::testing::Format::Tar,
                                             orvik::testing::Filter::Gzip,
                                             {{"Install.exe", "MZ", 0755},
                                              {"../evil.dll", "x", 0644},
                                              {"bin/link", "", 0777, "../../outside"}}));
    WriteBytes(scratch_ / L"truncated.tar.gz", ReadBytes(good).substr(0, fs::file_size(good) / 2));
    WriteBytes(scratch_ / L"noise.tar.gz", RandomBytes(4000, 3));
    fs::create_directories(scratch_ / L"nested" / L"bin");
    WriteBytes(scratch_ / L"nested" / L"bin" / L"Install.exe", "not at the root");
    // Sparse: the size is checked before the payload is read (a real read of
    // 1.5 GiB would show as a timeout).
    WriteBytes(scratch_ / L"huge.tar.gz", "");
    fs::resize_file(scratch_ / L"huge.tar.gz", (std::uint64_t{1536} << 20) + 1);
    const std::pair<const wchar_t*, const char*> descriptions[] = {
        {L"unclosed.xml", "<orvikpkgOnlineInstall"},
        {L"newer.xml", "<orvikpkgOnlineInstall schemaVersion=\"26.5.1.0\"/>"},
        {L"no-item.xml",
         "<orvikpkgOnlineInstall schemaVersion=\"1\"><progressTitle/></orvikpkgOnlineInstall>"}};
    for (const auto& [name, text] : descriptions) {
        WriteBytes(scratch_ / name, text);
    }
    const auto in = [&](const wchar_t* name) { return Quoted(scratch_ / name); };
    const std::wstring truncated = L"--payload " + in(L"truncated.tar.gz"),
                       escaping = L"--payload " + in(L"escaping.tar.gz"),
                       huge = L"--payload " + in(L"huge.tar.gz"), online = L"--online-install ";
    const std::string refused = "the payload would be refused by the bootstrapper: ",
                      ceiling =
                          "error: the payload archive is 1610612737 bytes; an installer "
                          "can carry at most 1610612736 bytes (1.5 GiB)";
    const struct {
        std::wstring arguments;
        int exitCode;
        std::string output;
        std::int32_t probe;
    } rows[] = {
        // clang-format off
        {truncated, 1, "error: " + refused + "-125213", 0},
        {L"--payload " + in(L"noise.tar.gz"), 1, "error: " + refused + "-125026", 0},
        // Forced, the installer is built and fails the way the check said.
        {truncated + L" --force", 0, "warning: " + refused + "-125213", -125213},
        {escaping, 1, "error: payload entry outside the extraction folder: ../evil.dll", 0},
        {escaping, 1, "bin/link: a link that points out", 0},
        {escaping + L" --force", 0, "warning: payload entry outside", 0},
        {L"--payload-dir " + in(L"nested"), 0, "no Install.exe at its root", 0},
        // Past the ceiling nothing is written, --force or not.
        {huge, 1, ceiling, 0},
        {huge + L" --force", 1, ceiling, 0},
        {online + in(L"unclosed.xml"), 1, "-126312", 0},
        {online + in(L"newer.xml"), 1, "-126313", 0},
        {online + in(L"no-item.xml"), 1, "-126314", 0},
        {truncated + L" --payload-dir " + in(L"nested"), 2, "usage: orvikpkg-pack.exe", 0},
        {L"--what", 2, "usage: orvikpkg-pack.exe", 0},
        // clang-format on
    };
    const fs::path output = scratch_ / L"out.exe";
    for (const auto& row : rows) {
        fs::remove(output);
        SCOPED_TRACE(orvik::pkgshared::WideToUtf8(row.arguments));
        const auto packed = Pack(output, row.arguments);
        EXPECT_EQ(row.exitCode, packed.exitCode) << packed.output;
        EXPECT_NE(std::string::npos, packed.output.find(row.output)) << packed.output;
        EXPECT_EQ(row.exitCode == 0, fs::exists(output));
        EXPECT_FALSE(fs::exists(scratch_ / L"out.exe.partial"));
        EXPECT_FALSE(fs::exists(scratch_ / L"out.exe.payload.tar.gz"));
        if (row.exitCode == 0) {
            EXPECT_EQ(row.probe, Probe(output, scratch_ / L"run"));
        }
    }
    // Without a template or an output nothing is read.
    const std::tuple<std::wstring, int, std::string> bare[] = {
        {L"", 2, "usage: orvikpkg-pack.exe"},
        {L"--template a.exe", 2, "usage: orvikpkg-pack.exe"},
        {L"--template none.exe --output " + Quoted(output) + L" --online-install x.xml", 1,
         "error: no template at"}};
    for (const auto& [arguments, code, text] : bare) {
        const auto result = orvik::testing::Pack(arguments, scratch_.Path());
        EXPECT_EQ(code, result.exitCode) << result.output;
        EXPECT_NE(std::string::npos, result.output.find(text)) << result.output;
    }
}

}  // namespace
}  // namespace orvik::tools::pack
