#include <gtest/gtest.h>

#include <windows.h>

#include <imagehlp.h>
#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include <cstring>
#include <map>
#include "ImageBytes.h"
#include "pack/PackOptions.h"
#include "pack/PackProgress.h"
#include "support/ArchiveBuilder.h"
#include "support/ChildProcess.h"
#include "support/TestData.h"

namespace orvik::tools::pack {
namespace {
namespace fs = boost::filesystem;
using orvik::testing::ProgramHead, orvik::testing::Quoted, orvik::testing::ReadBytes,
    orvik::testing::WriteBytes;

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
        {{t, L"t", o, L"o", L"--threads", L"0"}, L"--threads needs a whole number from 1 to 256"},
        {{t, L"t", o, L"o", L"--threads", L"257"}, L"--threads needs a whole number"},
        {{t, L"t", o, L"o", L"--threads", L"2", L"--threads", L"2"}, L"--threads given twice"},
    };
    for (const auto& [arguments, expected] : refused) {
        EXPECT_FALSE(ParsePackOptions(arguments, error));
        EXPECT_EQ(expected, error.substr(0, expected.size()));
    }
}

// Sizes in binary units, times rounded up, and no rate or time left before any byte is done.
TEST(PackProgressTest, LineTellsSizesFilesRateAndTimeLeft) {
    const struct {
        PackProgress progress;
        double seconds;
        const wchar_t* line;
    } rows[] = {
        {{0, 1023, 0, 2}, 0, L"0 B of 1023 B, 0 of 2 files"},
        {{1024, 3 << 20, 1, 2}, 0.5, L"1.0 KiB of 3.0 MiB, 1 of 2 files, 2.0 KiB/s, 25:36 left"},
        {{1048524, 1048525, 5, 9},
         1,
         L"1023.9 KiB of 1.0 MiB, 5 of 9 files, 1023.9 KiB/s, 0:01 left"},
        {{std::uint64_t{3} << 30, std::uint64_t{10} << 30, 10, 40},
         3601,
         L"3.0 GiB of 10.0 GiB, 10 of 40 files, 873.6 KiB/s, 2:20:03 left"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.line, ProgressLine(row.progress, row.seconds));
    }
}

// Packs with the tool and unpacks what it packed as the bootstrapper does. The template is the
// 32-bit probe in both trees: the installer runs itself, or, in the 64-bit tree, that tree's
// probe reads it.
class PackToolTest : public ::testing::Test {
protected:
    const fs::path probe_ = orvik::testing::BinDirectory() + L"\\payload_probe.exe";
    orvik::testing::ChildResult Pack(const fs::path& output, const std::wstring& arguments,
                                     const fs::path& templatePath = {}) {
        return orvik::testing::Pack(L"--template " +
                                        Quoted(templatePath.empty() ? probe_ : templatePath) +
                                        L" --output " + Quoted(output) + L" " + arguments,
                                    scratch_.Path());
    }
    // Unpacks the payload of `installer` into `run`\payload; the probe's exit code.
    std::int32_t Probe(const fs::path& installer) {
        fs::remove_all(run_);
        fs::create_directories(run_);
        const fs::path runner = orvik::testing::BinDirectory() + L"\\" + ORVIK_PAYLOAD_PROBE_NAME;
        return orvik::testing::Run(Quoted(sizeof(void*) == 8 ? runner : installer) + L" " +
                                       Quoted(run_) + L" " + Quoted(installer),
                                   scratch_.Path())
            .exitCode;
    }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path run_ = scratch_ / L"run";
};

// Every resource of `image` as "type/name/language" with its bytes.
struct ResourceWalk {
    HMODULE module;
    std::map<std::wstring, std::string> found;

