#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <set>

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

struct Child {
    std::wstring file;
    std::wstring parameters;
    std::wstring directory;
    bool operator==(const Child& other) const {
        return file == other.file && parameters == other.parameters && directory == other.directory;
    }
};

void PrintTo(const Child& child, std::ostream* out) {
    *out << ::testing::PrintToString(child.file) << " "
         << ::testing::PrintToString(child.parameters) << " in "
         << ::testing::PrintToString(child.directory);
}

const std::wstring kBase = L"C:\\dl";
const std::wstring kBin = L"C:\\dl\\bin";
const std::wstring kWork = L"C:\\Temp\\orvikpkg_preinstall-1";
const std::wstring kPayloadDir = L"C:\\Temp\\orvikpkg_preinstall-1\\payload";
const std::wstring kConfig = L"--config=\"C:\\Temp\\orvikpkg_preinstall-1\\orvikpkg.ini\"";
const std::wstring kInstallHead =
    L"install orvik-package-manager orvik-package-manager-upgrader "
    L"orvik-package-manager-released-feed ";
const std::wstring kInstallTail = L" --update-feeds --force-essential --force-locked";
const std::string kOnlineXml =
    "<orvikpkgOnlineInstall schemaVersion=\"26.5\"><downloadItem uri=\"https://x.invalid/s\"/>"
    "<progressTitle value=\"Suite 2026\"/></orvikpkgOnlineInstall>";
const std::string kPayloadBytes = "payload bytes";

class PreInstallTest : public ::testing::Test {
protected:
    void SetUp() override {
        session_.guide.logs = scratch_.Path().wstring();
        ON_CALL(platform_, CommandLineArguments()).WillByDefault(Invoke([this] { return args_; }));
        ON_CALL(platform_, IsElevated()).WillByDefault(Return(true));
        ON_CALL(platform_, ProgramFilePath()).WillByDefault(Return(L"C:\\dl\\setup.exe"));
        ON_CALL(platform_, FileExists(_)).WillByDefault(Invoke([this](const std::wstring& path) {
            return existing_.count(path) > 0;
        }));
        ON_CALL(platform_, OpenResource(_)).WillByDefault(Invoke([this](const std::wstring& name) {
            const std::string* bytes = name == L"ORVIKPKG_PAYLOAD" ? payload_ : online_;
            return bytes != nullptr ? std::make_unique<MemoryDataResource>(
                                          bytes->data(), static_cast<std::uint32_t>(bytes->size()))
                                    : std::make_unique<MemoryDataResource>();
        }));
        ON_CALL(platform_, CreateWorkingDirectory()).WillByDefault(Return(kWork));
        ON_CALL(platform_, ExtractPayload(_, _)).WillByDefault(Return(kPayloadDir));
        ON_CALL(platform_, IsWindows10Version1607OrNewer()).WillByDefault(Return(true));
        ON_CALL(platform_, IsWow64()).WillByDefault(Return(true));
        ON_CALL(platform_, IsRunningOnWine()).WillByDefault(Return(false));
        ON_CALL(platform_, IsDotNetFramework48Installed()).WillByDefault(Return(true));
        ON_CALL(platform_, InstalledPackageManagerPath())
            .WillByDefault(Return(std::optional<std::wstring>(L"C:\\PM\\orvikpkg.exe")));
        ON_CALL(platform_, FileVersion(_))
            .WillByDefault(Return(orvik::pkgshared::Version(L"26.5.0.10")));
        ON_CALL(platform_, WaitForProcess(_, _, _))
            .WillByDefault(Invoke([this](const std::wstring& file, const std::wstring& parameters,
                                         const std::wstring& directory) {
                children_.push_back({file, parameters, directory});
                if (exitCodes_.empty()) {
                    return 0;
                }
                const std::int32_t code = exitCodes_.front();
                exitCodes_.pop_front();
                return code;
            }));
    }
    std::int32_t RunOnce() {
        PreInstall run(session_, platform_);
        run.Run();
        return run.ResultCode();
    }
    void InstalledVersion(const wchar_t* version) {
        ON_CALL(platform_, InstalledPackageManagerVersion())
            .WillByDefault(Return(std::optional<std::wstring>(version)));
    }

