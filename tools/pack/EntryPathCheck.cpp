#include "EntryPathCheck.h"

#include "shared/EntryNameRules.h"

namespace orvik::tools::pack {
namespace {

bool IsSeparator(wchar_t c) {
    return c == L'/' || c == L'\\';
}

bool IsAbsolute(const std::wstring& path) {
    return (!path.empty() && IsSeparator(path[0])) || (path.size() >= 2 && path[1] == L':');
}

using Rules = pkgshared::EntryNameRules;

// Walks `path` from `depth` folders below the extraction folder; false when
// a ".." leaves it.
bool StaysInside(const std::wstring& path, int depth) {
    for (const std::wstring_view part : Rules::Components(path)) {
        if (part == L"..") {
            if (--depth < 0) {
                return false;
            }
        } else if (!part.empty() && part != L".") {
            ++depth;
        }
    }
    return true;
}

// Folders between the extraction folder and the entry's own folder.
int FolderDepth(const std::wstring& name) {
    int depth = 0;
    const std::vector<std::wstring_view> parts = Rules::Components(name);
    for (size_t i = 0; i + 1 < parts.size(); ++i) {
        if (parts[i] == L"..") {
            --depth;
        } else if (!parts[i].empty() && parts[i] != L".") {
            ++depth;
        }
    }
    return depth;
}

std::optional<std::wstring> PathReason(const std::wstring& path) {
    if (IsAbsolute(path)) {
        return std::wstring(L"an absolute path");
    }
    if (!StaysInside(path, 0)) {
        return std::wstring(L"a \"..\" that climbs out");
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::wstring> EscapeReason(const pkgshared::ArchiveEntryInfo& entry) {
    if (auto reason = PathReason(entry.name)) {
        return entry.name + L": " + *reason;
    }
    if (!entry.hardlinkTarget.empty()) {
        if (auto reason = PathReason(entry.hardlinkTarget)) {
            return entry.name + L": a hard link to " + entry.hardlinkTarget + L", " + *reason;
        }
    }
    if (!entry.symlinkTarget.empty()) {
        if (IsAbsolute(entry.symlinkTarget)) {
            return entry.name + L": a link to the absolute path " + entry.symlinkTarget;
        }
        if (!StaysInside(entry.symlinkTarget, FolderDepth(entry.name))) {
            return entry.name + L": a link that points out, to " + entry.symlinkTarget;
        }
    }
    return std::nullopt;
}

std::vector<std::wstring> EntryProblems(const std::vector<pkgshared::ArchiveEntryInfo>& entries) {
    std::vector<std::wstring> problems;
    pkgshared::EntryNameRules rules;
    for (const pkgshared::ArchiveEntryInfo& entry : entries) {
        if (auto reason = EscapeReason(entry)) {
            problems.push_back(*reason);
        } else if (auto nameReason = pkgshared::EntryNameRules::NameReason(entry.name)) {
            problems.push_back(entry.name + L": " + *nameReason);
        }
        for (std::wstring& problem : rules.Add(entry)) {
            problems.push_back(std::move(problem));
        }
    }
    return problems;
}

}  // namespace orvik::tools::pack
