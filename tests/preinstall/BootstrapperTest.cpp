#include <gtest/gtest.h>

#include <windows.h>

#include <sstream>

#include "BootstrapperFixture.h"
#include "shared/ErrorMessage.h"
#include "shared/utils/RegistryString.h"

namespace orvik::pkgui::preinstall {
namespace {

const std::string kInstall =
    "install orvik-package-manager orvik-package-manager-upgrader "
    "orvik-package-manager-released-feed ";

// Every kind of run, end to end: the children started (program, or program
// and exact parameters), the folder the first one runs in, the run's exit
// code, and the code errorlog.txt gains (0: it stays as it was).
TEST_F(BootstrapperTest, RunsStartTheirChildrenAndEndWithTheirCodes) {
    const fs::path payload = scratch_ / L"payload-source", xml = scratch_ / L"online.xml";
    fs::create_directories(payload);
    fs::copy_file(bin_ / L"child_recorder.exe", payload / L"Install.exe");
    WriteBytes(payload / L"suite.dat", "suite");
    WriteBytes(xml,
               "<orvikpkgOnlineInstall schemaVersion=\"26.5.0.49297\"><downloadItem "
               "uri=\"https://example.invalid/suite.xml\"/><progressTitle value=\"Suite\"/>"
               "</orvikpkgOnlineInstall>");
    struct Row {
        const char* name;
        const char* codes;       // of the children in turn; null: no "bin\Install.exe"
        bool suite;              // "bin\suite.dat" beside it
        const wchar_t* manager;  // installed package manager's version; null: none
        std::wstring pack;       // packing arguments; empty: the bare template
        std::wstring arguments;
        std::int32_t exitCode, reported;
        const char* directory;
        std::vector<std::string> children;
    };
    const std::wstring online = L"--online-install " + Quoted(xml);
    const std::string bin = "{scratch}\\bin", suite = "install-suite suite.dat --passive ";
    // clang-format off
    const Row rows[] = {
        {"plain", "1234", false, nullptr, L"", L"--passive extra", 1234, -126308, bin.c_str(), {"Install.exe"}},
        // The mode is chosen from the folder beside the program, before the
        // payload (which holds a suite.dat) is extracted.
        {"payload", "55", false, nullptr, L"--payload-dir " + Quoted(payload), L"--passive extra", 55, -126308, "preinstall-",
         {"Install.exe " + kInstall + "launch orvik-package-manager --passive --prevent-reboot "
          "--config=\"{config}\" --update-feeds --force-essential --force-locked"}},
        {"obsolete /q", "0", false, nullptr, L"", L"/q", -126318, -126318, "", {}},
        {"obsolete option", "0", false, nullptr, L"", L"--passive --bootstrapper", -126318, -126318, "", {}},
        {"no installer", nullptr, false, nullptr, L"", L"--quiet", -126304, -126304, "", {}},
        {"reboot needed", "-125071", false, nullptr, L"", L"--passive", -125071, 0, "", {"Install.exe"}},
        {"newer manager needed", "-125818", false, nullptr, L"", L"--passive", -125818, 0, "", {"Install.exe"}},
        {"cancelled", "-125029", false, nullptr, L"", L"--passive", -125029, 0, "", {"Install.exe"}},
        {"suite", "0,0", true, L"99.0", L"", L"--quiet --no-winquel-mutex --custom", 0, 0, bin.c_str(),
         {"Install.exe", "orvikpkg.exe"}},
        {"suite, every option", "0,0", true, L"99.0", L"", L"--autoinstall-orvikpkg --accept-eulas "
         L"--prevent-reboot --hide-completion --no-winquel-mutex --passive --passive x=1", 0, 0, bin.c_str(),
         {"Install.exe " + kInstall + "--hide-completion --passive --prevent-reboot --config=\"{config}\" "
          "--no-winquel-mutex --update-feeds --force-essential --force-locked",
          "orvikpkg.exe " + suite + "--accept-eulas --prevent-reboot --hide-completion --no-winquel-mutex "
          "--custom-resource-config=\"{scratch}\\bin\\resources\\config.dat\" --config=\"{config}\" --passive x=1"}},
        // A manager without a recorded version is older: the carried installer
        // tries with the product first, and asks for a newer manager.
        {"older manager", "-125818,0,7", true, L"", L"", L"--passive", 7, -126309, "",
         {"Install.exe " + suite + "--install-orvikpm-with-product --update-feeds --custom-resource-config="
          "\"{scratch}\\bin\\resources\\config.dat\" --config=\"{config}\"",
          "Install.exe", "orvikpkg.exe"}},
        {"suite needs a reboot", "-125071", true, L"99.0", L"", L"--passive", -126300, 0, "", {"Install.exe"}},
        // No reboot question without --passive or --quiet either: a box fails the row.
        {"reboot prevented", "-125071", true, L"99.0", L"", L"--prevent-reboot", -126300, 0, "", {"Install.exe"}},
        {"online", "0,0", false, L"99.0", online, L"--passive --accept-eulas", 0, 0, "",
         {"Install.exe", "orvikpkg.exe --uri=https://example.invalid/suite.xml --passive --accept-eulas"}},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        UseFolder(L"row" + std::to_wstring(&row - rows));
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
        if (!row.pack.empty()) {
            ASSERT_NO_FATAL_FAILURE(Pack(row.pack));
        }
        if (row.codes != nullptr) {
            InstallChild(row.codes, row.suite);
        }
        if (row.manager != nullptr) {
            InstallPackageManager(*row.manager != L'\0' ? row.manager : nullptr);
        }
        const Outcome run = Bootstrap(row.arguments);
        EXPECT_EQ(row.exitCode, run.exitCode) << run.output;
        EXPECT_EQ(0, run.left);
        ExpectReported(run.report, row.reported);
        ASSERT_EQ(row.children.size(), run.records.size());
        for (size_t i = 0; i < run.records.size(); ++i) {
            const Record& child = run.records[i];
            const bool exact = row.children[i].find(' ') != std::string::npos;
            EXPECT_EQ(row.children[i],
                      exact ? child.program + " " + Normalized(child.parameters) : child.program);
        }
        if (!run.records.empty()) {
            EXPECT_NE(std::string::npos, Normalized(run.records[0].directory).find(row.directory))
                << run.records[0].directory;
        }
    }
}

// The run's own log: named after the time and the process, one event a line;
// the error report says where the run failed.
TEST_F(BootstrapperTest, FailedRunIsLoggedAndReported) {
    const Outcome result = Bootstrap(L"--quiet");
    for (const char* piece : {"Exception in PreInstall::ReportError. Error code: -126304",
                              "Preinstall threw an exception", "File: source\\preinstall\\Main"}) {
        EXPECT_NE(std::string::npos, result.report.find(piece)) << result.report;
    }
    fs::path log;
    const std::wstring suffix = L"_" + std::to_wstring(result.processId) + L".txt";
    for (fs::directory_iterator it(DefaultLogs() / L"OrvikPkgLogs"), end; it != end; ++it) {
        const std::wstring name = it->path().filename().wstring();
        if (name.rfind(L"OrvikPkgLog_", 0) == 0 && name.size() > suffix.size() &&
            name.substr(name.size() - suffix.size()) == suffix) {
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

TEST_F(BootstrapperTest, WindowsOlderThan1607IsRefused) {
    InstallChild("0");
    const std::wstring key = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    const auto original = orvik::pkgshared::ReadRegistryString(HKEY_LOCAL_MACHINE, key.c_str(),
                                                               L"CurrentBuildNumber");
    ASSERT_TRUE(original);
    orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"CurrentBuildNumber", L"14392", 0);
    const Outcome result = Bootstrap(L"--passive");
    orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"CurrentBuildNumber", *original, 0);
    EXPECT_EQ(-126359, result.exitCode);
    EXPECT_TRUE(result.records.empty());
}

TEST_F(BootstrapperTest, InteractiveErrorsAreShownInAMessageBox) {
    std::wstring text(1024, L'\0');
    bool ok = false, cancel = true;
    const Outcome result = Bootstrap(L"", [&](HWND box) {
        text.resize(::GetDlgItemTextW(box, 0xFFFF, text.data(), 1024));  // the text control
        ok = ::GetDlgItem(box, IDOK) != nullptr;
        cancel = ::GetDlgItem(box, IDCANCEL) != nullptr;
        ::PostMessageW(box, WM_COMMAND, IDOK, 0);
    });
    EXPECT_EQ(orvik::pkgshared::FormatErrorMessage(-126304, 0,
                                                   (base_ / L"bin" / L"Install.exe").wstring()),
              text);
    EXPECT_TRUE(ok);
    EXPECT_FALSE(cancel);
    EXPECT_EQ(-126304, result.exitCode);
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
