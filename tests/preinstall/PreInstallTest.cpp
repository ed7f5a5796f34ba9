#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
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

const std::wstring kBin = L"C:\\dl\\bin", kWork = L"C:\\Temp\\orvikpkg_preinstall-1";
const std::wstring kPayloadDir = kWork + L"\\payload", kPm = L"C:\\PM\\orvikpkg.exe";
const std::wstring kCustom = kBin + L"\\resources\\config.dat";
const std::string kOnlineXml =
    "<orvikpkgOnlineInstall schemaVersion=\"26.5\"><downloadItem uri=\"https://x.invalid/s\"/>"
    "<progressTitle value=\"Suite 2026\"/></orvikpkgOnlineInstall>";
const std::string kPayload = "payload bytes";
const char kInstallFailed[] = "InstallPackageManager. Error code: -126308";
const char kLaunchFailed[] = "LaunchPackageManager. Error code: -126309";

struct Case {
    Args args;
    std::string setup;
    std::vector<std::int32_t> exitCodes;
    const char* children;  // Install, install With the product, Launch
    std::int32_t result;
    std::wstring events;
    const char* report = "";        // written without showing anything
    const wchar_t* argument = L"";  // of the error message shown
};

// The platform answers after the words of `c_.setup` and records what it ran
// in `children_`, and in `events_` what it showed or asked.
class PreInstallTest : public ::testing::Test, public IPreInstallPlatform {
protected:
    bool Has(const char* word) const {
        return (" " + c_.setup + " ").find(" " + std::string(word) + " ") != std::string::npos;
    }
    template <typename T>
    T Note(const std::wstring& event, T result) {
        events_ += event;
        return result;
    }
    Args CommandLineArguments() override { return c_.args; }
    bool IsElevated() override { return !Has("unelevated"); }
    std::wstring ProgramFilePath() override { return L"C:\\dl\\setup.exe"; }
    void ChangeCurrentDirectory(const std::wstring&) override {}
    bool FileExists(const std::wstring& p) override {
        return (Has("suite") && p == kBin + L"\\suite.dat") || (Has("custom") && p == kCustom) ||
               (Has("ini") && p == kBin + L"\\orvikpkg.ini") ||
               (Has("payload") && p == kPayloadDir + L"\\suite.dat");  // not in bin
    }
    void MakeWriteable(const std::wstring& path) override { Note(L"writeable:" + path + L" ", 0); }
    std::unique_ptr<DataResource> OpenResource(const std::wstring& n) override {
        const std::string& bytes = n == L"ORVIKPKG_PAYLOAD" ? kPayload : kOnlineXml;
        return Has(&bytes == &kPayload ? "payload" : "online")
                   ? std::make_unique<MemoryDataResource>(bytes.data(), bytes.size())
                   : std::make_unique<MemoryDataResource>();
    }
    std::wstring CreateWorkingDirectory() override { return kWork; }
    void SecureWorkingDirectory(const std::wstring&) override {
        Has("insecure") ? throw Exception(-125098, L"s", 1) : void();
    }
    void DeleteWorkingDirectory(const std::wstring& d) noexcept override { deleted_ = d; }
    std::wstring ExtractPayload(const DataResource& p, const std::wstring& w) override {
        return p.GetSize() == kPayload.size() && w == kWork ? kPayloadDir : L"";
    }
    bool IsWindows10Version1607OrNewer() override { return !Has("old"); }
    bool IsWow64() override { return !Has("32-bit"); }
    bool IsRunningOnWine() override { return Has("wine"); }
    bool IsDotNetFramework48Installed() override { return !Has("no-.NET"); }
    bool AskToInstallDotNetFramework() override { return Note(L".NET? ", Has("yes")); }
    void OpenDotNetFrameworkDownloadPage() override { Note(L".NET-page ", 0); }
    std::int32_t WaitForProcess(const std::wstring& file, const std::wstring& parameters,
                                const std::wstring& folder) override {
        children_.emplace_back(file, parameters, folder);
        return children_.size() <= c_.exitCodes.size() ? c_.exitCodes[children_.size() - 1] : 0;
    }
    std::optional<std::wstring> InstalledPackageManagerPath() override {
        return Has("no-path") ? std::nullopt : std::optional(kPm);
    }
    std::optional<std::wstring> InstalledPackageManagerVersion() override {
        return Has("pm")       ? L"26.5.0.10"
               : Has("old-pm") ? L"26.5.0.9"
                               : std::optional<std::wstring>();
    }
    orvik::pkgshared::Version FileVersion(const std::wstring& f) override {
        return orvik::pkgshared::Version(f == kBin + L"\\Install.exe" ? L"26.5.0.10" : L"");
    }
    bool AskToReboot() override { return Note(L"reboot? ", Has("yes")); }
    void Reboot() override { Has("fails") ? throw Exception(-126305, L"s", 1) : void(); }
    std::intptr_t ShowProgress(const std::wstring& title) override {
        return Note(L"progress:" + title + L" ", std::intptr_t{Has("busy")});
    }
    void FinishProgress() override { Note(L"finish ", 0); }
    void ShowError(const std::wstring& text) override { shown_ = Note(L"dialog ", text); }
    void WriteToParentConsole(const std::wstring& t) override { shown_ = Note(L"console ", t); }

