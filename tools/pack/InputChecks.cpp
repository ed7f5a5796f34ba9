#include "InputChecks.h"

#include <cerrno>

#include <boost/filesystem/operations.hpp>

#include "ErrorText.h"
#include "PayloadCeiling.h"
#include "PayloadReview.h"
#include "ToolMessages.h"
#include "preinstall/OnlineInstallInformation.h"
#include "shared/ArchiveManager.h"
#include "shared/TextConversion.h"
#include "shared/utils/FileBytes.h"

namespace orvik::tools::pack {
namespace {

namespace fs = boost::filesystem;

// Whether `a` and `b` name the same existing file.
bool SameFile(const std::wstring& a, const std::wstring& b) {
    boost::system::error_code code;
    return !a.empty() && !b.empty() && fs::equivalent(a, b, code) && !code;
}

// Whether the payload's entries name the root Install.exe, whose first bytes are read.
bool IsRootInstaller(const std::wstring& name) {
    return IsRootFile(name, L"install.exe");
}

}  // namespace

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

bool CheckPayload(const std::wstring& payload, const PackOptions& options) {
    std::vector<std::wstring> problems;
    bool suite = false;
    try {
        const auto review = ReviewPayload(orvik::pkgshared::ArchiveManager::ReadEntries(
            payload, orvik::pkgshared::kArchiveTar, orvik::pkgshared::kCompressionGzip,
            &IsRootInstaller));
        problems = review.problems;
        suite = review.carriesSuite;
    } catch (const pkgshared::Exception& e) {
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
    } catch (const pkgshared::Exception& e) {
        return Report({ErrorText(e)},
                      L"the online-install description would be refused by the "
                      L"bootstrapper: ",
                      force);
    }
}

}  // namespace orvik::tools::pack
