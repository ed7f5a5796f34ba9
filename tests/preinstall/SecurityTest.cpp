// What the installer does to stay safe, seen from outside the real template packed as setup.exe.
#include <gtest/gtest.h>

#include <windows.h>

#include "preinstall/PayloadCheck.h"
#include "preinstall/PreInstall.h"
#include "preinstall/PreInstallPlatformWin.h"
#include "support/ArchiveBuilder.h"
#include "support/ChildProcess.h"
#include "support/FakeSession.h"
#include "support/RegistryFixture.h"

namespace orvik::pkgui::preinstall {
namespace {
namespace fs = boost::filesystem;
namespace t = orvik::testing;

const std::wstring kAppSettings = L"Software\\Wine\\AppDefaults\\setup.exe";

class SecurityTest : public ::testing::Test {
protected:
    // Makes setup.exe, the template packed with a payload whose Install.exe is the recording
    // child. Returns the payload.
    std::string Pack() {
        const std::string child = t::ReadBytes(t::BinDirectory() + L"\\child_recorder.exe");
        EXPECT_TRUE(t::WriteArchive(scratch_ / L"payload", t::Format::Tar, t::Filter::Gzip,
                                    {{"Install.exe", child, 0755}}));
        const auto pack =
            t::Pack(L"--template \"" + t::BinDirectory() + L"\\preinstall.exe\" --payload " +
                        t::Quoted(scratch_ / L"payload") + L" --output " + t::Quoted(setup_),
                    scratch_.Path());
        EXPECT_EQ(0, pack.exitCode) << pack.output;
        ::SetEnvironmentVariableW(L"ORVIK_RECORD_FILE", (scratch_ / L"record").c_str());
        return t::ReadBytes(scratch_ / L"payload");
    }
    // Runs `setup` to its end (a minute at most; a run waiting at a message box runs out): its
    // exit code, with whether it started its child in started_.
    std::int32_t Run(const fs::path& setup, const wchar_t* arguments) {
        int rounds = 0;
        const auto run = t::Run(t::Quoted(setup) + L" " + arguments, scratch_.Path(),
                                [&rounds](const PROCESS_INFORMATION&) { return ++rounds < 240; });
        EXPECT_LT(rounds, 240) << "the run did not end";
        started_ = fs::remove(scratch_ / L"record");
        return run.exitCode;
    }
    t::ScratchDirectory scratch_;
    const fs::path setup_ = scratch_ / L"setup.exe";
    bool started_ = false;
};

// A DLL planted beside the installer under a delay-loaded DLL's name is never loaded, though Wine
// is told to prefer it over its own (a setting of the program "setup.exe": the loader of a process
// that Wine starts from another ignores WINEDLLOVERRIDES in its environment). Not version.dll:
// Wine's own user32 imports it, so Wine takes it from the program's folder before the program's
// first instruction.
TEST_F(SecurityTest, DllsPlantedBesideTheInstallerAreNeverLoaded) {
    Pack();
    for (const wchar_t* name :
         {L"wevtapi", L"mpr", L"wtsapi32", L"comctl32", L"uxtheme", L"bcrypt"}) {
        SCOPED_TRACE(pkgshared::WideToUtf8(name));
        const fs::path planted = scratch_ / (name + std::wstring(L".dll")).c_str();
        fs::copy_file(t::BinDirectory() + L"\\planted.dll", planted);
        t::SetRegistryString(HKEY_CURRENT_USER, kAppSettings + L"\\DllOverrides", name,
                             L"native,builtin", 0);
        EXPECT_EQ(0, Run(setup_, L"--passive"));  // with its progress window
        EXPECT_TRUE(started_);
        EXPECT_FALSE(fs::exists(planted.string() + ".loaded"));
        t::DeleteRegistryTree(HKEY_CURRENT_USER, kAppSettings);
        fs::remove(planted);
    }
}

// The real platform, except that the shell refuses every start with `error`; what the run would
// show in a message box or on the console is kept in `shown`.
struct RefusingPlatform : PreInstallPlatformWin {
    RefusingPlatform(t::FakeSession& session, DWORD error)
        : PreInstallPlatformWin(session, nullptr, nullptr), error(error) {}
    std::wstring ProgramFilePath() override { return program; }
    void ChangeCurrentDirectory(const std::wstring&) override {}
    void ShowError(const std::wstring& text) override { shown += text; }
    void WriteToParentConsole(const std::wstring& text) override { shown += text; }
    bool StartProcess(SHELLEXECUTEINFOW&) override { return ::SetLastError(error), false; }
    const DWORD error;
    std::wstring program, shown;
};

// A declined elevation (ERROR_CANCELLED from the shell) ends the run with -125029, showing and
// reporting nothing; another refusal is the launch error, shown and reported. Wine never asks
// for elevation, so the refusal comes through the platform's start.
TEST_F(SecurityTest, ADeclinedElevationEndsTheRunSilently) {
    fs::create_directories(scratch_ / L"bin");
    fs::copy_file(t::BinDirectory() + L"\\child_recorder.exe", scratch_ / L"bin\\Install.exe");
    const struct {
        DWORD error;
        std::int32_t code;
        bool reported;
    } rows[] = {{ERROR_CANCELLED, -125029, false}, {ERROR_ACCESS_DENIED, -126304, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.error);
        t::FakeSession session;
        session.guide.logs = (scratch_ / std::to_wstring(row.error).c_str()).wstring();
        RefusingPlatform platform(session, row.error);
        platform.program = setup_.wstring();
        PreInstall run(session, platform);
        run.Run();
        EXPECT_EQ(row.code, run.ResultCode());
        EXPECT_EQ(row.reported, !platform.shown.empty()) << platform.shown;
        EXPECT_EQ(row.reported, fs::exists(fs::path(session.guide.logs) / L"errorlog.txt"));
    }
}

// A check resource that is there but is no check (a wrong length, a wrong mark, cut short) ends
// the run as damaged before any child starts, as does a well-formed check of another length.
TEST_F(SecurityTest, AMalformedPayloadCheckEndsTheRunAsDamaged) {
    const std::string payload = Pack();
    PayloadCheck check;
    check.Add(payload.data(), payload.size());
    const std::string good = check.Encode();
    std::string otherLength = good;
    otherLength[4] ^= 1;
    std::string checks[] = {
        good,       good + '\0', "OPC2" + good.substr(4), good.substr(0, 15), good.substr(0, 4),
        otherLength};
    for (std::string& bytes : checks) {  // not const: the update takes a writable pointer
        SCOPED_TRACE(&bytes - checks);
        HANDLE update = ::BeginUpdateResourceW(setup_.c_str(), FALSE);
        ASSERT_TRUE(update && ::UpdateResourceW(update, RT_RCDATA, PayloadCheck::kResourceName, 0,
                                                bytes.data(), bytes.size()));
        ASSERT_TRUE(::EndUpdateResourceW(update, FALSE));
        EXPECT_EQ(bytes == good ? 0 : -126311, Run(setup_, L"--quiet"));
        EXPECT_EQ(bytes == good, started_);
    }
}
}  // namespace
}  // namespace orvik::pkgui::preinstall