    orvik::testing::ScratchDirectory scratch_;
    orvik::testing::FakeSession session_;
    Case c_;
    std::vector<Child> children_;
    std::wstring events_, shown_, deleted_;
};

// Per run: the children and their command lines, the prompts, the code, the error report.
TEST_F(PreInstallTest, Runs) {
    const Case cases[] = {
        {{}, "", {-125071}, "I", -125071, L""},
        {{L"--passive", L"--accept-eulas", L"x"}, "suite custom pm", {}, "IL", 0, L""},
        {{}, "suite old-pm", {1641}, "W", 1641, L"", kLaunchFailed},
        {{}, "suite", {-125818, 0, 42}, "WIL", 42, L"", kLaunchFailed},
        {{}, "online suite pm", {}, "IL", 0, L""},
        {{}, "suite pm", {5}, "I", 5, L"", kInstallFailed},
        {{}, "suite pm", {0, -7}, "IL", -7, L"", kLaunchFailed},
        {{L"--passive"}, "suite pm yes", {-125071}, "I", -126300, L""},
        {{L"--quiet"}, "suite pm yes", {-125071}, "I", -126300, L""},
        {{L"--prevent-reboot"}, "suite pm yes", {-125071}, "I", -126300, L""},
        {{}, "suite pm", {-125071}, "I", -126300, L"reboot? "},
        {{}, "suite pm yes fails", {-125071}, "I", -126305, L"reboot? dialog "},
        {{}, "payload", {}, "I", 0, L"progress: finish "},
        {{}, "payload online busy", {}, "W", 0, L"progress:Suite 2026 "},
        {{L"--quiet"}, "payload", {}, "I", 0, L""},
        {{L"--quiet"}, "unelevated", {}, "", -126306, L"console "},
        {{L"--quiet"}, "insecure", {}, "", -125098, L"console "},
        {{L"/q"}, "", {}, "", -126318, L"console ", "", L"/q"},
        {{L"/c:x"}, "", {}, "", -126318, L"dialog ", "", L"/c:x"},
        {{}, "32-bit", {}, "", -126359, L"dialog "},
        {{L"--passive"}, "old", {}, "", -126359, L"console "},
        {{}, "suite pm no-path", {}, "I", -126304, L"dialog ", "", L"GUIExecutableFullPath"},
        {{}, "no-.NET", {}, "", -125029, L".NET? "},
        {{}, "no-.NET yes", {}, "", 0, L".NET? .NET-page "},
        {{}, "no-.NET wine ini", {}, "I", 0, L"writeable:C:\\dl\\bin\\orvikpkg.ini "},
        {{L"y"}, "", {}, "I", 0, L""},  // a plain install: "y" reaches no child
    };
    session_.guide.logs = scratch_.Path().wstring();
    for (size_t i = 0; i < std::size(cases); ++i) {
        const auto& c = cases[i];
        SCOPED_TRACE(i);
        c_ = c;
        children_.clear();
        events_ = shown_ = deleted_ = L"";
        session_.logger.lines.clear();
        boost::filesystem::remove(scratch_ / L"errorlog.txt");
        {
            PreInstall run(session_, *this);
            run.Run();
            EXPECT_EQ(c.result, run.ResultCode());
        }
        EXPECT_EQ(c.events, events_);
        // Not elevated or obsolete options: the run ends before it makes its folder.
        EXPECT_EQ(c.result != -126306 && c.result != -126318 ? kWork : L"", deleted_);
        const CommandLineOptions options = ParseCommandLine(c.args).options;
        const InstallMode mode = Has("online")  ? InstallMode::OnlineInstall
                                 : Has("suite") ? InstallMode::Suite
                                                : InstallMode::None;
        const std::wstring folder = Has("payload") ? kPayloadDir : kBin;
        const std::wstring ini = kWork + L"\\orvikpkg.ini";
        LaunchInputs inputs{mode, false, Has("online") ? L"https://x.invalid/s" : L"", ini,
                            Has("custom") ? std::optional(kCustom) : std::nullopt};
        std::vector<Child> expected;
        for (const char* kind = c.children; *kind != '\0'; ++kind) {
            inputs.withProduct = *kind == 'W';
            expected.emplace_back(*kind == 'L' ? kPm : folder + L"\\Install.exe",
                                  *kind == 'I' ? BuildInstallParameters(options, mode, ini)
                                               : BuildLaunchParameters(options, inputs),
                                  folder);
        }
        EXPECT_EQ(expected, children_);
        // The log says "passed through" only where a launch carries the arguments.
        const auto logged = session_.logger.Messages();
        const bool launched = std::strpbrk(c.children, "WL") != nullptr;
        EXPECT_EQ(!options.passThroughArguments.empty() && launched,
                  std::count(logged.begin(), logged.end(),
                             L"Options passed through to the package manager's launch: " +
                                 options.passThroughArguments) == 1);
        const bool shown = !shown_.empty();
        EXPECT_EQ(shown ? orvik::pkgshared::FormatErrorMessage(c.result, 0, c.argument) : L"",
                  shown_);
        const std::string report =
            shown ? "ReportError. Error code: " + std::to_string(c.result) : c.report;
        const std::string log = orvik::testing::ReadBytes(scratch_ / L"errorlog.txt");
        EXPECT_EQ(!report.empty(),
                  log.find("Exception in PreInstall::" + report) != std::string::npos)
            << log;
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
