#include "PayloadReview.h"

#include <cstdint>

#include "EntryPathCheck.h"
#include "shared/EntryNameRules.h"
#include "shared/TextConversion.h"

namespace orvik::tools::pack {
namespace {

std::uint32_t Get32(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i) {
        value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
    }
    return value;
}

// What is wrong with the root Install.exe `entry`, or nothing.
std::wstring InstallerProblem(const pkgshared::ArchiveEntryInfo& entry) {
    if (!entry.hardlinkTarget.empty()) {
        return L"Install.exe at the payload's root is a hard link to " + entry.hardlinkTarget +
               L"; store it as a regular file";
    }
    if (entry.fileType != pkgshared::kRegularFileType || !entry.symlinkTarget.empty()) {
        return L"Install.exe at the payload's root is not a regular file";
    }
    if (!IsWindowsProgram(entry.head)) {
        return L"Install.exe at the payload's root is not a Windows program (no MZ and PE "
               L"headers at its start)";
    }
    return {};
}

}  // namespace

bool IsRootFile(const std::wstring& name, const wchar_t* file) {
    return pkgshared::ToLowerAscii(pkgshared::EntryNameRules::UnpackedName(name)) == file;
}

bool IsWindowsProgram(const std::string& head) {
    if (head.size() < 0x40 || head[0] != 'M' || head[1] != 'Z') {
        return false;
    }
    const std::uint64_t pe = Get32(head, 0x3c);
    return pe + 4 <= head.size() && head.compare(pe, 4, std::string("PE\0\0", 4)) == 0;
}

PayloadReview ReviewPayload(const std::vector<pkgshared::ArchiveEntryInfo>& entries) {
    PayloadReview review;
    const pkgshared::ArchiveEntryInfo* installer = nullptr;
    for (const auto& entry : entries) {
        if (IsRootFile(entry.name, L"install.exe")) {
            installer = &entry;  // the last one is what unpacks
        }
        review.carriesSuite = review.carriesSuite || IsRootFile(entry.name, L"suite.dat");
    }
    if (entries.empty()) {
        review.problems.push_back(L"the payload holds no entries");
    } else if (installer == nullptr) {
        review.problems.push_back(L"the payload has no Install.exe at its root");
    } else if (std::wstring problem = InstallerProblem(*installer); !problem.empty()) {
        review.problems.push_back(std::move(problem));
    }
    for (std::wstring& problem : EntryProblems(entries)) {
        review.problems.push_back(std::move(problem));
    }
    return review;
}

}  // namespace orvik::tools::pack
