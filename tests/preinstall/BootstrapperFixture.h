#pragma once
// The real bootstrapper template run by the tests: a copy in the test's own
// folder (or an installer packed from it), the recording child and the
// packing tool.
#include <gtest/gtest.h>

#include <windows.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "support/ChildProcess.h"
#include "support/RegistryFixture.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgui::preinstall {

namespace fs = boost::filesystem;
using orvik::testing::Quoted;
using orvik::testing::ReadBytes;
using orvik::testing::WriteBytes;

const std::wstring kManagerKey = L"SOFTWARE\\Calvenna\\Orvik Package Manager\\CurrentVersion";

// A started child: its program's file name, current directory and parameters.
struct Record {
    std::string program, directory, parameters;
};

// How a run ended: the children it started in order, what errorlog.txt
// gained, and how many working directories it left in the temporary folder.
struct Outcome : orvik::testing::ChildResult {
    std::vector<Record> records;
    std::string report;
    int left = 0;
};

// The prefix user's logs folder: the run's log and errorlog.txt go there
// when no "logs-directory" is configured.
inline fs::path DefaultLogs() {
    wchar_t local[MAX_PATH] = {};
    ::GetEnvironmentVariableW(L"LOCALAPPDATA", local, MAX_PATH);
    return fs::path(local) / L"Calvenna" / L"Orvik Package Manager" / L"Logs";
}
inline std::string ErrorLog() {
    return ReadBytes(DefaultLogs() / L"errorlog.txt");
}

// Checks that errorlog.txt gained the error `code`, or nothing when it is 0.
inline void ExpectReported(const std::string& report, std::int32_t code) {
    if (code == 0) {
        EXPECT_EQ("", report);
    } else {
        EXPECT_NE(std::string::npos, report.find("Error code: " + std::to_string(code))) << report;
    }
}

// The working directories of runs that are still in `temp`.
inline int LeftWorkingDirectories(const fs::path& temp = fs::temp_directory_path()) {
    int count = 0;
    for (fs::directory_iterator it(temp), end; it != end; ++it) {
        count += it->path().filename().wstring().rfind(L"orvikpkg_preinstall-", 0) == 0 ? 1 : 0;
    }
    return count;
}