    static std::wstring Text(LPCWSTR id) {
        return IS_INTRESOURCE(id) ? L"#" + std::to_wstring(reinterpret_cast<ULONG_PTR>(id))
                                  : std::wstring(id);
    }
    static BOOL CALLBACK OnLanguage(HMODULE, LPCWSTR type, LPCWSTR name, WORD language,
                                    LONG_PTR self) {
        auto& walk = *reinterpret_cast<ResourceWalk*>(self);
        const HRSRC found = ::FindResourceExW(walk.module, type, name, language);
        const auto* bytes =
            static_cast<const char*>(::LockResource(::LoadResource(walk.module, found)));
        walk.found[Text(type) + L"/" + Text(name) + L"/" + std::to_wstring(language)] =
            std::string(bytes, ::SizeofResource(walk.module, found));
        return TRUE;
    }
    static BOOL CALLBACK OnName(HMODULE module, LPCWSTR type, LPWSTR name, LONG_PTR self) {
        return ::EnumResourceLanguagesW(module, type, name, &OnLanguage, self);
    }
    static BOOL CALLBACK OnType(HMODULE module, LPWSTR type, LONG_PTR self) {
        return ::EnumResourceNamesW(module, type, &OnName, self);
    }
};
std::map<std::wstring, std::string> ResourcesOf(const fs::path& image) {
    const pkgshared::UniqueHmodule module(::LoadLibraryExW(
        image.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
    ResourceWalk walk{module.get(), {}};
    ::EnumResourceTypesW(module.get(), &ResourceWalk::OnType, reinterpret_cast<LONG_PTR>(&walk));
    return walk.found;
}

// An installer keeps every resource of its template and holds the added ones, each once, also
// when it is itself packed again; a template whose layout cannot be rebuilt goes through the
// system's update functions to the same resources. Either way a signed template's certificate is
// left out and the CheckSum is the one Windows computes.
TEST_F(PackToolTest, TemplateResourcesAreKeptAndAddedOnesReplaced) {
    const std::string first = ProgramHead() + orvik::testing::RandomBytes(3 << 20, 4);
    fs::create_directories(scratch_ / L"a");
    WriteBytes(scratch_ / L"a" / L"Install.exe", first);
    fs::create_directories(scratch_ / L"b");
    WriteBytes(scratch_ / L"b" / L"Install.exe", ProgramHead() + "second");
    WriteBytes(
        scratch_ / L"online.xml",
        "<orvikpkgOnlineInstall schemaVersion=\"26.5\"><downloadItem "
        "uri=\"https://x.invalid/s.xml\"/><progressTitle value=\"T\"/></orvikpkgOnlineInstall>");
    // The probe with the section after its resources no longer discardable.
    std::string fixed = ReadBytes(probe_);
    fixed[SectionHeader(fixed, ".rsrc") + 40 + 36 + 3] &= ~0x02;
    WriteBytes(scratch_ / L"fixed.exe", fixed);
    WriteBytes(scratch_ / L"signed.exe", Signed(ReadBytes(probe_)));
    WriteBytes(scratch_ / L"signed-fixed.exe", Signed(fixed));
    const std::map<std::wstring, std::string> own = ResourcesOf(probe_);
    ASSERT_EQ(6u, own.size());
    const auto payloadDir = [&](const wchar_t* folder) {
        return L"--payload-dir " + Quoted(scratch_ / folder);
    };
    const struct {
        fs::path templatePath, output;
        std::wstring arguments;
        std::string install;
    } rows[] = {
        {probe_, scratch_ / L"1.exe",
         payloadDir(L"a") + L" --online-install " + Quoted(scratch_ / L"online.xml"), first},
        {scratch_ / L"1.exe", scratch_ / L"2.exe", payloadDir(L"b"), ProgramHead() + "second"},
        {scratch_ / L"fixed.exe", scratch_ / L"3.exe",
         payloadDir(L"a") + L" --online-install " + Quoted(scratch_ / L"online.xml"), first},
        {scratch_ / L"signed.exe", scratch_ / L"4.exe",
         payloadDir(L"a") + L" --online-install " + Quoted(scratch_ / L"online.xml"), first},
        {scratch_ / L"signed-fixed.exe", scratch_ / L"5.exe",
         payloadDir(L"a") + L" --online-install " + Quoted(scratch_ / L"online.xml"), first},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const auto packed = Pack(row.output, row.arguments, row.templatePath);
        ASSERT_EQ(0, packed.exitCode) << packed.output;
        auto found = ResourcesOf(row.output);
        EXPECT_EQ(ReadBytes(scratch_ / L"online.xml"), found[L"#10/ORVIKPKG_ONLINE_INSTALL/0"]);
        EXPECT_EQ(16u, found[L"#10/ORVIKPKG_PAYLOAD_CHECK/0"].size());
        for (const auto& [key, bytes] : own) {
            EXPECT_EQ(bytes, found[key]) << key;
        }
        EXPECT_EQ(own.size() + 3, found.size());
        // No signature that no longer matches, and the CheckSum Windows computes.
        EXPECT_EQ(std::string::npos, ReadBytes(row.output).find(kCertificate));
        DWORD header = 0, computed = 0;
        EXPECT_EQ(CHECKSUM_SUCCESS, ::MapFileAndCheckSumW(row.output.c_str(), &header, &computed));
        EXPECT_EQ(computed, header);
        ASSERT_EQ(0, Probe(row.output));
        EXPECT_EQ(row.install, ReadBytes(run_ / L"payload" / L"Install.exe"));
    }
}

// A release engineer's mistakes, each a command line: the template (the probe when empty), the
// output (out.exe when empty), the tool's exit code, a piece of its output ("!" first: a piece it
// must not print), whether an installer is written, and the code of the written installer's
// unpack. A refused run leaves nothing behind.
TEST_F(PackToolTest, EveryMistakeIsRefusedWithItsCauseAndLeavesNothing) {
    const auto in = [&](const wchar_t* name) { return L"--payload " + Quoted(scratch_ / name); };
    const auto dir = [&](const wchar_t* name) {
        return L"--payload-dir " + Quoted(scratch_ / name);
    };
    const fs::path good = scratch_ / L"good.tar.gz", output = scratch_ / L"out.exe";
    const std::string program = ProgramHead() + std::string(300000, 'x');
    using orvik::testing::ArchiveItem, orvik::testing::Format;
    const std::pair<const wchar_t*, std::vector<ArchiveItem>> archives[] = {
        {L"good.tar.gz", {{"Install.exe", program, 0755}}},
        {L"escaping.tar.gz",
         {{"Install.exe", program}, {"../evil.dll", "x"}, {"bin/link", "", 0777, "../../out"}}},
        {L"device.tar.gz", {{"Install.exe", program}, {"sub/Nul.tar.gz", "lost on Windows"}}},
        {L"text.tar.gz", {{"Install.exe", "a text, not a program"}}},
        {L"latin1.tar.gz", {{"Install.exe", program}, {"\xE9t\xE9.txt", "a Latin-1 name"}}}};
    for (const auto& [name, items] : archives) {  // names that are not UTF-8 need gnu headers
        ASSERT_TRUE(orvik::testing::WriteArchive(scratch_ / name,
                                                 name[0] == L'l' ? Format::Gnu : Format::Tar,
                                                 orvik::testing::Filter::Gzip, items));
    }
    const std::pair<const wchar_t*, std::string> files[] = {
        {L"zeros.tar.gz", std::string(1 << 20, '\0')},
        {L"truncated.tar.gz", ReadBytes(good).substr(0, fs::file_size(good) / 2)},
        {L"nested/bin/Install.exe", program},
        {L"suite/Install.exe", program},
        {L"suite/suite.dat", "a suite"},
        {L"shipped/bin/suite.dat", "a suite"},  // beside the output
        {L"unclosed.xml", "<orvikpkgOnlineInstall"},
        {L"online.xml",
         "<orvikpkgOnlineInstall schemaVersion=\"26.5\"><downloadItem uri=\"https://"
         "x.invalid/s.xml\"/><progressTitle value=\"T\"/></orvikpkgOnlineInstall>"}};
    for (const auto& [name, bytes] : files) {
        fs::create_directories((scratch_ / name).parent_path());
        WriteBytes(scratch_ / name, bytes);
    }
    fs::copy_file(probe_, scratch_ / L"template.exe");
    // Sparse, and refused before it is read.
    WriteBytes(scratch_ / L"huge.tar.gz", "");
    fs::resize_file(scratch_ / L"huge.tar.gz", (std::uint64_t{1536} << 20) + 1);
    const std::string refused = "the payload would be refused by the bootstrapper: -125213",
                      ceiling = "error: the payload archive is 1610612737 bytes; an installer",
                      notTemplate = "; give --template the bootstrapper template";
    const fs::path bin = orvik::testing::BinDirectory(), none;
    const struct {
        fs::path templatePath, out;
        std::wstring arguments;
        int exitCode;
        std::string output;
        bool writes = false;
        std::int32_t probe = 0;
    } rows[] = {
        {none, none, in(L"good.tar.gz"), 0, "wrote", true, 0},
        {bin / L"orvikpkg-pack.exe", none, in(L"good.tar.gz"), 1,
         "is a 64-bit program" + notTemplate},
        {bin / L"orvikpkg-sysinfo.exe", none, in(L"good.tar.gz"), 1,
         "is a Windows program but not an installer template" + notTemplate},
        {scratch_ / L"unclosed.xml", none, in(L"good.tar.gz"), 1, "is not a Windows program"},
        {none, scratch_ / L"gone" / L"out.exe", in(L"good.tar.gz"), 1, "the output folder"},
        {scratch_ / L"template.exe", scratch_ / L"template.exe", in(L"good.tar.gz"), 1,
         "template.exe is the input"},
        {none, none, dir(L"nested"), 1, "no Install.exe at its root"},
        {none, none, in(L"zeros.tar.gz"), 1, "the payload holds no entries"},
        {none, none, in(L"text.tar.gz"), 1, "Install.exe at the payload's root is not a Windows"},
        {none, none, in(L"device.tar.gz"), 1, "error: sub/Nul.tar.gz: "},
        {none, none, in(L"latin1.tar.gz"), 1, "\\xE9t\\xE9.txt: a name that is not valid UTF-8"},
        {none, none, in(L"truncated.tar.gz"), 1, "error: " + refused},
        // Forced, the installer is built and fails the way the check said.
        {none, none, in(L"truncated.tar.gz") + L" --force", 0, "warning: " + refused, true,
         -125213},
        {none, none, in(L"escaping.tar.gz"), 1, "error: ../evil.dll: "},
        {none, none, dir(L"suite"), 0, "warning: the payload carries suite.dat; a suite", true, 0},
        {none, none, dir(L"suite") + L" --online-install " + Quoted(scratch_ / L"online.xml"), 0,
         "!suite.dat", true, 0},
        {none, scratch_ / L"shipped" / L"out.exe", dir(L"suite"), 0, "!suite.dat", true, 0},
        {none, none, in(L"huge.tar.gz"), 1, ceiling},
        {none, none, in(L"huge.tar.gz") + L" --force", 1, ceiling},
        {none, none, L"--online-install " + Quoted(scratch_ / L"unclosed.xml"), 1, "-126312"},
        {none, none, L"--online-install " + Quoted(scratch_ / L"gone.xml"), 1, "gone.xml: No such"},
        {none, none, L"--what", 2, "unknown argument '--what'"},
        {none, none, L"-h", 0, "usage: orvikpkg-pack.exe"},
        {none, none, L"--version", 0, "probe.exe: bootstrapper 1.2.3.4"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const fs::path out = row.out.empty() ? output : row.out;
        fs::remove(output);
        const auto packed = Pack(out, row.arguments, row.templatePath);
        EXPECT_EQ(row.exitCode, packed.exitCode) << packed.output;
        const bool absent = row.output[0] == '!';
        EXPECT_EQ(absent, packed.output.find(row.output.substr(absent)) == std::string::npos)
            << packed.output;
        EXPECT_EQ(row.writes, fs::exists(row.writes ? out : output));
        for (const wchar_t* left : {L"out.exe.partial", L"out.exe.payload.tar.gz"}) {
            EXPECT_FALSE(fs::exists(scratch_ / left)) << left;
        }
        if (row.writes) {
            EXPECT_EQ(row.probe, Probe(out));
        }
    }
}

// Out of room, writing the installer or archiving a folder, the tool says what to free and leaves
// nothing behind (on the file system of 1 MiB that tools/test/run-tests.sh mounts as root).
TEST_F(PackToolTest, OutOfRoomItSaysWhatToFreeAndLeavesNothing) {
    const char* tiny = std::getenv("ORVIK_TINY_FS");
    if (tiny == nullptr) {
        GTEST_SKIP() << "ORVIK_TINY_FS names no file system (run-tests.sh mounts it where mounting "
                        "is allowed)";
    }
    const fs::path full = orvik::testing::WinePath(tiny), good = scratch_ / L"good.tar.gz";
    using orvik::testing::Filter, orvik::testing::Format, orvik::testing::WriteArchive;
    ASSERT_TRUE(WriteArchive(good, Format::Tar, Filter::Gzip,
                             {{"Install.exe", ProgramHead() + std::string(300000, 'x'), 0755}}));
    fs::create_directory(scratch_ / L"big");
    WriteBytes(scratch_ / L"big" / L"Install.exe",
               ProgramHead() + orvik::testing::RandomBytes(1 << 21, 7));
    for (const auto& input :
         {L"--payload " + Quoted(good), L"--payload-dir " + Quoted(scratch_ / L"big")}) {
        const auto packed = Pack(full / L"out.exe", input);
        EXPECT_EQ(1, packed.exitCode);
        EXPECT_NE(std::string::npos, packed.output.find("free space there or write the "
                                                        "installer to another folder"))
            << packed.output;
        EXPECT_TRUE(fs::is_empty(full)) << packed.output;
    }
}
}  // namespace
}  // namespace orvik::tools::pack
