#pragma once
// Parameter strings for the package manager's installer ("Install.exe") and
// for the launch of the package manager. Pure functions of their inputs.
#include <cstdint>
#include <optional>
#include <string>

#include "preinstall/CommandLineOptions.h"

namespace orvik::pkgui::preinstall {

enum class InstallMode : std::int32_t {
    None = 0,           // install the package manager only
    OnlineInstall = 1,  // then install the download named by the online-install resource
    Suite = 2,          // then install "suite.dat" from the package directory
};

// Parameters of "Install.exe" when it installs or updates the package
// manager. `configFile` is quoted and passed as "--config=" when not empty.
std::wstring BuildInstallParameters(const CommandLineOptions& options, InstallMode mode,
                                    const std::wstring& configFile);

struct LaunchInputs {
    InstallMode mode = InstallMode::None;
    // True when the carried installer installs the package manager and the
    // product in one go.
    bool withProduct = false;
    std::wstring downloadUri;  // the online download, for OnlineInstall
    std::wstring configFile;
    // Full path of "resources\config.dat" in the package directory, when that
    // file exists.
    std::optional<std::wstring> customResourceConfig;
};

// Parameters of the package manager (or of the carried installer with the
// product) for installing the suite or the download; the pass-through
// arguments come last.
std::wstring BuildLaunchParameters(const CommandLineOptions& options, const LaunchInputs& inputs);

}  // namespace orvik::pkgui::preinstall