    orvik::testing::ScratchDirectory scratch_;
    orvik::testing::FakeSession session_;
    NiceMock<MockPlatform> platform_;
    std::vector<std::wstring> args_;
    std::set<std::wstring> existing_;
    const std::string* payload_ = nullptr;
    const std::string* online_ = nullptr;
    std::deque<std::int32_t> exitCodes_;
    std::vector<Child> children_;
};

TEST_F(PreInstallTest, PlainRunInstallsFromTheBinFolderAndLaunchesNothingElse) {
    EXPECT_CALL(platform_, ChangeCurrentDirectory(kBase));
    EXPECT_CALL(platform_, DeleteWorkingDirectory(kWork));
    EXPECT_CALL(platform_, ShowProgress(_)).Times(0);
    exitCodes_ = {0};
    EXPECT_EQ(0, RunOnce());
    EXPECT_EQ(
        (std::vector<Child>{{kBin + L"\\Install.exe",
                             kInstallHead + L"launch orvik-package-manager --prevent-reboot " +
                                 kConfig + kInstallTail,
                             kBin}}),
        children_);
}

TEST_F(PreInstallTest, SuiteWithCurrentPackageManagerInstallsThenLaunches) {
    existing_ = {kBin + L"\\suite.dat", kBin + L"\\resources\\config.dat"};
    InstalledVersion(L"26.5.0.10");
    args_ = {L"--passive", L"--accept-eulas", L"extra"};
    EXPECT_EQ(0, RunOnce());
    EXPECT_EQ((std::vector<Child>{
                  {kBin + L"\\Install.exe",
                   kInstallHead + L"--hide-completion --passive --prevent-reboot --accept-eulas " +
                       kConfig + kInstallTail,
                   kBin},
                  {L"C:\\PM\\orvikpkg.exe",
                   L"install-suite suite.dat --passive --accept-eulas "
                   L"--custom-resource-config=\"C:\\dl\\bin\\resources\\config.dat\" " +
                       kConfig + L" extra",
                   kBin}}),
              children_);
}

TEST_F(PreInstallTest, PayloadReplacesTheBinFolderAndShowsProgressUnlessQuiet) {
    payload_ = &kPayloadBytes;
    existing_ = {kPayloadDir + L"\\suite.dat"};  // not in bin: plain mode
    EXPECT_CALL(platform_, ShowProgress(std::wstring())).WillOnce(Return(0));
    EXPECT_CALL(platform_, FinishProgress());
    EXPECT_CALL(platform_, ExtractPayload(_, kWork)).WillOnce(Return(kPayloadDir));
    EXPECT_EQ(0, RunOnce());
    ASSERT_EQ(1u, children_.size());
    EXPECT_EQ(kPayloadDir + L"\\Install.exe", children_[0].file);
    EXPECT_EQ(kPayloadDir, children_[0].directory);

    ::testing::Mock::VerifyAndClearExpectations(&platform_);
    args_ = {L"--quiet"};
    EXPECT_CALL(platform_, ShowProgress(_)).Times(0);
    EXPECT_CALL(platform_, FinishProgress()).Times(0);
    EXPECT_EQ(0, RunOnce());
}

TEST_F(PreInstallTest, OlderOrAbsentPackageManagerInstallsWithTheProduct) {
    existing_ = {kBin + L"\\suite.dat"};
    for (const wchar_t* installed : {L"", L"26.5.0.9"}) {
        children_.clear();
        if (*installed != L'\0') {
            InstalledVersion(installed);
        }
        exitCodes_ = {1641};
        EXPECT_EQ(1641, RunOnce()) << installed;
        EXPECT_EQ((std::vector<Child>{{kBin + L"\\Install.exe",
                                       L"install-suite suite.dat --install-orvikpm-with-product "
                                       L"--update-feeds " +
                                           kConfig,
                                       kBin}}),
                  children_);
    }
}

