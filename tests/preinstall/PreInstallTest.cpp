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

// The platform answers after the words of `setup_` and records what it ran
// in `children_`, and in `events_` what it showed or asked.
class PreInstallTest : public ::testing::Test, public IPreInstallPlatform {
protected:
    bool Has(const char* word) const {
        return (" " + setup_ + " ").find(" " + std::string(word) + " ") != std::string::npos;
    }
    template <typename T>
    T Note(const std::wstring& event, T result) {
        events_ += event;
        return result;
    }
    Args CommandLineArguments() override { return args_; }
    bool IsElevated() override { return !Has("unelevated"); }
    std::wstring ProgramFilePath() override { return L"C:\\dl\\setup.exe"; }
    void ChangeCurrentDirectory(const std::wstring& directory) override { current_ = directory; }
    bool FileExists(const std::wstring& path) override { return existing_.count(path) > 0; }
    void MakeWriteable(const std::wstring& path) override { Note(L"writeable:" + path + L" ", 0); }
    std::unique_ptr<DataResource> OpenResource(const std::wstring& name) override {
        const bool payload = name == L"ORVIKPKG_PAYLOAD";
        const std::string& bytes = payload ? kPayload : kOnlineXml;
        return Has(payload ? "payload" : "online")
                   ? std::make_unique<MemoryDataResource>(bytes.data(), bytes.size())
                   : std::make_unique<MemoryDataResource>();
    }
    std::wstring CreateWorkingDirectory() override { return kWork; }
    void DeleteWorkingDirectory(const std::wstring& directory) noexcept override {
        deleted_ = directory;
    }
    std::wstring ExtractPayload(const DataResource& payload, const std::wstring& work) override {
        return payload.GetSize() == kPayload.size() && work == kWork ? kPayloadDir : L"";
    }
    bool IsWindows10Version1607OrNewer() override { return !Has("old"); }
    bool IsWow64() override { return !Has("32-bit"); }
    bool IsRunningOnWine() override { return Has("wine"); }
    bool IsDotNetFramework48Installed() override { return !Has("no-.NET"); }
    bool AskToInstallDotNetFramework() override { return Note(L".NET? ", Has("yes")); }
    void OpenDotNetFrameworkDownloadPage() override { Note(L".NET-page ", 0); }
    std::int32_t WaitForProcess(const std::wstring& file, const std::wstring& parameters,
                                const std::wstring& directory) override {
        if (Has("declined")) {
            throw Exception(-125029, L"s", 1);
        }
        children_.emplace_back(file, parameters, directory);
        const std::int32_t code = exitCodes_.empty() ? 0 : exitCodes_.front();
        exitCodes_.erase(exitCodes_.begin(), exitCodes_.begin() + !exitCodes_.empty());
        return code;
    }
    std::optional<std::wstring> InstalledPackageManagerPath() override {
        return Has("no-path") ? std::nullopt : std::optional(kPm);
    }
    std::optional<std::wstring> InstalledPackageManagerVersion() override {
        return Has("pm")       ? L"26.5.0.10"
               : Has("old-pm") ? L"26.5.0.9"
                               : std::optional<std::wstring>();
    }
    orvik::pkgshared::Version FileVersion(const std::wstring& file) override {
        return orvik::pkgshared::Version(file == kBin + L"\\Install.exe" ? L"26.5.0.10" : L"");
    }
    bool AskToReboot() override { return Note(L"reboot? ", Has("yes")); }
    void Reboot() override {
        if (Note(L"reboot! ", Has("fails"))) {
            throw Exception(-126305, L"source\\preinstall\\Main", 1);
        }
    }
    std::intptr_t ShowProgress(const std::wstring& title) override {
        return Note(L"progress:" + title + L" ", std::intptr_t{Has("busy")});
    }
    void FinishProgress() override { Note(L"finish ", 0); }
    void ShowError(const std::wstring& text) override { shown_ = Note(L"dialog ", text); }
    void WriteToParentConsole(const std::wstring& text) override {
        shown_ = Note(L"console ", text);
    }

    orvik::testing::ScratchDirectory scratch_;
    orvik::testing::FakeSession session_;
    Args args_;
    std::string setup_;
    std::set<std::wstring> existing_;
    std::deque<std::int32_t> exitCodes_;
    std::vector<Child> children_;
    std::wstring events_, shown_, current_, deleted_;
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
        {"writeable ini", {}, "ini", {}, "I", 0, L"writeable:C:\\dl\\bin\\orvikpkg.ini "},
    };
    session_.guide.logs = scratch_.Path().wstring();
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
        current_ = deleted_ = L"";
        {
            PreInstall run(session_, *this);
            run.Run();
            EXPECT_EQ(c.result, run.ResultCode());
        }
        EXPECT_EQ(c.events, events_);
        // Not elevated or obsolete options: the run ends before it chooses its folders.
        const bool chosen = c.result != -126306 && c.result != -126318;
        EXPECT_EQ(chosen ? L"C:\\dl" : L"", current_);
        EXPECT_EQ(chosen ? kWork : L"", deleted_);

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
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
