// The real template run as setup.exe, the recording child as "bin\Install.exe" and the manager.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <functional>
#include <set>
#include <sstream>
#include "preinstall/PayloadCheck.h"
#include "shared/ErrorMessage.h"
#include "shared/utils/RegistryString.h"
#include "support/ArchiveBuilder.h"
#include "support/ChildProcess.h"
#include "support/RegistryFixture.h"
#include "support/TestData.h"

namespace orvik::pkgui::preinstall {
namespace {
namespace fs = boost::filesystem;
namespace t = orvik::testing;
using t::Quoted, t::ReadBytes, t::WriteBytes;

const std::wstring kManagerKey = L"SOFTWARE\\Calvenna\\Orvik Package Manager\\CurrentVersion";
const std::string kOnlineXml =
    "<orvikpkgOnlineInstall schemaVersion=\"26.5.0.49297\"><downloadItem uri=\"https://x.invalid/"
    "s.xml\"/><progressTitle value=\"Suite\"/></orvikpkgOnlineInstall>";
// Children as rows expect them: a prefix of "program|directory|parameters".
const std::string kIn = "Install.exe|", kBin = kIn + "{scratch}\\bin|", kPm = "orvikpkg.exe|",
                  kWork = kIn + "{work}\\payload|install orvik-package-manager ",
                  kProduct = kBin + "install-suite suite.dat --passive --install-orvikpm-with";
// A run ends within this many rounds of Watch (a quarter of a second each) or is ended.
constexpr int kRunRounds = 60;

// What a row of the end-to-end tables sets up before its run.
enum { kSuite = 1, kManager = 2, kOldManager = 4, kPayload = 8, kOnline = 16 };
enum { kReadOnlyTemp = 64, kTinyTemp = 128, kGoneTemp = 256, kLogsBlocked = 512 };
enum { kFlipMiddle = 1024, kFlipEnd = 2048, kCut = 4096, kNoCheck = 8192 };
enum { kLogsOff = 16384, kHeld = 32768 };  // in the run's "logs"; "Install.exe" held open
struct Row {
    const char* codes;  // of the children in turn; null: no "bin\Install.exe"
    int kind;
    std::string packed;  // the payload or description packed into setup.exe (kPayload, kOnline)
    std::wstring arguments;
    std::int32_t exitCode, reported;
    std::vector<std::string> children;
    std::string check = {};  // set as the payload's check resource, when not empty
};

class BootstrapperTest : public ::testing::Test {
protected:
    void SetUp() override { UseFolder(L"run"); }
    void TearDown() override { t::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna"); }
    // Starts over in a new folder `name`: setup.exe is the template, no package manager.
    void UseFolder(const std::wstring& name) {
        base_ = scratch_ / name.c_str();
        fs::create_directories(base_ / L"bin" / L"resources");
        fs::copy_file(bin_ / L"preinstall.exe", base_ / L"setup.exe");
        ::SetEnvironmentVariableW(L"ORVIK_RECORD_FILE", (base_ / L"record").c_str());
        t::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
    }
    // The recording child as the manager: path in the 32-bit view, version in the 64-bit one.
    fs::path InstallPackageManager(const wchar_t* version) {
        const fs::path program = base_ / L"orvikpkg.exe";
        fs::copy_file(bin_ / L"child_recorder.exe", program);
        t::SetRegistryString(HKEY_LOCAL_MACHINE, kManagerKey, L"GUIExecutableFullPath",
                             program.wstring(), KEY_WOW64_32KEY);
        if (version != nullptr) {
            t::SetRegistryString(HKEY_LOCAL_MACHINE, kManagerKey, L"GUIExecutableVersion", version,
                                 KEY_WOW64_64KEY);
        }
        return program;
    }
    // The recording child as "bin\Install.exe", with the files of a suite when asked; the
    // children exit with `codes` in turn.
    void InstallChild(const std::string& codes, bool suite = false) {
        fs::copy_file(bin_ / L"child_recorder.exe", base_ / L"bin" / L"Install.exe");
        WriteBytes(base_ / L"record.codes", codes);
        if (suite) {
            WriteBytes(base_ / L"bin" / L"suite.dat", "suite");
            WriteBytes(base_ / L"bin" / L"resources" / L"config.dat", "config");
        }
    }
    std::string TarGz(const std::vector<t::ArchiveItem>& items) {
        EXPECT_TRUE(t::WriteArchive(base_ / L"made", t::Format::Tar, t::Filter::Gzip, items));
        return ReadBytes(base_ / L"made");
    }
    // Packs setup.exe, forced, with `option` naming a file of `bytes`.
    void Pack(const std::wstring& option, const std::string& bytes) {
        WriteBytes(base_ / L"packed", bytes);
        fs::remove(base_ / L"setup.exe");
        const auto pack =
            t::Pack(L"--template " + Quoted(bin_ / L"preinstall.exe") + L" --force " + option +
                        Quoted(base_ / L"packed") + L" --output " + Quoted(base_ / L"setup.exe"),
                    base_);
        ASSERT_EQ(0, pack.exitCode) << pack.output;
    }
    static long WorkingDirectories() {
        return std::count_if(fs::directory_iterator(fs::temp_directory_path()), {}, [](auto& e) {
            return e.path().filename().string().rfind("orvikpkg_preinstall-", 0) == 0;
        });
    }
    // A message box of the run is handed once to `onBox_`; without it, it fails the test.
    bool Watch(const PROCESS_INFORMATION& p) {
        for (HWND box = nullptr; (box = ::FindWindowExW(nullptr, box, L"#32770", nullptr));) {
            DWORD owner = 0;
            ::GetWindowThreadProcessId(box, &owner);
            if (owner == p.dwProcessId && ::IsWindowVisible(box) && box != seen_) {
                EXPECT_TRUE(onBox_) << "a message box appeared";
                onBox_ ? onBox_(seen_ = box) : (void)::PostMessageW(seen_ = box, WM_CLOSE, 0, 0);
            }
        }
        return ++rounds_ < kRunRounds;
    }
    // Runs setup.exe to its end (or ends it after kRunRounds): its exit code, what errorlog.txt
    // gained and the code in it (0: nothing), the children it started
    // ("program|directory|parameters", with the run's folder written {scratch} and its working
    // directory {work}).
    void Bootstrap(const std::wstring& arguments) {
        const std::string errors = ReadBytes(errorLog_);
        const long left = WorkingDirectories();
        rounds_ = 0;
        const auto run = t::Run(Quoted(base_ / L"setup.exe") + L" " + arguments, base_,
                                [this](const PROCESS_INFORMATION& p) { return Watch(p); });
        EXPECT_LT(rounds_, kRunRounds) << "the run did not end in " << kRunRounds / 4 << " s";
        exit_ = run.exitCode;
        report_ = ReadBytes(errorLog_).substr(errors.size());
        children_.clear();
        EXPECT_EQ(left, WorkingDirectories()) << "working directories left";
        const size_t code = report_.find("Error code: ");
        reported_ = code != std::string::npos ? std::atoi(&report_[code + 12]) : !report_.empty();
        const std::string base = pkgshared::WideToUtf8(base_.wstring());
        std::istringstream in(ReadBytes(base_ / L"record"));
        for (std::string line; std::getline(in, line); children_.push_back(line)) {
            // The command line's program, quoted or not, goes.
            const size_t bar = line.find('|', line.find('|') + 1) + 1;
            const size_t end = line[bar] == '"' ? line.find('"', bar + 1) + 1 : line.find(' ', bar);
            line = line.substr(0, bar) + (end < line.size() ? line.substr(end + 1) : "");
            for (size_t at; (at = line.find(base)) != std::string::npos;) {
                line.replace(at, base.size(), "{scratch}");
            }
            for (size_t at; (at = line.find("orvikpkg_preinstall-")) != std::string::npos;) {
                const size_t start = line.find_last_of("|\"", at) + 1;
                line.replace(start, line.find_first_of("\\\"|", at) - start, "{work}");
            }
        }
        fs::remove(base_ / L"record");
    }
    // A payload of the recording child as "Install.exe" and a suite.dat.
    std::string Payload() {
        return TarGz(
            {{"Install.exe", ReadBytes(bin_ / L"child_recorder.exe"), 0755}, {"suite.dat", "s"}});
    }
    // Runs each row in a folder of its own, named by its place in `rows`; a row that fails, or
    // whose run does not end in time, ends there, and the next one runs.
    void RunRows(const std::vector<Row>& rows) {
        WriteBytes(blocker_, "a file");
        // No crash dialog from Wine's debugger: a crashing child just ends.
        t::SetRegistryValue(HKEY_CURRENT_USER, L"Software\\Wine\\WineDbg", L"ShowCrashDialog",
                            REG_DWORD, "\0\0\0\0", 4, 0);
        for (const Row& row : rows) {
            SCOPED_TRACE(::testing::Message() << "row " << &row - rows.data() << " (children "
                                              << (row.codes ? row.codes : "none") << ")");
            UseFolder(L"row" + std::to_wstring(&row - rows.data()));
            RunRow(row);
        }
        EXPECT_FALSE(fs::exists(blocker_ / L"logs"));
    }
    void RunRow(const Row& row);
    t::ScratchDirectory scratch_;
    const fs::path blocker_ = scratch_ / L"blocker";
    const std::wstring tmp_ = _wgetenv(L"TMP"), temp_ = _wgetenv(L"TEMP");  // as the test started
    const fs::path bin_ = t::BinDirectory();
    const fs::path errorLog_ = fs::path(_wgetenv(L"LOCALAPPDATA")) /
                               L"Calvenna\\Orvik Package Manager\\Logs\\errorlog.txt";
    fs::path base_;
    std::function<void(HWND)> onBox_;
    HWND seen_ = nullptr;
    int rounds_ = 0;
    std::int32_t exit_ = 0, reported_ = 0;
    std::string report_;
    std::vector<std::string> children_;
};

void BootstrapperTest::RunRow(const Row& row) {
    if (row.kind & (kPayload | kOnline)) {
        ASSERT_NO_FATAL_FAILURE(
            Pack(row.kind & kPayload ? L"--payload " : L"--online-install ", row.packed));
    }
    const fs::path setup = base_ / L"setup.exe";
    if (row.kind & (kFlipMiddle | kFlipEnd)) {
        std::string exe = ReadBytes(setup);
        const size_t at = exe.find(row.packed.substr(0, 64));
        ASSERT_NE(std::string::npos, at);
        exe[at + (row.kind & kFlipEnd ? row.packed.size() - 100 : row.packed.size() / 2)] ^= 1;
        WriteBytes(setup, exe);
    }
    const auto set = [&setup](const wchar_t* name, std::string bytes) {
        HANDLE update = ::BeginUpdateResourceW(setup.c_str(), FALSE);
        ASSERT_TRUE(update && ::UpdateResourceW(update, RT_RCDATA, name, 0, bytes.data(),
                                                static_cast<DWORD>(bytes.size())));
        ASSERT_TRUE(::EndUpdateResourceW(update, FALSE));
    };
    if (row.kind & (kCut | kNoCheck)) {  // the payload alone, as another tool would set it
        set(L"ORVIKPKG_PAYLOAD",
            row.packed.substr(0, row.packed.size() - (row.kind & kCut ? 1000 : 0)));
    }
    if (!row.check.empty()) {
        set(PayloadCheck::kResourceName, row.check);
    }
    if (row.codes != nullptr) {
        InstallChild(row.codes, row.kind & kSuite);
    }
    if (row.kind & (kManager | kOldManager)) {
        InstallPackageManager(row.kind & kManager ? L"99.0" : nullptr);
    }
    if (row.kind & (kLogsBlocked | kLogsOff)) {
        t::SetRegistryString(HKEY_LOCAL_MACHINE, kManagerKey, L"Path", base_.wstring(),
                             KEY_WOW64_32KEY);
        WriteBytes(base_ / L"orvikpkg.ini",
                   "[Settings]\r\nlogs-directory=" +
                       ((row.kind & kLogsOff ? base_ : blocker_) / L"logs").string() +
                       (row.kind & kLogsOff ? "\r\ndisablelogging=true" : ""));
    }
    const pkgshared::UniqueHandle holder(
        row.kind & kHeld
            ? ::CreateFileW((base_ / L"bin\\Install.exe").c_str(), GENERIC_READ | DELETE,
                            FILE_SHARE_VALID_FLAGS, nullptr, OPEN_EXISTING, 0, nullptr)
            : nullptr);
    // Mounted by the test run as root: a read-only file system and one of 1 MiB.
    const char* mount =
        std::getenv(row.kind & kReadOnlyTemp ? "ORVIK_READONLY_FS" : "ORVIK_TINY_FS");
    const std::wstring folder = row.kind & kGoneTemp ? (base_ / L"gone\\tmp").wstring()
                                : row.kind & (kReadOnlyTemp | kTinyTemp) ? t::WinePath(mount)
                                                                         : L"";
    const auto held = [&] {
        return fs::exists(folder) ? std::distance(fs::directory_iterator(folder), {}) : -1;
    };
    const auto before = held();
    ::SetEnvironmentVariableW(L"TMP", (folder.empty() ? tmp_ : folder).c_str());
    ::SetEnvironmentVariableW(L"TEMP", (folder.empty() ? temp_ : folder).c_str());
    Bootstrap(row.arguments);
    ::SetEnvironmentVariableW(L"TMP", tmp_.c_str());
    ::SetEnvironmentVariableW(L"TEMP", temp_.c_str());
    EXPECT_EQ(row.exitCode, exit_);
    EXPECT_EQ(row.reported, reported_) << report_;
    EXPECT_EQ(before, held());
    EXPECT_FALSE(fs::exists(base_ / L"logs"));
    ASSERT_EQ(row.children.size(), children_.size());
    for (size_t i = 0; i < children_.size(); ++i) {
        EXPECT_EQ(row.children[i], children_[i].substr(0, row.children[i].size()));
    }
}

// Every kind of run and fault, end to end: the run's exit code, the code errorlog.txt gains, the
// children started (each by a prefix: program, directory, start of its parameters), and that no
// working directory is left, nor anything in a temporary folder (TMP and TEMP) of the row's own.
TEST_F(BootstrapperTest, RunsStartTheirChildrenAndEndWithTheirCodes) {
    const std::string payload = Payload(), update = kBin + "install orvik-package-manager";
    const std::int32_t crash = static_cast<std::int32_t>(EXCEPTION_ACCESS_VIOLATION);
    RunRows({
        {"1234", 0, "", L"--passive", 1234, -126308, {kBin}},
        // The mode comes from the folder beside the program, before the payload is extracted.
        {"55", kPayload, payload, L"--passive", 55, -126308, {kWork}},
        {"0", 0, "", L"/q", -126318, -126318, {}},
        {nullptr, 0, "", L"--quiet", -126304, -126304, {}},
        {"-125071", 0, "", L"--passive", -125071, 0, {kIn}},
        {"-125818", 0, "", L"--passive", -125818, 0, {kIn}},
        {"-125029", 0, "", L"--passive", -125029, 0, {kIn}},
        {"0,0", kSuite | kManager, "", L"--accept-eulas --passive", 0, 0, {update, kPm}},
        // A manager without a version is older: the installer tries with the product first.
        {"-125818,0,7", kSuite | kOldManager, "", L"--passive", 7, -126309, {kProduct, kIn, kPm}},
        {"-125071", kSuite | kManager, "", L"--passive", -126300, 0, {kIn}},
        // No reboot question without --passive or --quiet either: a box fails the row.
        {"-125071", kSuite | kManager, "", L"--prevent-reboot", -126300, 0, {kIn}},
        {"0,0", kOnline | kManager, kOnlineXml, L"--passive", 0, 0, {kIn, kPm}},
        {"crash", 0, "", L"--quiet", crash, -126308, {kIn}},
        {"0", kGoneTemp, "", L"--quiet", 0, 0, {kIn}},  // passed over for the next one offered
        // The manager's orvikpkg.ini puts the logs under a file: the run goes on.
        {"0", kManager | kLogsBlocked, "", L"--quiet", 0, 0, {kIn}},
        {"0", kManager | kLogsOff, "", L"--quiet", 0, 0, {kIn}},  // disablelogging=true: no folder
        {"0", kHeld, "", L"--quiet", 0, 0, {kBin}},  // by a reader that may rename or delete it
    });
}

// A packed payload or description that is damaged, incomplete or not verified; truncated, without
// an installer, a hard-linked one; a check resource that is there but is no check of the payload
// (one byte too many, another mark, cut short, another length).
TEST_F(BootstrapperTest, PackedPayloadsAndDescriptionsEndWithTheirCodes) {
    const std::string payload = Payload(),
                      half = TarGz({{"Install.exe", t::RandomBytes(400000, 1)}}).substr(0, 150000),
                      readme = TarGz({{"readme.txt", "x"}}),
                      linked = TarGz({{"b/r", ReadBytes(bin_ / L"child_recorder.exe")},
                                      {"Install.exe", "", 0644, "", "b/r"}}),
                      unclosed = "<orvikpkgOnlineInstall schemaVersion=\"26.5\">";
    PayloadCheck check;
    check.Add(payload.data(), payload.size());
    const std::string good = check.Encode();
    std::string otherLength = good;
    otherLength[4] ^= 1;
    RunRows({
        {nullptr, kPayload, half, L"--quiet", -125213, -125213, {}},
        // A byte of the payload changed in the middle or near its end, or the end cut off.
        {nullptr, kPayload | kFlipMiddle, payload, L"--quiet", -126311, -126311, {}},
        {nullptr, kPayload | kFlipEnd, payload, L"--quiet", -126311, -126311, {}},
        {nullptr, kPayload | kCut, payload, L"--quiet", -126311, -126311, {}},
        {"55", kNoCheck, payload, L"--passive", 55, -126308, {kWork}},  // not verified
        {nullptr, kPayload, readme, L"--quiet", -126304, -126304, {}},
        {"56", kPayload, linked, L"--passive", 56, -126308, {kWork}},
        {nullptr, kOnline | kManager, unclosed, L"--quiet", -126312, -126312, {}},
        {nullptr, kPayload, payload, L"--quiet", -126311, -126311, {}, good + '\0'},
        {nullptr, kPayload, payload, L"--quiet", -126311, -126311, {}, "OPC2" + good.substr(4)},
        {nullptr, kPayload, payload, L"--quiet", -126311, -126311, {}, good.substr(0, 15)},
        {nullptr, kPayload, payload, L"--quiet", -126311, -126311, {}, good.substr(0, 4)},
        {nullptr, kPayload, payload, L"--quiet", -126311, -126311, {}, otherLength},
    });
}

// A DLL planted beside the installer under a delay-loaded DLL's name is never loaded, though Wine
// prefers it (a setting of "setup.exe": Wine ignores WINEDLLOVERRIDES in a child's environment).
// Not version.dll, which Wine's own user32 loads first; in such a run Wine loads only uxtheme and
// bcrypt.
TEST_F(BootstrapperTest, DllsPlantedBesideTheInstallerAreNeverLoaded) {
    const std::wstring settings = L"Software\\Wine\\AppDefaults\\setup.exe";
    Pack(L"--payload ", Payload());
    for (const wchar_t* name :
         {L"wevtapi", L"mpr", L"wtsapi32", L"comctl32", L"uxtheme", L"bcrypt"}) {
        SCOPED_TRACE(pkgshared::WideToUtf8(name));
        const fs::path planted = base_ / (name + std::wstring(L".dll")).c_str();
        fs::copy_file(bin_ / L"planted.dll", planted);
        t::SetRegistryString(HKEY_CURRENT_USER, settings + L"\\DllOverrides", name,
                             L"native,builtin", 0);
        Bootstrap(L"--passive");  // with its progress window
        t::DeleteRegistryTree(HKEY_CURRENT_USER, settings);
        EXPECT_EQ(0, exit_);
        EXPECT_EQ(1u, children_.size());
        EXPECT_FALSE(fs::exists(planted.string() + ".loaded"));
        fs::remove(planted);
    }
}

// A read-only temporary folder, and one too small for a payload of 3 MB unpacked from a few
// kilobytes, on the file systems tools/test/run-tests.sh mounts as root.
TEST_F(BootstrapperTest, ReadOnlyOrFullTemporaryFoldersEndWithTheirCodes) {
    for (const char* variable : {"ORVIK_READONLY_FS", "ORVIK_TINY_FS"}) {
        if (std::getenv(variable) == nullptr) {
            GTEST_SKIP() << variable << " names no file system (run-tests.sh mounts them where "
                         << "mounting is allowed)";
        }
    }
    const std::string big = TarGz({{"Install.exe", "MZ"}, {"b", std::string(3000000, 'z')}});
    RunRows({{"0", kReadOnlyTemp, "", L"--quiet", -125098, -125098, {}},
             {nullptr, kPayload | kTinyTemp, big, L"--quiet", -125121, -125121, {}}});
}

// Names unpack as the archive's writer meant them, whatever the tar format: UTF-8 names from pax,
// gnu and ustar headers alike, and names Windows keeps for devices (packed with --force), which the
// run creates as files, not as writes to a device.
TEST_F(BootstrapperTest, NamesUnpackAsWrittenWhateverTheTarFormat) {
    const std::vector<t::ArchiveItem> items = {
        {"Install.exe", ReadBytes(bin_ / L"child_recorder.exe")},
        {"кириллица/файл.txt", "12"},
        {"emoji 😀.txt", "123"},
        {"日本語.txt", ""},
        {"sub/Nul.tar.gz", "1234"},
        {"CON.log", "5"}};
    std::set<std::string> expected, listed;
    for (const t::ArchiveItem& item : items) {
        expected.insert(item.name + "|" + std::to_string(item.data.size()));
    }
    for (const auto format : {t::Format::Tar, t::Format::Gnu, t::Format::Ustar}) {
        SCOPED_TRACE(static_cast<int>(format));
        UseFolder(L"format" + std::to_wstring(static_cast<int>(format)));
        ASSERT_TRUE(t::WriteArchive(base_ / L"made", format, t::Filter::Gzip, items));
        ASSERT_NO_FATAL_FAILURE(Pack(L"--payload ", ReadBytes(base_ / L"made")));
        WriteBytes(base_ / L"record.codes", "list");
        Bootstrap(L"--quiet");
        EXPECT_EQ(0, exit_);
        std::istringstream tree(ReadBytes(base_ / L"record.tree"));
        listed.clear();
        for (std::string line; std::getline(tree, line); listed.insert(line)) {
        }
        EXPECT_EQ(expected, listed);
    }
}

// Without --passive or --quiet the error is shown in a box with an OK button only.
TEST_F(BootstrapperTest, InteractiveErrorsAreShownInAMessageBox) {
    std::wstring text(1024, L'\0');
    onBox_ = [&](HWND box) {
        text.resize(::GetDlgItemTextW(box, 0xFFFF, text.data(), 1024));  // the text control
        EXPECT_TRUE(::GetDlgItem(box, IDOK) && !::GetDlgItem(box, IDCANCEL)) << "OK alone";
        ::PostMessageW(box, WM_COMMAND, IDOK, 0);
    };
    Bootstrap(L"");
    EXPECT_EQ(pkgshared::FormatErrorMessage(-126304, 0, (base_ / L"bin\\Install.exe").wstring()),
              text);
    EXPECT_EQ(-126304, exit_);
}

// Windows 10 1607 is build 14393: one build older is refused before any child starts.
TEST_F(BootstrapperTest, Windows10Version1607IsBuild14393OrNewer) {
    const std::wstring key = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    const auto build =
        pkgshared::ReadRegistryString(HKEY_LOCAL_MACHINE, key.c_str(), L"CurrentBuildNumber");
    ASSERT_TRUE(build);
    for (const auto& [text, code] : {std::pair{L"14392", -126359}, {L"14393", 1234}}) {
        UseFolder(text);
        InstallChild("1234");
        t::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"CurrentBuildNumber", text, 0);
        Bootstrap(L"--passive");
        t::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"CurrentBuildNumber", *build, 0);
        EXPECT_EQ(code, exit_) << text;
    }
}

using FaultTest = BootstrapperTest;

// In a suite run the manager is launched from the path the registry holds; a value that is not a
// string counts as absent, so the launch fails naming the value, even when its bytes spell a path.
TEST_F(FaultTest, RegistryValuesOfTheWrongKindCountAsAbsent) {
    const std::string absent =
        pkgshared::WideToUtf8(pkgshared::FormatErrorMessage(-126304, 0, L"GUIExecutableFullPath"));
    for (const DWORD type : {REG_SZ, REG_DWORD, REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY}) {
        SCOPED_TRACE(type);
        UseFolder(L"type" + std::to_wstring(type));
        InstallChild("0,0", true);
        // The path ended twice, as a REG_MULTI_SZ would be.
        const std::wstring path = InstallPackageManager(L"99.0").wstring() + L'\0';
        t::SetRegistryValue(HKEY_LOCAL_MACHINE, kManagerKey, L"GUIExecutableFullPath", type,
                            path.c_str(), static_cast<DWORD>(path.size() * 2 + 2), KEY_WOW64_32KEY);
        Bootstrap(L"--quiet");
        EXPECT_EQ(type == REG_SZ ? 0 : -126304, exit_);
        EXPECT_EQ(type == REG_SZ ? 2u : 1u, children_.size());
        EXPECT_EQ(type != REG_SZ, report_.find(absent) != std::string::npos);
    }
}
}  // namespace
}  // namespace orvik::pkgui::preinstall