TEST_F(PreInstallTest, NeedsNewerPackageManagerFallsBackToInstallAndLaunch) {
    existing_ = {kBin + L"\\suite.dat"};
    exitCodes_ = {-125818, 0, 42};
    EXPECT_CALL(platform_, ShowError(_)).Times(0);
    EXPECT_EQ(42, RunOnce());
    ASSERT_EQ(3u, children_.size());
    EXPECT_NE(std::wstring::npos, children_[0].parameters.find(L"--install-orvikpm-with-product"));
    EXPECT_EQ(kInstallHead + L"--hide-completion --prevent-reboot " + kConfig + kInstallTail,
              children_[1].parameters);
    EXPECT_EQ(L"C:\\PM\\orvikpkg.exe", children_[2].file);
}

TEST_F(PreInstallTest, OnlineInstallLaunchesTheDownloadWithoutConfig) {
    online_ = &kOnlineXml;
    InstalledVersion(L"27.0");
    payload_ = &kPayloadBytes;
    EXPECT_CALL(platform_, ShowProgress(std::wstring(L"Suite 2026"))).WillOnce(Return(1));
    EXPECT_CALL(platform_, FinishProgress()).Times(0);
    EXPECT_EQ(0, RunOnce());
    ASSERT_EQ(2u, children_.size());
    EXPECT_EQ(L"--uri=https://x.invalid/s", children_[1].parameters);
}

TEST_F(PreInstallTest, ChildFailuresPassThroughWithoutADialog) {
    existing_ = {kBin + L"\\suite.dat"};
    InstalledVersion(L"26.5.0.10");
    EXPECT_CALL(platform_, ShowError(_)).Times(0);
    exitCodes_ = {5};
    EXPECT_EQ(5, RunOnce());
    EXPECT_EQ(1u, children_.size());  // no launch after a failed install
    children_.clear();
    exitCodes_ = {0, -7};
    EXPECT_EQ(-7, RunOnce());
    const auto messages = session_.logger.Messages();
    EXPECT_NE(messages.end(), std::find(messages.begin(), messages.end(),
                                        L"Failed to install Orvik Package Manager"));
    EXPECT_NE(messages.end(),
              std::find(messages.begin(), messages.end(),
                        L"Launched Orvik Package Manager, but it returned an error"));
    EXPECT_NE(std::string::npos, orvik::testing::ReadBytes(scratch_ / L"errorlog.txt")
                                     .find("Exception in PreInstall::LaunchPackageManager"));
}

TEST_F(PreInstallTest, RebootRequestOfTheInstall) {
    existing_ = {kBin + L"\\suite.dat"};
    InstalledVersion(L"26.5.0.10");
    // Unattended: no question, and the reboot code of the bootstrapper.
    args_ = {L"--passive"};
    exitCodes_ = {-125071};
    EXPECT_CALL(platform_, AskToReboot()).Times(0);
    EXPECT_EQ(-126300, RunOnce());
    EXPECT_EQ(1u, children_.size());
    ::testing::Mock::VerifyAndClearExpectations(&platform_);

    // Interactive: OK reboots; Cancel does not; both end with -126300.
    args_ = {};
    for (bool ok : {true, false}) {
        exitCodes_ = {-125071};
        EXPECT_CALL(platform_, AskToReboot()).WillOnce(Return(ok));
        EXPECT_CALL(platform_, Reboot()).Times(ok ? 1 : 0);
        EXPECT_EQ(-126300, RunOnce());
        ::testing::Mock::VerifyAndClearExpectations(&platform_);
    }

    // Without a suite or download the child's own code stays.
    existing_.clear();
    exitCodes_ = {-125071};
    EXPECT_EQ(-125071, RunOnce());
}

TEST_F(PreInstallTest, FailedRebootIsReported) {
    existing_ = {kBin + L"\\suite.dat"};
    InstalledVersion(L"26.5.0.10");
    exitCodes_ = {-125071};
    ON_CALL(platform_, AskToReboot()).WillByDefault(Return(true));
    EXPECT_CALL(platform_, Reboot()).WillOnce(Invoke([] {
        throw Exception(-126305, L"source\\preinstall\\Main", 1);
    }));
    EXPECT_CALL(platform_, ShowError(::testing::HasSubstr(L"Automatic reboot failed")));
    EXPECT_EQ(-126305, RunOnce());
}

