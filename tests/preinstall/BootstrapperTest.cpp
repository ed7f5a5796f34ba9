#include <gtest/gtest.h>

#include <windows.h>

#include <sstream>

#include <boost/filesystem/operations.hpp>

#include "shared/ErrorMessage.h"
#include "shared/utils/RegistryString.h"
#include "support/ChildProcess.h"
#include "support/RegistryFixture.h"
#include "support/ScratchDirectory.h"

#include "BootstrapperFixture.h"

namespace orvik::pkgui::preinstall {
namespace {

TEST_F(BootstrapperTest, PlainRunInstallsFromBinAndReturnsTheChildsCode) {
    InstallChild("1234");
    const auto result = Bootstrap(L"--passive extra");
    EXPECT_EQ(1234, result.exitCode) << result.output;
    const auto records = Records();
    ASSERT_EQ(1u, records.size());
    const std::string& line = records[0];
    const std::string bin = orvik::pkgshared::WideToUtf8((scratch_ / L"bin").wstring());
    EXPECT_EQ(0u, line.find("Install.exe|" + bin + "|")) << line;
    const std::string head =
        " install orvik-package-manager orvik-package-manager-upgrader "
        "orvik-package-manager-released-feed launch orvik-package-manager --passive "
        "--prevent-reboot --config=\"";
    const size_t headAt = line.find(head);
    ASSERT_NE(std::string::npos, headAt) << line;
    const size_t configStart = headAt + head.size();
    const size_t configEnd = line.find('"', configStart);
    const std::string config = line.substr(configStart, configEnd - configStart);
    EXPECT_NE(std::string::npos, config.find("orvikpkg_preinstall-")) << config;
    EXPECT_EQ("\" --update-feeds --force-essential --force-locked", line.substr(configEnd)) << line;
    // The working directory is gone after the run.
    EXPECT_FALSE(fs::exists(fs::path(orvik::pkgshared::Utf8ToWide(config)).parent_path()));
}

TEST_F(BootstrapperTest, ObsoleteOptionsEndTheRunBeforeAnyChild) {
    InstallChild("0");
    EXPECT_EQ(-126318, Bootstrap(L"/q").exitCode);
    EXPECT_EQ(-126318, Bootstrap(L"--passive --bootstrapper").exitCode);
    EXPECT_TRUE(Records().empty());
}

// The logs folder of the prefix's user, where the run's log and the error
// report go when no "logs-directory" is configured.
TEST_F(BootstrapperTest, MissingInstallerIsReportedInTheLogs) {
    const std::string before = ReadBytes(DefaultLogs() / L"errorlog.txt");
    const int leftBefore = LeftWorkingDirectories();
    const auto result = Bootstrap(L"--quiet");
    EXPECT_EQ(-126304, result.exitCode);
    EXPECT_EQ(leftBefore, LeftWorkingDirectories());  // a failed run cleans up too
    const std::string report = ReadBytes(DefaultLogs() / L"errorlog.txt").substr(before.size());
    EXPECT_NE(std::string::npos,
              report.find("Exception in PreInstall::ReportError. Error code: -126304"))
        << report;
    EXPECT_NE(std::string::npos, report.find("Preinstall threw an exception")) << report;
    EXPECT_NE(std::string::npos, report.find("File: source\\preinstall\\Main")) << report;

    // The run's own log: named after the time and the process, one event a line.
    fs::path log;
    const std::wstring suffix = L"_" + std::to_wstring(result.processId) + L".txt";
    for (fs::directory_iterator it(DefaultLogs() / L"OrvikPkgLogs"), end; it != end; ++it) {
        const std::wstring name = it->path().filename().wstring();
        if (name.rfind(L"OrvikPkgLog_", 0) == 0 && name.size() > suffix.size() &&
            name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
            log = it->path();
        }
    }
    ASSERT_FALSE(log.empty());
    std::istringstream lines(ReadBytes(log));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        EXPECT_EQ(' ', line[15]) << line;
        EXPECT_NE(std::string::npos, line.find(": ", 16)) << line;
    }
    EXPECT_GE(count, 3);
}

TEST_F(BootstrapperTest, SilentChildCodesPassThrough) {
    const std::string reportsBefore = ReadBytes(DefaultLogs() / L"errorlog.txt");
    InstallChild("");
    for (const char* code : {"-125071", "-125818", "-125029"}) {
        WriteBytes(record_.wstring() + L".codes", code);
        EXPECT_EQ(std::atoi(code), Bootstrap(L"--passive").exitCode) << code;
    }
    EXPECT_EQ(3u, Records().size());
    EXPECT_EQ(reportsBefore, ReadBytes(DefaultLogs() / L"errorlog.txt"));  // nothing reported
}

TEST_F(BootstrapperTest, SuiteWithCurrentPackageManagerInstallsThenLaunches) {
    InstallChild("0,0");
    WriteBytes(scratch_ / L"bin" / L"suite.dat", "suite");
    InstallPackageManager(L"99.0");
    const auto result = Bootstrap(L"--quiet --no-winquel-mutex --custom");
    ASSERT_EQ(0, result.exitCode) << result.output;
    const auto records = Records();
    ASSERT_EQ(2u, records.size());
    const std::string bin = orvik::pkgshared::WideToUtf8((scratch_ / L"bin").wstring());
    EXPECT_EQ(0u, records[0].find("Install.exe|"));
    EXPECT_EQ(0u, Parameters(records[0])
                      .find("install orvik-package-manager orvik-package-manager-upgrader "
                            "orvik-package-manager-released-feed --hide-completion --quiet "
                            "--prevent-reboot --config=\""))
        << records[0];
    EXPECT_EQ(0u, records[1].find("orvikpkg.exe|" + bin + "|"));
    const std::string launch = Parameters(records[1]);
    EXPECT_EQ(0u, launch.find("install-suite suite.dat --quiet --no-winquel-mutex --config=\""))
        << launch;
    EXPECT_EQ(launch.size() - 9, launch.find(" --custom")) << launch;
}

TEST_F(BootstrapperTest, OlderPackageManagerInstallsWithTheProductThenFallsBack) {
    InstallChild("-125818,0,7");
    WriteBytes(scratch_ / L"bin" / L"suite.dat", "suite");
    InstallPackageManager(nullptr);  // no version recorded: not current
    EXPECT_EQ(7, Bootstrap(L"--passive").exitCode);
    const auto records = Records();
    ASSERT_EQ(3u, records.size());
    EXPECT_EQ(0u, Parameters(records[0])
                      .find("install-suite suite.dat --passive --install-orvikpm-with-product "
                            "--update-feeds --config=\""))
        << records[0];
    EXPECT_NE(std::string::npos, Parameters(records[1]).find("--hide-completion --passive"));
    EXPECT_EQ(0u, records[2].find("orvikpkg.exe|"));
}

TEST_F(BootstrapperTest, PayloadIsExtractedAndRemovedAfterTheRun) {
    const fs::path payload = scratch_ / L"payload-source";
    fs::create_directories(payload);
    fs::copy_file(bin_ / L"child_recorder.exe", payload / L"Install.exe");
    WriteBytes(payload / L"suite.dat", "suite");
    const fs::path packed = scratch_ / L"packed.exe";
    ASSERT_NO_FATAL_FAILURE(Pack(packed, L"--payload-dir " + Quoted(payload)));
    WriteBytes(record_.wstring() + L".codes", "55");
    EXPECT_EQ(55, orvik::testing::Run(Quoted(packed) + L" --quiet", scratch_.Path()).exitCode);
    const auto records = Records();
    ASSERT_EQ(1u, records.size());
    const std::string directory = Directory(records[0]);
    EXPECT_NE(std::string::npos, directory.find("orvikpkg_preinstall-")) << directory;
    EXPECT_EQ("payload", fs::path(directory).filename().string());
    // The install mode is chosen from the folder beside the program, before
    // extraction: without "bin\suite.dat" this is a plain install.
    EXPECT_NE(std::string::npos, Parameters(records[0]).find("launch orvik-package-manager"));
    EXPECT_FALSE(fs::exists(fs::path(orvik::pkgshared::Utf8ToWide(directory)).parent_path()));
}

TEST_F(BootstrapperTest, RebootRequestOfASuiteInstallBecomesTheBootstrappersCode) {
    InstallChild("-125071");
    WriteBytes(scratch_ / L"bin" / L"suite.dat", "suite");
    InstallPackageManager(L"99.0");
    EXPECT_EQ(-126300, Bootstrap(L"--passive").exitCode);  // no question under --passive
    EXPECT_EQ(1u, Records().size());
}

TEST_F(BootstrapperTest, OptionsReachBothCommandLines) {
    InstallChild("0,0");
    WriteBytes(scratch_ / L"bin" / L"suite.dat", "suite");
    fs::create_directories(scratch_ / L"bin" / L"resources");
    WriteBytes(scratch_ / L"bin" / L"resources" / L"config.dat", "config");
    InstallPackageManager(L"99.0");
    EXPECT_EQ(0, Bootstrap(L"--autoinstall-orvikpkg --accept-eulas --prevent-reboot "
                           L"--hide-completion --no-winquel-mutex --passive --passive x=1")
                     .exitCode);
    const auto records = Records();
    ASSERT_EQ(2u, records.size());
    const std::string install = Parameters(records[0]);
    EXPECT_EQ(0u, install.find("install orvik-package-manager orvik-package-manager-upgrader "
                               "orvik-package-manager-released-feed --hide-completion "
                               "--passive --prevent-reboot --config=\""))
        << install;
    EXPECT_NE(std::string::npos, install.find("\" --no-winquel-mutex --update-feeds")) << install;
    const std::string launch = Parameters(records[1]);
    const std::string config =
        orvik::pkgshared::WideToUtf8((scratch_ / L"bin" / L"resources" / L"config.dat").wstring());
    EXPECT_EQ(0u, launch.find("install-suite suite.dat --passive --accept-eulas --prevent-reboot "
                              "--hide-completion --no-winquel-mutex --custom-resource-config=\"" +
                              config + "\" --config=\""))
        << launch;
    EXPECT_EQ(launch.size() - 15, launch.find("\" --passive x=1")) << launch;
}

TEST_F(BootstrapperTest, OnlineInstallerLaunchesTheDownload) {
    InstallChild("0,0");
    InstallPackageManager(L"99.0");
    const fs::path xml = scratch_ / L"online.xml";
    WriteBytes(xml,
               "<orvikpkgOnlineInstall schemaVersion=\"26.5.0.49297\"><downloadItem "
               "uri=\"https://example.invalid/suite.xml\"/><progressTitle value=\"Suite\"/>"
               "</orvikpkgOnlineInstall>");
    const fs::path packed = scratch_ / L"online.exe";
    ASSERT_NO_FATAL_FAILURE(Pack(packed, L"--online-install " + Quoted(xml)));
    EXPECT_EQ(0, orvik::testing::Run(Quoted(packed) + L" --passive --accept-eulas", scratch_.Path())
                     .exitCode);
    const auto records = Records();
    ASSERT_EQ(2u, records.size());
    EXPECT_NE(std::string::npos, Parameters(records[0]).find("--hide-completion --passive"));
    EXPECT_EQ("--uri=https://example.invalid/suite.xml --passive --accept-eulas",
              Parameters(records[1]));
}

TEST_F(BootstrapperTest, WindowsOlderThan1607IsRefused) {
    InstallChild("0");
    const std::wstring key = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    const auto original = orvik::pkgshared::ReadRegistryString(HKEY_LOCAL_MACHINE, key.c_str(),
                                                               L"CurrentBuildNumber");
    ASSERT_TRUE(original);
    orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"CurrentBuildNumber", L"14392", 0);
    const auto result = Bootstrap(L"--passive");
    orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"CurrentBuildNumber", *original, 0);
    EXPECT_EQ(-126359, result.exitCode);
    EXPECT_TRUE(Records().empty());
}

