#pragma once
// The real bootstrapper template run by the tests: a copy in the test's own
// folder, the recording child, and the packing tool.
#include <gtest/gtest.h>

#include <windows.h>

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

// The real bootstrapper template, copied into a folder of the test with the
// recording child as "bin\Install.exe".
class BootstrapperTest : public ::testing::Test {
protected:
    void SetUp() override {
        setup_ = scratch_ / L"setup.exe";
        fs::copy_file(bin_ / L"preinstall.exe", setup_);
        record_ = scratch_ / L"record.txt";
        ::SetEnvironmentVariableW(L"ORVIK_RECORD_FILE", record_.c_str());
    }
    void TearDown() override {
        ::SetEnvironmentVariableW(L"ORVIK_RECORD_FILE", nullptr);
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
    }
    // Records the package manager as installed: its program in the 32-bit
    // view and, when given, its version in the 64-bit view.
    fs::path InstallPackageManager(const wchar_t* version) {
        const fs::path program = scratch_ / L"pm" / L"orvikpkg.exe";
        fs::create_directories(program.parent_path());
        fs::copy_file(bin_ / L"child_recorder.exe", program);
        const std::wstring key = L"SOFTWARE\\Calvenna\\Orvik Package Manager\\CurrentVersion";
        orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"GUIExecutableFullPath",
                                          program.wstring(), KEY_WOW64_32KEY);
        if (version != nullptr) {
            orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, key, L"GUIExecutableVersion",
                                              version, KEY_WOW64_64KEY);
        }
        return program;
    }
    // The parameters a recorded child was started with.
    static std::string Parameters(const std::string& record) {
        const size_t program = record.find('|', record.find('|') + 1) + 1;
        const size_t afterProgram =
            record[program] == '"' ? record.find('"', program + 1) + 1 : record.find(' ', program);
        return record.substr(afterProgram + 1);
    }
    static std::string Directory(const std::string& record) {
        const size_t first = record.find('|') + 1;
        return record.substr(first, record.find('|', first) - first);
    }
    void InstallChild(const std::string& exitCodes) {
        fs::create_directories(scratch_ / L"bin");
        fs::copy_file(bin_ / L"child_recorder.exe", scratch_ / L"bin" / L"Install.exe");
        WriteBytes(record_.wstring() + L".codes", exitCodes);
    }
    // Builds `installer` from the template with the packing tool.
    void Pack(const fs::path& installer, const std::wstring& resources) {
        const auto pack =
            orvik::testing::Run(Quoted(bin_ / L"orvikpkg-pack.exe") + L" --template " +
                                    Quoted(bin_ / L"preinstall.exe") + L" --output " +
                                    Quoted(installer) + L" " + resources,
                                scratch_.Path());
        ASSERT_EQ(0, pack.exitCode) << pack.output;
    }
    orvik::testing::ChildResult Bootstrap(const std::wstring& arguments) {
        return orvik::testing::Run(Quoted(setup_) + L" " + arguments, scratch_.Path());
    }
    std::vector<std::string> Records() {
        std::vector<std::string> lines;
        std::istringstream in(ReadBytes(record_));
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    orvik::testing::ScratchDirectory scratch_;
    const fs::path bin_ = orvik::testing::BinDirectory();
    fs::path setup_;
    fs::path record_;
};

inline fs::path DefaultLogs() {
    wchar_t local[MAX_PATH] = {};
    ::GetEnvironmentVariableW(L"LOCALAPPDATA", local, MAX_PATH);
    return fs::path(local) / L"Calvenna" / L"Orvik Package Manager" / L"Logs";
}

// The working directories of runs that are still in the temporary folder.
inline int LeftWorkingDirectories() {
    int count = 0;
    for (fs::directory_iterator it(fs::temp_directory_path()), end; it != end; ++it) {
        count += it->path().filename().wstring().rfind(L"orvikpkg_preinstall-", 0) == 0 ? 1 : 0;
    }
    return count;
}

}  // namespace orvik::pkgui::preinstall