class BootstrapperTest : public ::testing::Test {
protected:
    void SetUp() override { UseFolder(L"run"); }
    // Starts over in a new folder `name` of the scratch folder, with a copy of
    // the template as setup.exe and its own record.
    void UseFolder(const std::wstring& name) {
        base_ = scratch_ / name.c_str();
        setup_ = base_ / L"setup.exe";
        record_ = base_ / L"record.txt";
        fs::create_directories(base_);
        fs::copy_file(bin_ / L"preinstall.exe", setup_);
        ::SetEnvironmentVariableW(L"ORVIK_RECORD_FILE", record_.c_str());
    }
    void TearDown() override {
        ::SetEnvironmentVariableW(L"ORVIK_RECORD_FILE", nullptr);
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
    }
    // Records the recording child as the installed package manager: its
    // program in the 32-bit view and, when given, its version in the 64-bit view.
    fs::path InstallPackageManager(const wchar_t* version) {
        const fs::path program = base_ / L"pm" / L"orvikpkg.exe";
        fs::create_directories(program.parent_path());
        fs::copy_file(bin_ / L"child_recorder.exe", program);
        orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, kManagerKey, L"GUIExecutableFullPath",
                                          program.wstring(), KEY_WOW64_32KEY);
        if (version != nullptr) {
            orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, kManagerKey,
                                              L"GUIExecutableVersion", version, KEY_WOW64_64KEY);
        }
        return program;
    }
    // The recording child as "bin\Install.exe" (with "bin\suite.dat" and
    // "bin\resources\config.dat" for a suite); the children exit with
    // `exitCodes` (comma-separated) in turn.
    void InstallChild(const std::string& exitCodes, bool suite = false) {
        fs::create_directories(base_ / L"bin" / L"resources");
        fs::copy_file(bin_ / L"child_recorder.exe", base_ / L"bin" / L"Install.exe");
        WriteBytes(record_.wstring() + L".codes", exitCodes);
        if (suite) {
            WriteBytes(base_ / L"bin" / L"suite.dat", "suite");
            WriteBytes(base_ / L"bin" / L"resources" / L"config.dat", "config");
        }
    }
    // Replaces setup.exe by an installer packed from the template.
    void Pack(const std::wstring& arguments) {
        fs::remove(setup_);
        const auto pack =
            orvik::testing::Pack(L"--template " + Quoted(bin_ / L"preinstall.exe") + L" --output " +
                                     Quoted(setup_) + L" " + arguments,
                                 base_);
        ASSERT_EQ(0, pack.exitCode) << pack.output;
    }
    // Runs setup.exe to its end (two minutes at most) and reads the records.
    // A message box (a visible dialog of the run) is handed once to `onBox`;
    // without it, a box is a failure and is closed.
    Outcome Bootstrap(const std::wstring& arguments, const std::function<void(HWND)>& onBox = {}) {
        fs::remove(record_);
        const std::string errors = ErrorLog();
        const int left = LeftWorkingDirectories(temp_);
        Outcome outcome;
        int rounds = 0;
        HWND seen = nullptr;
        static_cast<orvik::testing::ChildResult&>(outcome) = orvik::testing::Run(
            Quoted(setup_) + L" " + arguments, base_, [&](const PROCESS_INFORMATION& p) {
                for (HWND box = nullptr;
                     (box = ::FindWindowExW(nullptr, box, L"#32770", nullptr)) != nullptr;) {
                    DWORD owner = 0;
                    ::GetWindowThreadProcessId(box, &owner);
                    if (owner != p.dwProcessId || !::IsWindowVisible(box) || box == seen) {
                        continue;
                    }
                    seen = box;
                    if (onBox) {
                        onBox(box);
                    } else {
                        ADD_FAILURE() << "a message box appeared";
                        ::PostMessageW(box, WM_CLOSE, 0, 0);
                    }
                }
                return ++rounds < 480;
            });
        EXPECT_LT(rounds, 480) << "the run did not end";
        outcome.report = ErrorLog().substr(errors.size());
        outcome.left = LeftWorkingDirectories(temp_) - left;
        std::istringstream in(ReadBytes(record_));
        for (std::string line; std::getline(in, line);) {
            const size_t bar = line.find('|'), bar2 = line.find('|', bar + 1);
            const std::string command = line.substr(bar2 + 1);
            const size_t end = command[0] == '"' ? command.find('"', 1) + 1 : command.find(' ');
            outcome.records.push_back({line.substr(0, bar), line.substr(bar + 1, bar2 - bar - 1),
                                       end < command.size() ? command.substr(end + 1) : ""});
        }
        return outcome;
    }
    // `text` with the run's folder written "{scratch}" and the value of
    // --config, a file in the run's working directory, written "{config}".
    std::string Normalized(std::string text) const {
        const std::string scratch = orvik::pkgshared::WideToUtf8(base_.wstring());
        for (size_t at; (at = text.find(scratch)) != std::string::npos;) {
            text.replace(at, scratch.size(), "{scratch}");
        }
        const size_t key = text.find("--config=\"");
        if (key != std::string::npos) {
            const size_t config = key + 10, end = text.find('"', config);
            EXPECT_NE(std::string::npos, text.find("orvikpkg_preinstall-", config)) << text;
            text.replace(config, end - config, "{config}");
        }
        return text;
    }

    orvik::testing::ScratchDirectory scratch_;
    const fs::path bin_ = orvik::testing::BinDirectory();
    const fs::path temp_ = fs::temp_directory_path();
    fs::path base_, setup_, record_;
};

}  // namespace orvik::pkgui::preinstall
