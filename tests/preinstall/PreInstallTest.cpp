#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <set>
#include <tuple>

#include "preinstall/PreInstall.h"
#include "shared/ErrorMessage.h"
#include "support/FakeSession.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::pkgshared::Exception;
using ::testing::_;
using ::testing::Invoke;
using ::testing::NiceMock;
using ::testing::Return;

class MockPlatform : public IPreInstallPlatform {
public:
    MOCK_METHOD(std::vector<std::wstring>, CommandLineArguments, (), (override));
    MOCK_METHOD(bool, IsElevated, (), (override));
    MOCK_METHOD(std::wstring, ProgramFilePath, (), (override));
    MOCK_METHOD(void, ChangeCurrentDirectory, (const std::wstring&), (override));
    MOCK_METHOD(bool, FileExists, (const std::wstring&), (override));
    MOCK_METHOD(void, MakeWriteable, (const std::wstring&), (override));
    MOCK_METHOD(std::unique_ptr<DataResource>, OpenResource, (const std::wstring&), (override));
    MOCK_METHOD(std::wstring, CreateWorkingDirectory, (), (override));
    MOCK_METHOD(void, DeleteWorkingDirectory, (const std::wstring&), (noexcept, override));
    MOCK_METHOD(std::wstring, ExtractPayload, (const DataResource&, const std::wstring&),
                (override));
    MOCK_METHOD(bool, IsWindows10Version1607OrNewer, (), (override));
    MOCK_METHOD(bool, IsWow64, (), (override));
    MOCK_METHOD(bool, IsRunningOnWine, (), (override));
    MOCK_METHOD(bool, IsDotNetFramework48Installed, (), (override));
    MOCK_METHOD(bool, AskToInstallDotNetFramework, (), (override));
    MOCK_METHOD(void, OpenDotNetFrameworkDownloadPage, (), (override));
    MOCK_METHOD(std::int32_t, WaitForProcess,
                (const std::wstring&, const std::wstring&, const std::wstring&), (override));
    MOCK_METHOD(std::optional<std::wstring>, InstalledPackageManagerPath, (), (override));
    MOCK_METHOD(std::optional<std::wstring>, InstalledPackageManagerVersion, (), (override));
    MOCK_METHOD(orvik::pkgshared::Version, FileVersion, (const std::wstring&), (override));
    MOCK_METHOD(bool, AskToReboot, (), (override));
    MOCK_METHOD(void, Reboot, (), (override));
    MOCK_METHOD(std::intptr_t, ShowProgress, (const std::wstring&), (override));
    MOCK_METHOD(void, FinishProgress, (), (override));
    MOCK_METHOD(void, ShowError, (const std::wstring&), (override));
    MOCK_METHOD(void, WriteToParentConsole, (const std::wstring&), (override));
};

using Args = std::vector<std::wstring>;
using Child = std::tuple<std::wstring, std::wstring, std::wstring>;  // file, parameters, folder
using Report = std::pair<std::string, std::wstring>;                 // error-log header, log line

const std::wstring kBin = L"C:\\dl\\bin";
const std::wstring kWork = L"C:\\Temp\\orvikpkg_preinstall-1";
const std::wstring kPayloadDir = kWork + L"\\payload";
const std::wstring kCustom = kBin + L"\\resources\\config.dat";
const std::wstring kPm = L"C:\\PM\\orvikpkg.exe";
const std::string kOnlineXml =
    "<orvikpkgOnlineInstall schemaVersion=\"26.5\"><downloadItem uri=\"https://x.invalid/s\"/>"
    "<progressTitle value=\"Suite 2026\"/></orvikpkgOnlineInstall>";
const std::string kPayload = "payload bytes";
const Report kInstallFailed{"InstallPackageManager. Error code: -126308",
                            L"Failed to install Orvik Package Manager"};
const Report kLaunchFailed{"LaunchPackageManager. Error code: -126309",
                           L"Launched Orvik Package Manager, but it returned an error"};