TEST_F(PreInstallTest, RunErrorsAndWhereTheyAreShown) {
    struct Case {
        std::vector<std::wstring> args;
        std::function<void(MockPlatform&)> arrange;
        std::int32_t code;
        bool console;
    };
    const Case cases[] = {
        {{},
         [](MockPlatform& p) { ON_CALL(p, IsElevated()).WillByDefault(Return(false)); },
         -126306,
         false},
        {{L"--quiet"},
         [](MockPlatform& p) { ON_CALL(p, IsElevated()).WillByDefault(Return(false)); },
         -126306,
         true},
        {{L"/q"}, [](MockPlatform&) {}, -126318, true},
        {{L"--bootstrapper"}, [](MockPlatform&) {}, -126318, false},
        {{},
         [](MockPlatform& p) { ON_CALL(p, IsWow64()).WillByDefault(Return(false)); },
         -126359,
         false},
        {{L"--passive"},
         [](MockPlatform& p) {
             ON_CALL(p, IsWindows10Version1607OrNewer()).WillByDefault(Return(false));
         },
         -126359,
         true},
    };
    for (const Case& c : cases) {
        args_ = c.args;
        c.arrange(platform_);
        std::wstring shown;
        auto capture = [&shown](const std::wstring& text) { shown = text; };
        EXPECT_CALL(platform_, ShowError(_))
            .Times(c.console ? 0 : 1)
            .WillRepeatedly(Invoke(capture));
        EXPECT_CALL(platform_, WriteToParentConsole(_))
            .Times(c.console ? 1 : 0)
            .WillRepeatedly(Invoke(capture));
        EXPECT_CALL(platform_, WaitForProcess(_, _, _)).Times(0);
        EXPECT_EQ(c.code, RunOnce());
        EXPECT_EQ(orvik::pkgshared::FormatErrorMessage(c.code, 0, c.args.empty() ? L"" : c.args[0]),
                  shown);
        ::testing::Mock::VerifyAndClearExpectations(&platform_);
        SetUp();
    }
}

TEST_F(PreInstallTest, DotNetQuestion) {
    ON_CALL(platform_, IsDotNetFramework48Installed()).WillByDefault(Return(false));
    // Yes: the download page, nothing installed, success.
    EXPECT_CALL(platform_, AskToInstallDotNetFramework()).WillOnce(Return(true));
    EXPECT_CALL(platform_, OpenDotNetFrameworkDownloadPage());
    EXPECT_EQ(0, RunOnce());
    EXPECT_TRUE(children_.empty());
    // No: cancelled, silently.
    EXPECT_CALL(platform_, AskToInstallDotNetFramework()).WillOnce(Return(false));
    EXPECT_CALL(platform_, ShowError(_)).Times(0);
    EXPECT_EQ(-125029, RunOnce());
    // On Wine the question never comes.
    ON_CALL(platform_, IsRunningOnWine()).WillByDefault(Return(true));
    EXPECT_CALL(platform_, IsDotNetFramework48Installed()).Times(0);
    EXPECT_EQ(0, RunOnce());
}

TEST_F(PreInstallTest, MissingPackageManagerPathAndDeclinedElevation) {
    existing_ = {kBin + L"\\suite.dat"};
    InstalledVersion(L"26.5.0.10");
    ON_CALL(platform_, InstalledPackageManagerPath())
        .WillByDefault(Return(std::optional<std::wstring>()));
    EXPECT_CALL(platform_, ShowError(::testing::HasSubstr(L"'GUIExecutableFullPath'")));
    EXPECT_EQ(-126304, RunOnce());

    EXPECT_CALL(platform_, WaitForProcess(_, _, _)).WillOnce(Invoke([](auto&&...) -> std::int32_t {
        throw Exception(-125029, L"s", 1);
    }));
    EXPECT_CALL(platform_, ShowError(_)).Times(0);
    EXPECT_EQ(-125029, RunOnce());
}

TEST_F(PreInstallTest, PackageManagerIniIsMadeWriteable) {
    existing_ = {kBin + L"\\orvikpkg.ini"};
    EXPECT_CALL(platform_, MakeWriteable(kBin + L"\\orvikpkg.ini"));
    EXPECT_EQ(0, RunOnce());
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
