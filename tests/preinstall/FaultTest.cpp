// The real template in hostile conditions: every run ends with its
// documented code, no crash, no hang, and no working directory left behind.
#include <gtest/gtest.h>

#include <windows.h>

#include <functional>

#include "BootstrapperFixture.h"
#include "shared/ErrorMessage.h"
#include "support/ArchiveBuilder.h"
#include "support/TestData.h"
#include "support/WinePath.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::testing::RandomBytes;
using orvik::testing::WinePath;

// An environment variable's value, or nothing when it is not set.
std::optional<std::wstring> Variable(const wchar_t* name) {
    std::wstring value(32767, L'\0');
    value.resize(::GetEnvironmentVariableW(name, value.data(), 32767));
    return value.empty() ? std::nullopt : std::optional<std::wstring>(value);
}
void SetVariable(const wchar_t* name, const std::optional<std::wstring>& value) {
    ::SetEnvironmentVariableW(name, value ? value->c_str() : nullptr);
}

class FaultTest : public BootstrapperTest {
protected:
    std::string TarGz(const std::vector<orvik::testing::ArchiveItem>& items) {
        const fs::path file = scratch_ / L"made.tar.gz";
        EXPECT_TRUE(orvik::testing::WriteArchive(file, orvik::testing::Format::Tar,
                                                 orvik::testing::Filter::Gzip, items));
        return ReadBytes(file);
    }
    // Packs setup.exe with `option` naming a file of `bytes`, forced.
    std::function<void()> Packed(const wchar_t* option, const std::string& bytes) {
        return [this, option, bytes] {
            WriteBytes(scratch_ / L"packed.bin", bytes);
            Pack(option + Quoted(scratch_ / L"packed.bin") + L" --force");
        };
    }
};

