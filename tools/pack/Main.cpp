// orvikpkg-pack.exe: builds an installer from the bootstrapper template by
// adding the payload and the online-install description as resources.
//
// Exit codes: 0 written; 1 refused or failed (nothing written); 2 wrong
// command line.
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "ConsoleProgress.h"
#include "EntryPathCheck.h"
#include "ErrorText.h"
#include "PackOptions.h"
#include "PayloadArchiver.h"
#include "PayloadCeiling.h"
#include "ResourceWriter.h"
#include "preinstall/OnlineInstallInformation.h"
#include "preinstall/PayloadCheck.h"
#include "shared/ArchiveManager.h"
#include "shared/ErrorMessage.h"
#include "shared/TextConversion.h"
#include "shared/utils/FileBytes.h"

namespace {

namespace fs = boost::filesystem;
using namespace orvik::tools::pack;
using orvik::pkgshared::Exception;

constexpr int kWritten = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

void Print(std::FILE* stream, const std::wstring& text) {
    const std::string bytes = orvik::pkgshared::WideToUtf8(text);
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    std::fflush(stream);
}

std::wstring ErrorText(const Exception& e) {
    return std::to_wstring(e.GetErrorCode()) + L": " + orvik::pkgshared::FormatErrorMessage(e);
}

// Reports a check that failed; true when packing may go on (with --force).
bool Refused(const wchar_t* what, const Exception& e, bool force) {
    Print(stderr, std::wstring(L"orvikpkg-pack: ") + (force ? L"warning: " : L"error: ") + what +
                      L" would be refused by the bootstrapper: " + ErrorText(e) + L"\n");
    return force;
}

// Whether the entry `name` is the file `file` (lower case) at the payload's root.
bool IsRootFile(std::wstring name, const wchar_t* file) {
    if (name.rfind(L"./", 0) == 0) {
        name.erase(0, 2);
    }
    return orvik::pkgshared::ToLowerAscii(name) == file;
}

// Entries that would land outside the extraction folder are refused, unless
// `force`; every one is named.
bool CheckEntryPaths(const std::vector<orvik::pkgshared::ArchiveEntryInfo>& entries, bool force) {
    bool escapes = false;
    for (const auto& entry : entries) {
        if (const auto reason = EscapeReason(entry)) {
            escapes = true;
            Print(stderr, std::wstring(L"orvikpkg-pack: ") + (force ? L"warning: " : L"error: ") +
                              L"payload entry outside the extraction folder: " + *reason + L"\n");
        }
    }
    return !escapes || force;
}

bool CheckPayload(const std::wstring& payload, bool force) {
    try {
        const auto entries = orvik::pkgshared::ArchiveManager::ReadEntries(
            payload, orvik::pkgshared::kArchiveTar, orvik::pkgshared::kCompressionGzip);
        bool installer = false, suite = false;
        for (const auto& entry : entries) {
            installer = installer || IsRootFile(entry.name, L"install.exe");
            suite = suite || IsRootFile(entry.name, L"suite.dat");
        }
        if (!installer) {
            Print(stderr, L"orvikpkg-pack: warning: the payload has no Install.exe at its root\n");
        }
        if (suite) {
            Print(stderr,
                  L"orvikpkg-pack: warning: the payload carries suite.dat, but the installer "
                  L"chooses a suite install only when bin\\suite.dat lies beside it as it starts, "
                  L"before the payload is unpacked; without that file it installs and launches "
                  L"the package manager alone. To ship a product installer, also put suite.dat "
                  L"in a bin folder beside the packed installer; the suite install then reads "
                  L"the payload's copy.\n");
        }
        return CheckEntryPaths(entries, force);
    } catch (const Exception& e) {
        return Refused(L"the payload", e, force);
    }
}

// Refuses, even with --force, a payload too large for any installer to load.
bool CheckPayloadSize(const std::wstring& payload) {
    boost::system::error_code code;
    const auto size = fs::file_size(payload, code);
    if (code) {
        return true;  // the payload check that follows reports what is wrong
    }
    if (const auto reason = PayloadTooLarge(size)) {
        Print(stderr, L"orvikpkg-pack: error: " + *reason + L"\n");
        return false;
    }
    return true;
}

bool CheckOnlineInstall(const std::wstring& file, bool force) {
    std::string bytes;
    if (!orvik::pkgshared::ReadFileBytes(file, bytes)) {
        Print(stderr,
              L"orvikpkg-pack: error: cannot read " + file + L": " + ErrnoText(errno) + L"\n");
        return false;
    }
    try {
        orvik::pkgui::preinstall::OnlineInstallInformation information;
        information.Load(orvik::pkgui::preinstall::MemoryDataResource(
            bytes.data(), static_cast<std::uint32_t>(bytes.size())));
        return true;
    } catch (const Exception& e) {
        return Refused(L"the online-install description", e, force);
    }
}

int Pack(const PackOptions& options) {
    boost::system::error_code code;
    if (!fs::is_regular_file(options.templatePath, code)) {
        Print(stderr, L"orvikpkg-pack: error: no template at " + options.templatePath + L"\n");
        return kFailed;
    }
    std::wstring payload = options.payloadFile;
    std::wstring archived;
    struct RemoveArchived {
        std::wstring& path;
        ~RemoveArchived() {
            if (!path.empty()) {
                ::DeleteFileW(path.c_str());
            }
        }
    } removeArchived{archived};
    if (!options.payloadDirectory.empty()) {
        archived = options.outputPath + L".payload.tar.gz";
        const unsigned threads = options.threads != 0
                                     ? options.threads
                                     : std::max(1u, std::thread::hardware_concurrency());
        ConsoleProgress display;
        std::wstring error;
        const bool done = ArchiveDirectory(
            options.payloadDirectory, archived, threads,
            [&display](const PackProgress& progress) { display.Update(progress); }, error);
        display.End();
        if (!done) {
            Print(stderr, L"orvikpkg-pack: error: " + error + L"\n");
            return kFailed;
        }
        payload = archived;
    }
    if (!payload.empty() && !CheckPayloadSize(payload)) {
        return kFailed;
    }
    // The payload's entries are read back while the installer is written,
    // which is moved into place only when they pass.
    std::future<bool> payloadChecked = std::async(std::launch::async, [&payload, &options] {
        return payload.empty() || CheckPayload(payload, options.force);
    });
    if (!options.onlineInstallFile.empty() &&
        !CheckOnlineInstall(options.onlineInstallFile, options.force)) {
        return kFailed;
    }
    std::vector<ResourceInput> resources;
    if (!payload.empty()) {
        // The bootstrapper refuses a payload that no longer matches its check.
        const auto check = orvik::pkgui::preinstall::PayloadCheck::OfFile(payload);
        if (!check) {
            Print(stderr, L"orvikpkg-pack: error: cannot read " + payload + L": " +
                              ErrnoText(errno) + L"\n");
            return kFailed;
        }
        resources.push_back({L"ORVIKPKG_PAYLOAD", payload, {}});
        resources.push_back(
            {orvik::pkgui::preinstall::PayloadCheck::kResourceName, {}, check->Encode()});
    }
    if (!options.onlineInstallFile.empty()) {
        resources.push_back({L"ORVIKPKG_ONLINE_INSTALL", options.onlineInstallFile, {}});
    }
    std::wstring error;
    if (!WriteResources(
            options.templatePath, options.outputPath, resources,
            [&payloadChecked] { return payloadChecked.get(); }, error)) {
        if (!error.empty()) {
            Print(stderr, L"orvikpkg-pack: error: " + error + L"\n");
        }
        return kFailed;
    }
    Print(stdout, L"orvikpkg-pack: wrote " + options.outputPath + L"\n");
    return kWritten;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::vector<std::wstring> arguments(argv + 1, argv + argc);
    std::wstring error;
    const auto options = ParsePackOptions(arguments, error);
    if (!options) {
        Print(stderr, L"orvikpkg-pack: " + error + L"\n" + UsageText());
        return kUsage;
    }
    try {
        return Pack(*options);
    } catch (const Exception& e) {
        Print(stderr, L"orvikpkg-pack: error: " + ErrorText(e) + L"\n");
    } catch (const std::exception& e) {
        Print(stderr, L"orvikpkg-pack: error: " + orvik::pkgshared::Utf8ToWide(e.what()) + L"\n");
    }
    return kFailed;
}
