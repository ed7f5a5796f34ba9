#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include "pack/PackOptions.h"
#include "support/ArchiveBuilder.h"
#include "support/ChildProcess.h"
#include "support/TestData.h"

namespace orvik::tools::pack {
namespace {
namespace fs = boost::filesystem;
using orvik::testing::Quoted, orvik::testing::ReadBytes, orvik::testing::WriteBytes;

// Wrong command lines are refused with the reason (right ones are packed by the tool below).
TEST(PackOptionsTest, WrongCommandLinesAreRefusedWithTheReason) {
    std::wstring error;
    const std::wstring t = L"--template", o = L"--output";
    const std::pair<std::vector<std::wstring>, std::wstring> refused[] = {
        {{t, L"t"}, L"--template and --output are required"},
        {{t, L"t", o}, L"--output needs a value"},
        {{t, L"t", o, L""}, L"--output needs a value"},
        {{t, L"t", t, L"u"}, L"--template given twice"},
        {{t, L"t", o, L"o"}, L"nothing to embed: give a payload, an online-install description"},
        {{t, L"t", o, L"o", L"--payload", L"p", L"--payload-dir", L"d"}, L"--payload-dir and"},
        {{t, L"t", o, L"o", L"-f"}, L"unknown argument '-f'"},
    };
    for (const auto& [arguments, expected] : refused) {
        EXPECT_FALSE(ParsePackOptions(arguments, error));
        EXPECT_EQ(expected, error.substr(0, expected.size()));
    }
}

// Every regular file below `root` by its relative path, with its bytes.
class PackToolTest : public ::testing::Test {
protected:
    orvik::testing::ChildResult Pack(const fs::path& output, const std::wstring& arguments) {
        return orvik::testing::Pack(L"--template \"" + orvik::testing::BinDirectory() + L"\\" +
                                        ORVIK_PAYLOAD_PROBE_NAME L"\" --output " + Quoted(output) +
                                        L" " + arguments,
                                    scratch_.Path());
    }
    // Runs a packed probe: it unpacks into `run`\payload.
    std::int32_t Probe(const fs::path& installer) {
        fs::remove_all(run_);
        fs::create_directories(run_);
        return orvik::testing::Run(Quoted(installer) + L" " + Quoted(run_), scratch_.Path())
            .exitCode;
    }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path run_ = scratch_ / L"run";
};

// A folder comes out of the installer as it went in.
TEST_F(PackToolTest, FolderRoundTripsThroughTheInstaller) {
    const fs::path root = scratch_ / L"payload-source";
    fs::create_directories(root / L"deep" / L"er");
    WriteBytes(root / L"Install.exe", orvik::testing::RandomBytes(200000, 1));
    for (int i = 0; i < 40; ++i) {  // empty files too; names beyond ASCII
        WriteBytes(root / (i % 2 ? L"deep" : L"deep\\er") / (L"\u00C9 \u65E5" + std::to_wstring(i)),
                   orvik::testing::RandomBytes(static_cast<size_t>(i * 997 % 5000), i));
    }
    const auto packed = Pack(scratch_ / L"out.exe", L"--payload-dir " + Quoted(root));
    ASSERT_EQ(0, packed.exitCode) << packed.output;
    EXPECT_EQ(std::string::npos, packed.output.find("warning")) << packed.output;
    ASSERT_EQ(0, Probe(scratch_ / L"out.exe"));
    EXPECT_TRUE(orvik::testing::FilesBelow(root) == orvik::testing::FilesBelow(run_ / L"payload"));
}

// Each command line: the tool's exit code, a piece of its output, and for a built installer the
// probe's exit code. Nothing is left behind on a refusal.
TEST_F(PackToolTest, EveryInputIsCheckedBeforeTheInstallerIsWritten) {
    const auto in = [&](const wchar_t* name) { return L"--payload " + Quoted(scratch_ / name); };
    const fs::path good = scratch_ / L"good.tar.gz", output = scratch_ / L"out.exe";
    using orvik::testing::Filter, orvik::testing::Format;
    ASSERT_TRUE(orvik::testing::WriteArchive(good, Format::Tar, Filter::Gzip,
                                             {{"Install.exe", std::string(300000, 'x'), 0755}}));
    ASSERT_TRUE(orvik::testing::WriteArchive(
        scratch_ / L"escaping.tar.gz", Format::Tar, Filter::Gzip,
        {{"Install.exe", "MZ", 0755}, {"../evil.dll", "x"}, {"bin/link", "", 0777, "../../out"}}));
    WriteBytes(scratch_ / L"truncated.tar.gz", ReadBytes(good).substr(0, fs::file_size(good) / 2));
    fs::create_directories(scratch_ / L"nested" / L"bin");
    WriteBytes(scratch_ / L"nested" / L"bin" / L"Install.exe", "not at the root");
    WriteBytes(scratch_ / L"nested" / L"suite.dat", "a suite");
    WriteBytes(scratch_ / L"unclosed.xml", "<orvikpkgOnlineInstall");
    // Sparse, and refused before it is read.
    WriteBytes(scratch_ / L"huge.tar.gz", "");
    fs::resize_file(scratch_ / L"huge.tar.gz", (std::uint64_t{1536} << 20) + 1);
    const std::string refused = "the payload would be refused by the bootstrapper: -125213",
                      ceiling = "error: the payload archive is 1610612737 bytes; an installer";
    const struct {
        std::wstring arguments;
        int exitCode;
        std::string output;
        std::int32_t probe;
    } rows[] = {
        {in(L"truncated.tar.gz"), 1, "error: " + refused, 0},
        // Forced, the installer is built and fails the way the check said.
        {in(L"truncated.tar.gz") + L" --force", 0, "warning: " + refused, -125213},
        {in(L"escaping.tar.gz"), 1,
         "error: payload entry outside the extraction folder: ../evil.dll", 0},
        {in(L"escaping.tar.gz") + L" --force", 0, "warning: payload entry outside", 0},
        {L"--payload-dir " + Quoted(scratch_ / L"nested"), 0, "no Install.exe at its root", 0},
        {L"--payload-dir " + Quoted(scratch_ / L"nested"), 0, "payload carries suite.dat", 0},
        {in(L"huge.tar.gz"), 1, ceiling, 0},
        {in(L"huge.tar.gz") + L" --force", 1, ceiling, 0},
        {L"--online-install " + Quoted(scratch_ / L"unclosed.xml"), 1, "-126312", 0},
        {L"--online-install " + Quoted(scratch_ / L"gone.xml"), 1, "gone.xml: No such file", 0},
        {L"--what", 2, "usage: orvikpkg-pack.exe", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        fs::remove(output);
        const auto packed = Pack(output, row.arguments);
        EXPECT_EQ(row.exitCode, packed.exitCode) << packed.output;
        EXPECT_NE(std::string::npos, packed.output.find(row.output)) << packed.output;
        EXPECT_EQ(row.exitCode == 0, fs::exists(output));
        EXPECT_FALSE(fs::exists(scratch_ / L"out.exe.partial"));
        EXPECT_FALSE(fs::exists(scratch_ / L"out.exe.payload.tar.gz"));
        if (row.exitCode == 0) {
            EXPECT_EQ(row.probe, Probe(output));
        }
    }
    // Out of room, writing the installer or archiving a folder, the tool says what to free and
    // leaves nothing behind.
    if (const char* tiny = std::getenv("ORVIK_TINY_FS")) {
        const fs::path full = orvik::testing::WinePath(tiny);
        fs::create_directory(scratch_ / L"big");
        WriteBytes(scratch_ / L"big" / L"Install.exe", orvik::testing::RandomBytes(1 << 21, 7));
        for (const auto& input :
             {in(L"good.tar.gz"), L"--payload-dir " + Quoted(scratch_ / L"big")}) {
            const auto packed = Pack(full / L"out.exe", input);
            EXPECT_EQ(1, packed.exitCode);
            EXPECT_NE(std::string::npos, packed.output.find("free space there or write the "
                                                            "installer to another folder"))
                << packed.output;
            EXPECT_TRUE(fs::is_empty(full)) << packed.output;
        }
    }
}
}  // namespace
}  // namespace orvik::tools::pack