// A window of another process, found by class and caption within `seconds`.
HWND WaitForWindow(const wchar_t* windowClass, const wchar_t* caption, int seconds) {
    for (int i = 0; i < seconds * 10; ++i) {
        if (HWND found = ::FindWindowW(windowClass, caption)) {
            return found;
        }
        ::Sleep(100);
    }
    return nullptr;
}

TEST_F(BootstrapperTest, InteractiveErrorsAreShownInAMessageBox) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    std::wstring commandLine = Quoted(setup_);
    ASSERT_TRUE(::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                 nullptr, &startup, &process));
    const orvik::pkgshared::UniqueHandle processHandle(process.hProcess);
    const orvik::pkgshared::UniqueHandle threadHandle(process.hThread);

    HWND box = WaitForWindow(L"#32770", L"Orvik Package Manager", 60);
    ASSERT_NE(nullptr, box) << "no message box appeared";
    wchar_t text[1024] = {};
    ::GetDlgItemTextW(box, 0xFFFF, text, 1024);  // the message box's text control
    EXPECT_EQ(orvik::pkgshared::FormatErrorMessage(-126304, 0,
                                                   (scratch_ / L"bin" / L"Install.exe").wstring()),
              std::wstring(text));
    EXPECT_NE(nullptr, ::GetDlgItem(box, IDOK));
    EXPECT_EQ(nullptr, ::GetDlgItem(box, IDCANCEL));
    ::PostMessageW(box, WM_COMMAND, IDOK, 0);

    ASSERT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(process.hProcess, 60000));
    DWORD exitCode = 0;
    ::GetExitCodeProcess(process.hProcess, &exitCode);
    EXPECT_EQ(-126304, static_cast<std::int32_t>(exitCode));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
