#include "preinstall/PreInstallOptionObsolete.h"

#include "shared/TextConversion.h"

namespace orvik::pkgui::preinstall {
namespace {

std::wstring JoinWithBlanks(const std::vector<std::wstring>& parts) {
    std::wstring joined;
    for (const std::wstring& part : parts) {
        orvik::pkgshared::AppendWithBlank(joined, part);
    }
    return joined;
}

}  // namespace

PreInstallOptionObsolete::PreInstallOptionObsolete(
    const std::vector<std::wstring>& obsoleteArguments, const wchar_t* sourceFile,
    std::int32_t line)
    : Exception(kPreInstallOptionObsoleteCode, JoinWithBlanks(obsoleteArguments), sourceFile,
                line) {}

PreInstallOptionObsolete::~PreInstallOptionObsolete() = default;

}  // namespace orvik::pkgui::preinstall
