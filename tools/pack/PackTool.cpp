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
#include "InputChecks.h"
#include "PackOptions.h"
#include "PayloadArchiver.h"
#include "ResourceWriter.h"
#include "TemplateCheck.h"
#include "ToolMessages.h"
#include "preinstall/PayloadCheck.h"
#include "preinstall/Version.h"
#include "shared/TextConversion.h"

namespace orvik::tools::pack {
namespace {

namespace fs = boost::filesystem;
using orvik::pkgshared::Exception;

constexpr int kWritten = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

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
    if (!WriteResources(
            options.templatePath, options.outputPath, resources,
            [&payloadChecked] { return payloadChecked.get(); }, error)) {
        if (!error.empty()) {
            Error(error);
        }
        return kFailed;
    }
    if (templateCheck.hasCertificate) {
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