// The platform answers after the words of `setup_` and records in `events_`
// what it showed or asked, and in `children_` what it ran.
class PreInstallTest : public ::testing::Test {
protected:
    void SetUp() override {
        session_.guide.logs = scratch_.Path().wstring();
        ON_CALL(platform_, CommandLineArguments()).WillByDefault(Invoke([this] { return args_; }));
        Answer(ON_CALL(platform_, IsElevated()), [this] { return !Has("unelevated"); });
        ON_CALL(platform_, ProgramFilePath()).WillByDefault(Return(L"C:\\dl\\setup.exe"));
        ON_CALL(platform_, FileExists(_)).WillByDefault(Invoke([this](const std::wstring& path) {
            return existing_.count(path) > 0;
        }));
        ON_CALL(platform_, OpenResource(_)).WillByDefault(Invoke([this](const std::wstring& name) {
            const std::string& bytes = name == L"ORVIKPKG_PAYLOAD" ? kPayload : kOnlineXml;
            return Has(name == L"ORVIKPKG_PAYLOAD" ? "payload" : "online")
                       ? std::make_unique<MemoryDataResource>(
                             bytes.data(), static_cast<std::uint32_t>(bytes.size()))
                       : std::make_unique<MemoryDataResource>();
        }));
        ON_CALL(platform_, CreateWorkingDirectory()).WillByDefault(Return(kWork));
        ON_CALL(platform_, ExtractPayload(_, kWork)).WillByDefault(Return(kPayloadDir));
        Answer(ON_CALL(platform_, IsWindows10Version1607OrNewer()), [this] { return !Has("old"); });
        Answer(ON_CALL(platform_, IsWow64()), [this] { return !Has("32-bit"); });
        Answer(ON_CALL(platform_, IsRunningOnWine()), [this] { return Has("wine"); });
        Answer(ON_CALL(platform_, IsDotNetFramework48Installed()),
               [this] { return !Has("no-.NET"); });
        Answer(ON_CALL(platform_, AskToInstallDotNetFramework()),
               [this] { return Note(L".NET? ", Has("yes")); });
        Answer(ON_CALL(platform_, OpenDotNetFrameworkDownloadPage()),
               [this] { Note(L".NET-page ", 0); });
        ON_CALL(platform_, WaitForProcess(_, _, _)).WillByDefault(Invoke([this](auto&&... child) {
            if (Has("declined")) {
                throw Exception(-125029, L"s", 1);
            }
            children_.emplace_back(child...);
            const std::int32_t code = exitCodes_.empty() ? 0 : exitCodes_.front();
            exitCodes_.erase(exitCodes_.begin(), exitCodes_.begin() + !exitCodes_.empty());
            return code;
        }));
        Answer(ON_CALL(platform_, InstalledPackageManagerPath()),
               [this] { return Has("no-path") ? std::nullopt : std::optional(kPm); });
        Answer(ON_CALL(platform_, InstalledPackageManagerVersion()), [this] {
            return Has("pm")       ? std::optional<std::wstring>(L"26.5.0.10")
                   : Has("old-pm") ? std::optional<std::wstring>(L"26.5.0.9")
                                   : std::nullopt;
        });
        ON_CALL(platform_, FileVersion(kBin + L"\\Install.exe"))
            .WillByDefault(Return(orvik::pkgshared::Version(L"26.5.0.10")));
        Answer(ON_CALL(platform_, AskToReboot()), [this] { return Note(L"reboot? ", Has("yes")); });
        Answer(ON_CALL(platform_, Reboot()), [this] {
            if (Note(L"reboot! ", Has("fails"))) {
                throw Exception(-126305, L"source\\preinstall\\Main", 1);
            }
        });
        ON_CALL(platform_, ShowProgress(_)).WillByDefault(Invoke([this](const std::wstring& title) {
            return Note(L"progress:" + title + L" ", std::intptr_t{Has("busy")});
        }));
        Answer(ON_CALL(platform_, FinishProgress()), [this] { Note(L"finish ", 0); });
        ON_CALL(platform_, ShowError(_)).WillByDefault(Invoke([this](const std::wstring& text) {
            shown_ = Note(L"dialog ", text);
        }));
        ON_CALL(platform_, WriteToParentConsole(_))
            .WillByDefault(
                Invoke([this](const std::wstring& text) { shown_ = Note(L"console ", text); }));
        Answer(ON_CALL(platform_, MakeWriteable(kBin + L"\\orvikpkg.ini")),
               [this] { Note(L"writeable ", 0); });
    }
    template <typename OnCall, typename F>
    static void Answer(OnCall&& onCall, F f) {
        onCall.WillByDefault(Invoke(f));
    }
    template <typename T>
    T Note(const std::wstring& event, T result) {
        events_ += event;
        return result;
    }
    bool Has(const char* word) const {
        return (" " + setup_ + " ").find(" " + std::string(word) + " ") != std::string::npos;
    }