// Each fault, run with --quiet: the exit code, the code errorlog.txt gains
// (0: it stays as it was), how many children started, and for a temporary
// folder of its own (TMP and TEMP) that nothing is left or made there.
TEST_F(FaultTest, EveryFaultEndsWithItsCodeAndLeavesNothing) {
    const std::string good = TarGz({{"Install.exe", RandomBytes(400000, 1), 0755}});
    std::string flipped = good;
    for (size_t i = good.size() / 3; i < good.size() / 3 + 64; ++i) {
        flipped[i] = static_cast<char>(~flipped[i]);
    }
    const std::string body =
        "<downloadItem id=\"suite\" uri=\"https://example.invalid/suite.xml\"/>"
        "<progressTitle value=\"Installing\"/>";
    const char* readOnly = std::getenv("ORVIK_READONLY_FS");  // mounted by the test run as root
    const char* tiny = std::getenv("ORVIK_TINY_FS");          // 1 MiB, mounted likewise
    struct Row {
        const char* name;
        std::function<void()> setup;
        const char* codes;  // null: no "bin\Install.exe"
        std::wstring temp;  // empty: the usual one
        std::int32_t exitCode, reported;
        size_t children;
    };
    const std::string open = "<orvikpkgOnlineInstall schemaVersion=",
                      close = "</orvikpkgOnlineInstall>";
    const auto online = [&](const std::string& xml) {
        return [this, xml] {
            InstallPackageManager(L"26.5.0.10"), Packed(L"--online-install ", xml)();
        };
    };
    // clang-format off
    const Row rows[] = {
        {"truncated payload", Packed(L"--payload ", good.substr(0, good.size() / 2)), nullptr, L"", -125213, -125213, 0},
        // The gzip reader does not check the stream's CRC: this inflates into an
        // "Install.exe" that is no program, refused before any dialog.
        {"corrupt payload", Packed(L"--payload ", flipped), nullptr, L"", -126304, -126304, 0},
        {"payload not gzip", Packed(L"--payload ", RandomBytes(5000, 2)), nullptr, L"", -125026, -125026, 0},
        {"payload without installer", Packed(L"--payload ", TarGz({{"readme.txt", "text", 0644}})), nullptr, L"",
         -126304, -126304, 0},
        {"unclosed description", online(open + "\"26.5\">" + body), nullptr, L"", -126312, -126312, 0},
        {"newer schema", online(open + "\"27.0\">" + body + close), nullptr, L"", -126313, -126313, 0},
        {"no download item", online(open + "\"26.5\"><progressTitle value=\"x\"/>" + close), nullptr, L"",
         -126314, -126314, 0},
        {"crashing child", [] {}, "crash", L"", static_cast<std::int32_t>(EXCEPTION_ACCESS_VIOLATION), -126308, 1},
        {"temporary folder read-only", [] {}, "0", readOnly ? WinePath(readOnly) : L"-", -125098, -125098, 0},
        // Passed over for the next folder the system offers.
        {"temporary folder missing", [] {}, "0", (scratch_ / L"gone" / L"tmp").wstring(), 0, 0, 1},
        // A few kilobytes packed, 3 MB unpacked: the archive fits, its contents do not.
        {"disk full while extracting", Packed(L"--payload ", TarGz({{"Install.exe", "MZ", 0755},
         {"big.bin", std::string(3000000, 'z'), 0644}})), nullptr, tiny ? WinePath(tiny) : L"-", -125121, -125121, 0},
        // The manager's orvikpkg.ini puts the logs under a file: the run goes on.
        {"logs folder cannot be made", [this] {
             const fs::path folder = InstallPackageManager(L"26.5.0.10").parent_path();
             orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, kManagerKey, L"Path", folder.wstring(),
                                               KEY_WOW64_32KEY);
             WriteBytes(scratch_ / L"blocker", "a file");
             WriteBytes(folder / L"orvikpkg.ini",
                        "[Settings]\r\nlogs-directory=" + (scratch_ / L"blocker" / L"logs").string());
         }, "0,0", L"", 0, 0, 1},
    };
    // clang-format on
    // No crash dialog from Wine's debugger: a crashing child just ends.
    orvik::testing::SetRegistryValue(HKEY_CURRENT_USER, L"Software\\Wine\\WineDbg",
                                     L"ShowCrashDialog", REG_DWORD, "\0\0\0\0", 4, 0);
    const auto tmp = Variable(L"TMP"), temp = Variable(L"TEMP");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.temp == L"-") {
            std::cout << "[ SKIPPED  ] " << row.name << ": its file system is not mounted\n";
            continue;
        }
        UseFolder(L"row" + std::to_wstring(&row - rows));
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
        ASSERT_NO_FATAL_FAILURE(row.setup());
        if (row.codes != nullptr) {
            InstallChild(row.codes);
        }
        // A temporary folder of the row's own is neither made nor left with
        // anything in it.
        const fs::path folder(row.temp);
        const auto held = [&] {
            return !fs::exists(folder)
                       ? -1
                       : static_cast<int>(std::distance(fs::directory_iterator(folder),
                                                        fs::directory_iterator()));
        };
        const int before = held();
        SetVariable(L"TMP", row.temp.empty() ? tmp : row.temp);
        SetVariable(L"TEMP", row.temp.empty() ? temp : row.temp);
        const Outcome run = Bootstrap(L"--quiet");
        SetVariable(L"TMP", tmp);
        SetVariable(L"TEMP", temp);
        EXPECT_EQ(row.exitCode, run.exitCode) << run.output;
        EXPECT_EQ(row.children, run.records.size());
        EXPECT_EQ(0, run.left);
        EXPECT_EQ(before, held());
        ExpectReported(run.report, row.reported);
    }
    EXPECT_FALSE(fs::exists(scratch_ / L"blocker" / L"logs"));
}

// In a suite run the installed manager is launched from the path the
// registry holds; a value that is not a string counts as absent, so the
// launch fails naming the value, even when its bytes spell a real program.
TEST_F(FaultTest, RegistryValuesOfTheWrongKindCountAsAbsent) {
    const std::string absent = orvik::pkgshared::WideToUtf8(
        orvik::pkgshared::FormatErrorMessage(-126304, 0, L"GUIExecutableFullPath"));
    for (const DWORD type : {REG_SZ, REG_DWORD, REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY}) {
        SCOPED_TRACE(type);
        UseFolder(L"type" + std::to_wstring(type));
        InstallChild("0,0", true);
        // The path, ended twice as a REG_MULTI_SZ would be; or a number.
        const std::wstring path = InstallPackageManager(L"99.0").wstring() + L'\0';
        const DWORD number = 7;
        orvik::testing::SetRegistryValue(
            HKEY_LOCAL_MACHINE, kManagerKey, L"GUIExecutableFullPath", type,
            type == REG_DWORD ? static_cast<const void*>(&number) : path.c_str(),
            type == REG_DWORD ? 4 : static_cast<DWORD>((path.size() + 1) * 2), KEY_WOW64_32KEY);
        const Outcome run = Bootstrap(L"--quiet");
        const bool read = type == REG_SZ;
        EXPECT_EQ(read ? 0 : -126304, run.exitCode) << run.output;
        ASSERT_EQ(read ? 2u : 1u, run.records.size());
        EXPECT_EQ("Install.exe", run.records[0].program);
        EXPECT_EQ(!read, run.report.find(absent) != std::string::npos);
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
