#include "PackTool.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "ConsoleProgress.h"
#include "ErrorText.h"
#include "FileMapping.h"
#include "PackOptions.h"
#include "PayloadArchiver.h"
#include "PayloadCeiling.h"
#include "PayloadReview.h"
#include "ResourceWriter.h"
#include "TemplateCheck.h"
#include "preinstall/OnlineInstallInformation.h"
#include "preinstall/PayloadCheck.h"
#include "preinstall/Version.h"
#include "shared/ArchiveManager.h"
#include "shared/ErrorMessage.h"
#include "shared/TextConversion.h"
#include "shared/utils/FileBytes.h"

namespace orvik::tools::pack {
namespace {

namespace fs = boost::filesystem;
using orvik::pkgshared::Exception;

constexpr int kWritten = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

void Print(std::FILE* stream, const std::wstring& text) {
    const std::string bytes = orvik::pkgshared::WideToUtf8(text);
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    std::fflush(stream);
}

void Error(const std::wstring& text) {
    Print(stderr, L"orvikpkg-pack: error: " + text + L"\n");
}

std::wstring ErrorText(const Exception& e) {
    return std::to_wstring(e.GetErrorCode()) + L": " + orvik::pkgshared::FormatErrorMessage(e);
}

// Reports `problems` of `what`; true when packing may go on: there are none,
// or `force` embeds them anyway.
bool Report(const std::vector<std::wstring>& problems, const wchar_t* what, bool force) {
    for (const std::wstring& problem : problems) {
        Print(stderr, std::wstring(L"orvikpkg-pack: ") + (force ? L"warning: " : L"error: ") +
                          what + problem + L"\n");
    }
    if (!problems.empty() && !force) {
        Print(stderr,
              L"orvikpkg-pack: nothing written; correct this, or give --force to embed "
              L"it anyway\n");
    }
    return problems.empty() || force;
}

// Whether `a` and `b` name the same existing file.
bool SameFile(const std::wstring& a, const std::wstring& b) {
    boost::system::error_code code;
    return !a.empty() && !b.empty() && fs::equivalent(a, b, code) && !code;
}

// Refuses an output that could not be written or would overwrite an input.
bool CheckOutput(const PackOptions& options) {
    const fs::path output = fs::absolute(options.outputPath);
    boost::system::error_code code;
    if (!fs::is_directory(output.parent_path(), code)) {
        Error(L"the output folder " + output.parent_path().wstring() +
              L" does not exist; create it first, or give --output in another folder");
        return false;
    }
    if (fs::is_directory(output, code)) {
        Error(options.outputPath + L" is a folder; give --output the installer's file name");
        return false;
    }
    for (const std::wstring* input :
         {&options.templatePath, &options.payloadFile, &options.onlineInstallFile}) {
        if (SameFile(options.outputPath, *input)) {
            Error(L"--output " + options.outputPath + L" is the input " + *input +
                  L"; write the installer to another file");
            return false;
        }
    }
    return true;
}

// Refuses, even with --force, a template that is not the bootstrapper's.
bool CheckTemplate(const PackOptions& options, FileMapping& mapped, TemplateCheck& check) {
    std::wstring error;
    if (!mapped.Open(options.templatePath, error)) {
        Error(error + L"; give --template the bootstrapper template preinstall.exe");
        return false;
    }
    check = orvik::tools::pack::CheckTemplate({mapped.Data(), mapped.Size()});
    if (!check.found.empty()) {
        Error(options.templatePath + L" is " + check.found +
              L"; give --template the bootstrapper template preinstall.exe, or an installer "
              L"packed from it");
        return false;
    }
    return true;
}

// Whether the payload's entries name the root Install.exe, whose first bytes are read.
bool IsRootInstaller(const std::wstring& name) {
    return IsRootFile(name, L"install.exe");
}

bool CheckPayload(const std::wstring& payload, const PackOptions& options) {
    std::vector<std::wstring> problems;
    bool suite = false;
    try {
        const auto review = ReviewPayload(orvik::pkgshared::ArchiveManager::ReadEntries(
            payload, orvik::pkgshared::kArchiveTar, orvik::pkgshared::kCompressionGzip,
            &IsRootInstaller));
        problems = review.problems;
        suite = review.carriesSuite;
    } catch (const Exception& e) {
        problems.push_back(L"the payload would be refused by the bootstrapper: " + ErrorText(e));
    }
    const fs::path besideOutput = fs::absolute(options.outputPath).parent_path() / L"bin";
    boost::system::error_code code;
    if (suite && options.onlineInstallFile.empty() &&
        !fs::exists(besideOutput / L"suite.dat", code)) {
        Print(stderr,
              L"orvikpkg-pack: warning: the payload carries suite.dat; a suite install "
              L"also needs bin\\suite.dat beside the installer, and "
              L"there is none beside " +
                  options.outputPath + L" yet (see the README)\n");
    }
    return Report(problems, L"", options.force);
}

// Refuses, even with --force, a payload too large for any installer to load.
bool CheckPayloadSize(const std::wstring& payload) {
    boost::system::error_code code;
    const auto size = fs::file_size(payload, code);
    if (code) {
        Error(L"cannot read " + payload + L": " + orvik::pkgshared::Utf8ToWide(code.message()));
        return false;
    }
    if (const auto reason = PayloadTooLarge(size)) {
        Error(*reason);
        return false;
    }
    return true;
}

bool CheckOnlineInstall(const std::wstring& file, bool force) {
    std::string bytes;
    if (!orvik::pkgshared::ReadFileBytes(file, bytes)) {
        Error(L"cannot read " + file + L": " + ErrnoText(errno));
        return false;
    }
    try {
        orvik::pkgui::preinstall::OnlineInstallInformation information;
        information.Load(orvik::pkgui::preinstall::MemoryDataResource(
            bytes.data(), static_cast<std::uint32_t>(bytes.size())));
        return true;
    } catch (const Exception& e) {
        return Report({ErrorText(e)},
                      L"the online-install description would be refused by the "
                      L"bootstrapper: ",
                      force);
    }
}

// Archives the payload folder into `archived`; false when refused or failed.
bool ArchiveFolder(const PackOptions& options, const std::wstring& archived) {
    FolderListing listing;
    std::wstring error;
    if (!ListFolder(options.payloadDirectory, listing, error)) {
        Error(error);
        return false;
    }
    if (!Report(listing.outsideLinks, L"", options.force)) {
        return false;
    }
    const unsigned threads =
        options.threads != 0 ? options.threads : std::max(1u, std::thread::hardware_concurrency());
    ConsoleProgress display;
    const bool done = ArchiveDirectory(
        options.payloadDirectory, listing, archived, threads,
        [&display](const PackProgress& progress) { display.Update(progress); }, error);
    display.End();
    if (!done) {
        Error(error);
    }
    return done;
}

// The resources to add; false when an input cannot be read.
bool Resources(const std::wstring& payload, const PackOptions& options,
               std::vector<ResourceInput>& resources) {
    if (!payload.empty()) {
        // The bootstrapper refuses a payload that no longer matches its check.
        const auto check = orvik::pkgui::preinstall::PayloadCheck::OfFile(payload);
        if (!check) {
            Error(L"cannot read " + payload + L": " + ErrnoText(errno));
            return false;
        }
        resources.push_back({L"ORVIKPKG_PAYLOAD", payload, {}});
        resources.push_back(
            {orvik::pkgui::preinstall::PayloadCheck::kResourceName, {}, check->Encode()});
    }
    if (!options.onlineInstallFile.empty()) {
        resources.push_back({L"ORVIKPKG_ONLINE_INSTALL", options.onlineInstallFile, {}});
    }
    return true;
}

int Pack(const PackOptions& options) {
    FileMapping templateFile;
    TemplateCheck templateCheck;
    if (!CheckOutput(options) || !CheckTemplate(options, templateFile, templateCheck)) {
        return kFailed;
    }
    std::wstring payload = options.payloadFile;
    std::wstring archived;
    struct RemoveArchived {
        std::wstring& path;
        ~RemoveArchived() {
            boost::system::error_code ignored;
            if (!path.empty()) {
                fs::remove(path, ignored);
            }
        }
    } removeArchived{archived};
    if (!options.payloadDirectory.empty()) {
        archived = options.outputPath + L".payload.tar.gz";
        if (!ArchiveFolder(options, archived)) {
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
        return payload.empty() || CheckPayload(payload, options);
    });
    std::vector<ResourceInput> resources;
    if ((!options.onlineInstallFile.empty() &&
         !CheckOnlineInstall(options.onlineInstallFile, options.force)) ||
        !Resources(payload, options, resources)) {
        return kFailed;
    }
    std::wstring error;
    bool unsigned_ = false;
    if (!WriteResources(
            options.templatePath, options.outputPath, resources,
            [&payloadChecked] { return payloadChecked.get(); }, error, &unsigned_)) {
        if (!error.empty()) {
            Error(error);
        }
        return kFailed;
    }
    if (unsigned_) {
        Print(stderr, L"orvikpkg-pack: note: " + options.templatePath +
                          L" is signed; packing changes it, so its signature is left out: sign " +
                          options.outputPath + L" after packing\n");
    }
    Print(stdout, L"orvikpkg-pack: wrote " + options.outputPath + L"\n");
    return kWritten;
}

// The tool's version, and the template's when one is given.
int PrintVersion(const PackOptions& options) {
    Print(stdout, L"orvikpkg-pack " ORVIK_VERSION_TEXT L"\n");
    if (options.templatePath.empty()) {
        return kWritten;
    }
    FileMapping templateFile;
    TemplateCheck check;
    if (!CheckTemplate(options, templateFile, check)) {
        return kFailed;
    }
    Print(stdout, L"template " + options.templatePath + L": bootstrapper " + check.version + L"\n");
    return kWritten;
}

}  // namespace

int RunPackTool(const std::vector<std::wstring>& arguments, const std::wstring& program) {
    std::wstring error;
    const auto options = ParsePackOptions(arguments, error);
    if (!options) {
        Print(stderr, L"orvikpkg-pack: " + error + L"\n" + UsageText(program));
        return kUsage;
    }
    try {
        if (options->help) {
            Print(stdout, UsageText(program));
            return kWritten;
        }
        return options->version ? PrintVersion(*options) : Pack(*options);
    } catch (const Exception& e) {
        Error(ErrorText(e));
    } catch (const std::exception& e) {
        Error(orvik::pkgshared::Utf8ToWide(e.what()));
    }
    return kFailed;
}

}  // namespace orvik::tools::pack
