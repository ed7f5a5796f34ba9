// The real template in hostile conditions: every run ends with its
// documented code, no crash, no hang, and no working directory left behind.
#include <gtest/gtest.h>

#include <windows.h>

#include "BootstrapperFixture.h"
#include "support/ArchiveBuilder.h"
#include "support/TestData.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::testing::RandomBytes;
using orvik::testing::WinePath;

// Sets an environment variable for the runs of one test.
class ScopedEnvironment {
public:
    ScopedEnvironment(const wchar_t* name, const std::wstring& value) : name_(name) {
        wchar_t buffer[4096] = {};
        const DWORD length = ::GetEnvironmentVariableW(name, buffer, 4096);
        had_ = length > 0 && length < 4096;
        old_.assign(buffer, had_ ? length : 0);
        ::SetEnvironmentVariableW(name, value.c_str());
    }
    ~ScopedEnvironment() { ::SetEnvironmentVariableW(name_, had_ ? old_.c_str() : nullptr); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    const wchar_t* name_;
    bool had_ = false;
    std::wstring old_;
};

class FaultTest : public BootstrapperTest {
protected:
    // A gzip tar payload of `items`, or the bytes given, packed with --force.
    void PackPayload(const std::string& bytes) {
        fs::remove(setup_);
        const fs::path payload = scratch_ / L"payload.bin";
        WriteBytes(payload, bytes);
        Pack(setup_, L"--payload " + Quoted(payload) + L" --force");
    }
    std::string TarGz(const std::vector<orvik::testing::ArchiveItem>& items) {
        const fs::path file = scratch_ / L"made.tar.gz";
        EXPECT_TRUE(orvik::testing::WriteArchive(file, orvik::testing::Format::Tar,
                                                 orvik::testing::Filter::Gzip, items));
        return ReadBytes(file);
    }
    // Runs unattended; checks that no working directory stays and that the
    // code is reported in errorlog.txt.
    orvik::testing::ChildResult RunFailing(std::int32_t code, const std::wstring& arguments = L"") {
        const std::string before = ReadBytes(DefaultLogs() / L"errorlog.txt");
        const int left = LeftWorkingDirectories();
        auto result = Bootstrap(L"--quiet " + arguments);
        EXPECT_EQ(code, result.exitCode) << result.output;
        EXPECT_EQ(left, LeftWorkingDirectories());
        const std::string report = ReadBytes(DefaultLogs() / L"errorlog.txt").substr(before.size());
        EXPECT_NE(std::string::npos, report.find("Error code: " + std::to_string(code))) << report;
        return result;
    }
};

TEST_F(FaultTest, DamagedPayloads) {
    const std::string good = TarGz({{"Install.exe", RandomBytes(400000, 1), 0755}});
    std::string flipped = good;
    for (size_t i = good.size() / 3; i < good.size() / 3 + 64; ++i) {
        flipped[i] = static_cast<char>(~flipped[i]);
    }
    // The gzip reader does not check the stream's CRC: this damage inflates
    // without error into an "Install.exe" that is no program, which is refused
    // before the shell could show a dialog.
    const std::pair<std::string, std::int32_t> cases[] = {
        {good.substr(0, good.size() / 2), -125213},  // truncated
        {flipped, -126304},                          // corrupt inside the compressed data
        {RandomBytes(5000, 2), -125026},             // not gzip at all
    };
    for (const auto& [bytes, code] : cases) {
        PackPayload(bytes);
        RunFailing(code);
        EXPECT_FALSE(fs::exists(record_)) << "no child may start";
    }
}

TEST_F(FaultTest, PayloadWithoutInstaller) {
    PackPayload(TarGz({{"readme.txt", "no installer here", 0644}}));
    RunFailing(-126304);
    EXPECT_FALSE(fs::exists(record_));
}

TEST_F(FaultTest, CrashingChildPassesItsExceptionCodeThrough) {
    // No crash dialog from Wine's debugger: the child just ends.
    orvik::testing::SetRegistryValue(HKEY_CURRENT_USER, L"Software\\Wine\\WineDbg",
                                     L"ShowCrashDialog", REG_DWORD, "\0\0\0\0", 4, 0);
    InstallChild("crash");
    const int left = LeftWorkingDirectories();
    const auto result = Bootstrap(L"--quiet");
    EXPECT_EQ(static_cast<std::int32_t>(EXCEPTION_ACCESS_VIOLATION), result.exitCode);
    EXPECT_EQ(left, LeftWorkingDirectories());
    ASSERT_EQ(1u, Records().size());
}

TEST_F(FaultTest, RegistryValuesOfTheWrongKindCountAsAbsent) {
    const std::wstring key = L"SOFTWARE\\Calvenna\\Orvik Package Manager\\CurrentVersion";
    const DWORD number = 7;
    const std::wstring tooLong(1500, L'x');
    InstallChild("0,0");
    for (int round = 0; round < 2; ++round) {
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
        if (round == 0) {
            orvik::testing::SetRegistryValue(HKEY_LOCAL_MACHINE, key, L"GUIExecutableFullPath",
                                             REG_DWORD, &number, sizeof(number), KEY_WOW64_32KEY);
        } else {
            orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"GUIExecutableFullPath",
                                              L"C:\\" + tooLong + L"\\orvikpkg.exe",
                                              KEY_WOW64_32KEY);
        }
        fs::remove(record_);
        const auto result = Bootstrap(L"--quiet");
        EXPECT_EQ(0, result.exitCode) << round;
        // Taken as not installed: the carried installer runs, nothing else.
        const auto records = Records();
        ASSERT_EQ(1u, records.size()) << round;
        EXPECT_EQ(0u, records[0].find("Install.exe|")) << records[0];
    }
}

