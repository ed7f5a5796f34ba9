#include <gtest/gtest.h>

#include <windows.h>

#include <sstream>

#include <boost/filesystem/operations.hpp>

#include "support/ChildProcess.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgui::preinstall {
namespace {

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
    void TearDown() override { ::SetEnvironmentVariableW(L"ORVIK_RECORD_FILE", nullptr); }
    void InstallChild(const std::string& exitCodes) {
        fs::create_directories(scratch_ / L"bin");
        fs::copy_file(bin_ / L"child_recorder.exe", scratch_ / L"bin" / L"Install.exe");
        WriteBytes(record_.wstring() + L".codes", exitCodes);
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

TEST_F(BootstrapperTest, MissingInstallerIsReported) {
    EXPECT_EQ(-126304, Bootstrap(L"--quiet").exitCode);
}

TEST_F(BootstrapperTest, SilentChildCodesPassThrough) {
    InstallChild("");
    for (const char* code : {"-125071", "-125818", "-125029"}) {
        WriteBytes(record_.wstring() + L".codes", code);
        EXPECT_EQ(std::atoi(code), Bootstrap(L"--passive").exitCode) << code;
    }
    EXPECT_EQ(3u, Records().size());
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
