#pragma once
#include <string>
#include <vector>

#include "shared/Exception.h"

namespace orvik::pkgui::preinstall {

constexpr std::int32_t kPreInstallOptionObsoleteCode = -126318;

// The command line holds obsolete options. %1%: the obsolete arguments as
// given, joined by one blank, in command-line order.
class PreInstallOptionObsolete : public orvik::pkgshared::Exception {
public:
    PreInstallOptionObsolete(const std::vector<std::wstring>& obsoleteArguments,
                             const wchar_t* sourceFile, std::int32_t line);
    ~PreInstallOptionObsolete() override;
};

}  // namespace orvik::pkgui::preinstall