TEST_F(FaultTest, BrokenOnlineInstallDescriptions) {
    const std::string body =
        "<downloadItem id=\"suite\" uri=\"https://example.invalid/suite.xml\"/>"
        "<progressTitle value=\"Installing\"/>";
    const std::pair<std::string, std::int32_t> cases[] = {
        {"<orvikpkgOnlineInstall schemaVersion=\"26.5\">" + body, -126312},
        {"<orvikpkgOnlineInstall schemaVersion=\"27.0\">" + body + "</orvikpkgOnlineInstall>",
         -126313},
        {"<orvikpkgOnlineInstall schemaVersion=\"26.5\"><progressTitle value=\"x\"/>"
         "</orvikpkgOnlineInstall>",
         -126314},
    };
    InstallPackageManager(L"26.5.0.10");
    for (const auto& [xml, code] : cases) {
        const fs::path file = scratch_ / L"online.xml";
        WriteBytes(file, xml);
        fs::remove(setup_);
        Pack(setup_, L"--online-install " + Quoted(file) + L" --force");
        RunFailing(code);
        EXPECT_FALSE(fs::exists(record_));
    }
}

// The test run mounts a read-only file system and names it in
// ORVIK_READONLY_FS: as root, Wine's file permissions would not stop a write.
TEST_F(FaultTest, TemporaryFolderThatCannotBeWritten) {
    const char* readOnly = std::getenv("ORVIK_READONLY_FS");
    if (readOnly == nullptr || *readOnly == '\0') {
        GTEST_SKIP() << "no read-only file system was mounted for this run (needs root)";
    }
    const ScopedEnvironment tmp(L"TMP", WinePath(readOnly));
    const ScopedEnvironment tempVariable(L"TEMP", WinePath(readOnly));
    InstallChild("0");
    RunFailing(-125098);
    EXPECT_FALSE(fs::exists(record_));
}

// A temporary folder that does not exist is passed over for the next one the
// system offers: the run succeeds there and leaves nothing.
TEST_F(FaultTest, MissingTemporaryFolderIsPassedOver) {
    const std::wstring temp = (scratch_ / L"gone" / L"tmp").wstring();
    const ScopedEnvironment tmp(L"TMP", temp);
    const ScopedEnvironment tempVariable(L"TEMP", temp);
    InstallChild("0");
    const int left = LeftWorkingDirectories();
    const auto result = Bootstrap(L"--quiet");
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(1u, Records().size());
    EXPECT_FALSE(fs::exists(scratch_ / L"gone"));
    EXPECT_EQ(left, LeftWorkingDirectories());
}

// The test run mounts a 1 MiB file system and names it in ORVIK_TINY_FS.
TEST_F(FaultTest, DiskFullWhileExtracting) {
    const char* tiny = std::getenv("ORVIK_TINY_FS");
    if (tiny == nullptr || *tiny == '\0') {
        GTEST_SKIP() << "no small file system was mounted for this run (needs root)";
    }
    // A few kilobytes packed, 3 MB unpacked: the archive fits, its contents do not.
    PackPayload(TarGz({{"Install.exe", "MZ", 0755}, {"big.bin", std::string(3000000, 'z'), 0644}}));
    const std::wstring temp = WinePath(tiny);
    const ScopedEnvironment tmp(L"TMP", temp);
    const ScopedEnvironment tempVariable(L"TEMP", temp);
    RunFailing(-125121);
    EXPECT_FALSE(fs::exists(record_));
    EXPECT_TRUE(fs::is_empty(temp));
}

TEST_F(FaultTest, LogsFolderThatCannotBeMadeStillRuns) {
    // The installed package manager's orvikpkg.ini puts the logs under a file.
    const fs::path manager = InstallPackageManager(L"26.5.0.10").parent_path();
    WriteBytes(scratch_ / L"blocker", "a file");
    const std::wstring key = L"SOFTWARE\\Calvenna\\Orvik Package Manager\\CurrentVersion";
    orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"Path", manager.wstring(),
                                      KEY_WOW64_32KEY);
    WriteBytes(manager / L"orvikpkg.ini", "[Settings]\r\nlogs-directory=" +
                                              (scratch_ / L"blocker" / L"logs").string() + "\r\n");
    InstallChild("0,0");
    const auto result = Bootstrap(L"--quiet");
    EXPECT_EQ(0, result.exitCode) << result.output;
    EXPECT_FALSE(Records().empty());
    EXPECT_FALSE(fs::exists(scratch_ / L"blocker" / L"logs"));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