    orvik::testing::ScratchDirectory scratch_;
    orvik::testing::FakeSession session_;
    NiceMock<MockPlatform> platform_;
    Args args_;
    std::string setup_;
    std::set<std::wstring> existing_;
    std::deque<std::int32_t> exitCodes_;
    std::vector<Child> children_;
    std::wstring events_, shown_;
};

// Per run: the children in order, each with the command line its builder
// makes; what the user saw or was asked; the code; the error reports.
TEST_F(PreInstallTest, Runs) {
    const wchar_t* gui = L"GUIExecutableFullPath";
    const struct {
        const char* name;
        Args args;
        std::string setup;
        std::deque<std::int32_t> exitCodes;
        const char* children;  // Install, install With the product, Launch
        std::int32_t result;
        std::wstring events;
        const Report* report = nullptr;
        const wchar_t* argument = L"";  // of the error message shown
    } cases[] = {
        {"plain", {}, "pm", {0}, "I", 0, L""},
        {"plain keeps the child's reboot code", {}, "", {-125071}, "I", -125071, L""},
        {"launch", {L"--passive", L"--accept-eulas", L"x"}, "suite custom pm", {}, "IL", 0, L""},
        {"no pm", {}, "suite", {1641}, "W", 1641, L"", &kLaunchFailed},
        {"older pm", {}, "suite old-pm", {1641}, "W", 1641, L"", &kLaunchFailed},
        {"pm too old", {}, "suite", {-125818, 0, 42}, "WIL", 42, L"", &kLaunchFailed},
        {"online wins over suite", {}, "online suite pm", {}, "IL", 0, L""},
        {"install fails", {}, "suite pm", {5}, "I", 5, L"", &kInstallFailed},
        {"launch fails", {}, "suite pm", {0, -7}, "IL", -7, L"", &kLaunchFailed},
        {"reboot, passive", {L"--passive"}, "suite pm yes", {-125071}, "I", -126300, L""},
        {"reboot, quiet", {L"--quiet"}, "suite pm yes", {-125071}, "I", -126300, L""},
        {"reboot, prevented", {L"--prevent-reboot"}, "suite pm yes", {-125071}, "I", -126300, L""},
        {"reboot, yes", {}, "suite pm yes", {-125071}, "I", -126300, L"reboot? reboot! "},
        {"reboot, no", {}, "suite pm", {-125071}, "I", -126300, L"reboot? "},
        {"fails", {}, "suite pm yes fails", {-125071}, "I", -126305, L"reboot? reboot! dialog "},
        {"payload", {}, "payload", {}, "I", 0, L"progress: finish "},
        {"payload, online", {}, "payload online busy", {}, "W", 0, L"progress:Suite 2026 "},
        {"payload, quiet", {L"--quiet"}, "payload", {}, "I", 0, L""},
        {"not elevated", {}, "unelevated", {}, "", -126306, L"dialog "},
        {"not elevated, quiet", {L"--quiet"}, "unelevated", {}, "", -126306, L"console "},
        {"/q", {L"/q"}, "", {}, "", -126318, L"console ", nullptr, L"/q"},
        {"obsolete", {L"/c:x"}, "", {}, "", -126318, L"dialog ", nullptr, L"/c:x"},
        {"32-bit", {}, "32-bit", {}, "", -126359, L"dialog "},
        {"old Windows, passive", {L"--passive"}, "old", {}, "", -126359, L"console "},
        {"no pm path", {}, "suite pm no-path", {}, "I", -126304, L"dialog ", nullptr, gui},
        {"elevation declined", {}, "suite pm declined", {}, "", -125029, L""},
        {".NET declined", {}, "no-.NET", {}, "", -125029, L".NET? "},
        {".NET to be installed", {}, "no-.NET yes", {}, "", 0, L".NET? .NET-page "},
        {".NET on Wine", {}, "no-.NET wine", {}, "I", 0, L""},
        {"writeable ini", {}, "ini", {}, "I", 0, L"writeable "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        args_ = c.args;
        setup_ = c.setup;
        exitCodes_ = c.exitCodes;
        existing_.clear();
        for (const auto& [word, file] :
             {std::pair{"suite", kBin + L"\\suite.dat"},
              {"custom", kCustom},
              {"ini", kBin + L"\\orvikpkg.ini"},
              {"payload", kPayloadDir + L"\\suite.dat"}}) {  // not in bin
            if (Has(word)) {
                existing_.insert(file);
            }
        }
        children_.clear();
        events_.clear();
        shown_.clear();
        session_.logger.lines.clear();
        boost::filesystem::remove(scratch_ / L"errorlog.txt");
        // Not elevated or obsolete options: the run ends before it chooses its folders.
        const int chosen = c.result == -126306 || c.result == -126318 ? 0 : 1;
        EXPECT_CALL(platform_, ChangeCurrentDirectory(std::wstring(L"C:\\dl"))).Times(chosen);
        EXPECT_CALL(platform_, DeleteWorkingDirectory(kWork)).Times(chosen);
        {
            PreInstall run(session_, platform_);
            run.Run();
            EXPECT_EQ(c.result, run.ResultCode());
        }
        EXPECT_EQ(c.events, events_);

        const CommandLineOptions options = ParseCommandLine(c.args).options;
        const InstallMode mode = Has("online")  ? InstallMode::OnlineInstall
                                 : Has("suite") ? InstallMode::Suite
                                                : InstallMode::None;
        const std::wstring folder = Has("payload") ? kPayloadDir : kBin;
        const std::wstring ini = kWork + L"\\orvikpkg.ini";
        LaunchInputs inputs{mode, false, Has("online") ? L"https://x.invalid/s" : L"", ini, {}};
        if (Has("custom")) {
            inputs.customResourceConfig = kCustom;
        }
        std::vector<Child> expected;
        for (const char* kind = c.children; *kind != '\0'; ++kind) {
            inputs.withProduct = *kind == 'W';
            expected.emplace_back(*kind == 'L' ? kPm : folder + L"\\Install.exe",
                                  *kind == 'I' ? BuildInstallParameters(options, mode, ini)
                                               : BuildLaunchParameters(options, inputs),
                                  folder);
        }
        EXPECT_EQ(expected, children_);

        const bool reported = !shown_.empty();
        EXPECT_EQ(reported ? orvik::pkgshared::FormatErrorMessage(c.result, 0, c.argument) : L"",
                  shown_);
        const std::string where = reported ? "ReportError. Error code: " + std::to_string(c.result)
                                  : c.report != nullptr ? c.report->first
                                                        : "";
        const std::string errorLog = orvik::testing::ReadBytes(scratch_ / L"errorlog.txt");
        EXPECT_EQ(where.empty(), errorLog.empty()) << errorLog;
        EXPECT_TRUE(where.empty() ||
                    errorLog.find("Exception in PreInstall::" + where) != std::string::npos)
            << errorLog;
        if (c.report != nullptr) {
            EXPECT_THAT(session_.logger.Messages(), ::testing::Contains(c.report->second));
        }
        ::testing::Mock::VerifyAndClearExpectations(&platform_);
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
